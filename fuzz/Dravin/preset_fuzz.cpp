// A file of presets from anywhere: its first preset into a scatter object, and back.
#include <filesystem>

#include "Dravin/dravin.h"
#include "Dravin/presets/dravin_presets.h"
#include "fuzz/fuzz_file.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static LogSink silent = SetLogSink({});
    FuzzFile file({reinterpret_cast<const char*>(data), size});
    HostContext host;
    host.quiet = true;
    Scene scene;
    host.SetCurrentScene(&scene);
    auto object = TDravin::Create();
    scene.AddNode("a", object);
    std::vector<std::string> names;
    Promise(bool(DravinPresetFile(file.Path()).List(&names)));
    for (const std::string& name : names) Promise(!name.empty());
    std::string first;
    if (LoadDravinPreset(*object, &first, file.Path())) {
        // What was loaded can be written, and then reads back.
        static const std::string copy =
            (std::filesystem::temp_directory_path() / ("presets" + std::to_string(getpid())))
                .string();
        std::string again = "again";
        Promise(bool(SaveDravinPreset(*object, again, copy)));
        Promise(bool(LoadDravinPreset(*object, &again, copy)));
        std::filesystem::remove(copy);
    }
    host.SetCurrentScene(nullptr);
    return 0;
}
