// Scene files: any bytes give a scene or an error, and what gave a scene can be saved.
#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/storage/dravin_storage.h"
#include "host/io/scene_loaders.h"
#include "host/scene/host_context.h"
#include "host/storage/scene_storage.h"

namespace {

// Nothing comes from other files, so that no input reaches for any.
class NoFiles : public ISceneLoaders {
public:
    LoadedModel LoadMesh(const FileOrigin&, double, const std::string&, const WorkWatch*) override {
        LoadedModel model;
        model.error = "there are no files here";
        return model;
    }
    HeightfieldLoad LoadHeightfield(const HeightfieldOrigin&, double) override {
        HeightfieldLoad load;
        load.error = "there are no files here";
        return load;
    }
    PointCacheLoad LoadPointCache(const PointCacheOrigin&, double, int) override {
        PointCacheLoad load;
        load.error = "there are no files here";
        return load;
    }
    std::shared_ptr<const Mesh> MakePrimitive(const PrimitiveOrigin&) override {
        return std::make_shared<Mesh>(Mesh{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{{0, 1, 2}}}});
    }
    TexmapLoad MakeTexmap(const TexmapDescription&) override { return {}; }
    bool DescribeTexmap(const Texmap&, TexmapDescription*) override { return false; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static SceneStorage* storage = [] {
        auto* all = new SceneStorage;
        RegisterDravinStorage(*all);
        return all;
    }();
    NoFiles loaders;
    HostContext host;
    host.quiet = true;
    RegisterDravinClasses(host.classes);
    SceneReadResult result = LoadSceneBytes({reinterpret_cast<const char*>(data), size}, "fuzz",
                                            "/nonexistent", *storage, loaders);
    if (!result) return 0;
    std::vector<std::string> warnings;
    std::string error;
    SaveSceneBytes(*result.scene, "/nonexistent", *storage, &warnings, &error);
    return 0;
}
