// A scene with a million hand-edited items: saved to a file and loaded from it, beside a plain copy
// of the same file; a clone of the object; and a scene of ten thousand nodes.
//
//   TMPDIR=/dev/shm build/release/bench/dravin_storage_bench
//
// bytes_per_second counts the bytes of the file. Files go to the folder of TMPDIR, else /tmp.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/dravin.h"
#include "Dravin/storage/dravin_storage.h"
#include "host/io/scene_loaders.h"
#include "host/params/clone_map.h"
#include "host/scene/host_context.h"
#include "host/storage/scene_storage.h"

namespace {

namespace fs = std::filesystem;

fs::path File(const char* name) { return fs::temp_directory_path() / name; }

struct Session {
    Session() {
        RegisterDravinClasses(host.classes);
        RegisterDravinStorage(storage);
        host.SetCurrentScene(&scene);
        host.quiet = true;
    }
    ~Session() { host.SetCurrentScene(nullptr); }
    bool Save() {
        std::vector<std::string> warnings;
        std::string error;
        return SaveSceneFile(scene, File("dravin_scene").string(), storage, &warnings, &error);
    }
    uint64_t FileBytes() const { return fs::file_size(File("dravin_scene")); }

    HostContext host;
    Scene scene;
    SceneStorage storage;
    std::shared_ptr<ISceneLoaders> loaders = MakeSceneLoaders();
};

struct EditedSession : Session {
    EditedSession() {
        std::vector<TStoredItem> items(1'000'000);
        for (size_t i = 0; i < items.size(); ++i) items[i].storedPosition.x = float(i);
        object->Block(kEditionParams).SetElements(editionParams::kMode, {{int32_t{1}, {}}});
        object->SetStoredItems(std::move(items));
        scene.AddNode("wood", object);
    }
    std::shared_ptr<TDravin> object = TDravin::Create();
};

void BM_SaveEditedItems(benchmark::State& state) {
    EditedSession session;
    for (auto _ : state)
        if (!session.Save()) state.SkipWithError("the file cannot be written");
    state.SetBytesProcessed(state.iterations() * int64_t(session.FileBytes()));
}
BENCHMARK(BM_SaveEditedItems)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LoadEditedItems(benchmark::State& state) {
    EditedSession session;
    session.Save();
    for (auto _ : state)
        if (!LoadSceneFile(File("dravin_scene").string(), session.storage, *session.loaders))
            state.SkipWithError("the file cannot be read");
    state.SetBytesProcessed(state.iterations() * int64_t(session.FileBytes()));
}
BENCHMARK(BM_LoadEditedItems)->Unit(benchmark::kMillisecond)->UseRealTime();

// read and write of the whole file, as a program without reflinks would.
void BM_PlainCopy(benchmark::State& state) {
    EditedSession session;
    session.Save();
    for (auto _ : state) {
        std::unique_ptr<FILE, int (*)(FILE*)> in(fopen(File("dravin_scene").c_str(), "rb"), fclose);
        std::unique_ptr<FILE, int (*)(FILE*)> out(fopen(File("dravin_copy").c_str(), "wb"), fclose);
        std::vector<char> buffer(1 << 20);
        while (size_t count = fread(buffer.data(), 1, buffer.size(), in.get()))
            fwrite(buffer.data(), 1, count, out.get());
    }
    state.SetBytesProcessed(state.iterations() * int64_t(session.FileBytes()));
}
BENCHMARK(BM_PlainCopy)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CloneObject(benchmark::State& state) {
    EditedSession session;
    for (auto _ : state) {
        CloneMap map;
        benchmark::DoNotOptimize(session.object->Clone(map));
        map.Finish();
    }
}
BENCHMARK(BM_CloneObject)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_SaveAndLoadNodes(benchmark::State& state) {
    Session session;
    for (int i = 0; i < 10'000; ++i)
        session.scene.AddNode("node" + std::to_string(i), std::make_shared<DummyObject>());
    for (auto _ : state) {
        if (!session.Save() ||
            !LoadSceneFile(File("dravin_scene").string(), session.storage, *session.loaders))
            state.SkipWithError("the file cannot be written or read");
    }
}
BENCHMARK(BM_SaveAndLoadNodes)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
