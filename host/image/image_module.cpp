#include "host/image/image_module.h"

#include <dlfcn.h>

#include <fmt/format.h>

#include "host/base/program_part.h"

namespace {

constexpr const char* kRemedy =
    "install the program anew, or name the module with the environment variable DRAVIN_IMAGES";

struct Loaded {
    const ImageModule* module = nullptr;
    std::string error;
};

Loaded Load() {
    std::string path =
        FindProgramPart("DRAVIN_IMAGES",
                        {"dravin_images.so", "../lib/dravin/dravin_images.so",
                         "../../../dravin/dravin_images.so"},  // of the Python package
                        DRAVIN_IMAGES_BUILT);
    if (path.empty())
        return {nullptr, fmt::format("the module dravin_images.so is not installed; {}", kRemedy)};
    // Never closed: the library keeps threads and caches of its own.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
        return {nullptr,
                fmt::format("the module for images does not load: {}; {}", dlerror(), kRemedy)};
    auto entry = reinterpret_cast<ImageModuleEntry>(dlsym(handle, kImageModuleEntry));
    const ImageModule* module = entry ? entry() : nullptr;
    if (module && module->version == ImageModule::kVersion) return {module, {}};
    return {nullptr,
            fmt::format("{}: not the module for images of this version; {}", path, kRemedy)};
}

}  // namespace

const ImageModule* LoadImageModule(std::string* error) {
    static const Loaded loaded = Load();
    if (!loaded.module) *error = loaded.error;
    return loaded.module;
}
