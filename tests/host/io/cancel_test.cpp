// Reading that somebody watches, and gives up.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include <gmock/gmock.h>

#include "host/io/mesh_import.h"
#include "host/io/scene_description.h"
#include "host/io/scene_loaders.h"
#include "host/scene/host_context.h"
#include "tests/temp_folder.h"

using testing::HasSubstr;

namespace {

constexpr const char* kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";

// Cancels the first mesh that it is asked for, with those of the host behind it.
class CancellingLoaders : public ISceneLoaders {
public:
    explicit CancellingLoaders(WorkWatch& watch) : m_watch(watch) {}
    int numMeshes = 0;
    float share = -1;

    LoadedModel LoadMesh(const FileOrigin& origin, double unitScale, const std::string& folder,
                         const WorkWatch* watch) override {
        ++numMeshes;
        share = m_watch.Share();
        LoadedModel model = m_host->LoadMesh(origin, unitScale, folder, watch);
        m_watch.Cancel();
        return model;
    }
    HeightfieldLoad LoadHeightfield(const HeightfieldOrigin&, double) override { return {}; }
    PointCacheLoad LoadPointCache(const PointCacheOrigin&, double, int) override { return {}; }
    std::shared_ptr<const Mesh> MakePrimitive(const PrimitiveOrigin&) override { return {}; }
    TexmapLoad MakeTexmap(const TexmapDescription&) override { return {}; }
    bool DescribeTexmap(const Texmap&, TexmapDescription*) override { return false; }

private:
    WorkWatch& m_watch;
    std::shared_ptr<ISceneLoaders> m_host = MakeSceneLoaders();
};

}  // namespace

TEST(CancelledReading, EndsBeforeTheNextNode) {
    HostContext host;
    TempFolder folder;
    folder.Write("a.obj", kTriangle);
    std::string scene = R"({"dravin_scene": 1, "nodes": [
        {"name": "d", "type": "dummy"},
        {"name": "a", "type": "mesh", "file": "a.obj"},
        {"name": "b", "type": "mesh", "file": "a.obj"},
        {"name": "c", "type": "dummy"}]})";
    WorkWatch watch;
    auto loaders = std::make_shared<CancellingLoaders>(watch);
    SceneReadResult result =
        ReadSceneDescription(folder.Write("s.json", scene), SceneFormats(loaders), &watch);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.errorClass, DescriptionErrorClass::kCancelled);
    EXPECT_THAT(result.error, HasSubstr("/nodes/2: cancelled"));
    EXPECT_EQ(loaders->numMeshes, 1);
    EXPECT_EQ(loaders->share, 0.25f);
}

TEST(CancelledReading, GivesNoModel) {
    TempFolder folder;
    WorkWatch watch;
    watch.Cancel();
    ImportOptions options;
    options.watch = &watch;
    ImportedModel model;
    ImportError error;
    EXPECT_FALSE(ImportModel(folder.Write("a.obj", kTriangle), options, &model, &error));
    EXPECT_EQ(error.kind, ImportFailure::kCancelled);
    EXPECT_THAT(error.text, HasSubstr("a.obj: cancelled"));
    EXPECT_TRUE(model.objects.empty());
}

// A helper that would take a minute.
TEST(CancelledReading, EndsTheHelper) {
    TempFolder folder;
    std::string helper = folder.Write("helper", "#!/bin/sh\nexec sleep 60\n");
    std::filesystem::permissions(helper, std::filesystem::perms::owner_all);
    setenv("DRAVIN_IMPORT_HELPER", helper.c_str(), 1);
    WorkWatch watch;
    std::jthread cancels([&watch] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        watch.Cancel();
    });
    ImportOptions options;
    options.watch = &watch;
    ImportedModel model;
    ImportError error;
    EXPECT_FALSE(ImportModel(folder.Write("a.fbx", "nothing"), options, &model, &error));
    unsetenv("DRAVIN_IMPORT_HELPER");
    EXPECT_EQ(error.kind, ImportFailure::kCancelled);
}
