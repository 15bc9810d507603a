// What ships under data/: indices, images and models that fit together.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/storage/dravin_storage.h"
#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/io/bitmap.h"
#include "host/io/mesh_import.h"
#include "host/io/scene_loaders.h"
#include "host/scene/host_context.h"
#include "host/storage/scene_storage.h"

namespace fs = std::filesystem;

namespace {

const fs::path kData = fs::path(DRAVIN_SOURCE_DIR) / "data";

// The lines after the header, split at semicolons.
std::vector<std::vector<std::string>> ReadIndex(const fs::path& path) {
    std::ifstream file(path);
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(file, line);
    EXPECT_LE(line.size(), 254u);
    while (std::getline(file, line) && !line.empty()) {
        EXPECT_LE(line.size(), 259u);
        rows.push_back(Split(line, ';'));
    }
    return rows;
}

std::shared_ptr<const Bitmap> Image(const fs::path& path) {
    std::string error;
    auto image = ReadBitmap(path.string(), &error);
    EXPECT_TRUE(image) << error;
    return image;
}

}  // namespace

TEST(DistributionMaps, EveryIndexedMapIsAnImage) {
    auto rows = ReadIndex(kData / "distmaps" / "index.dat");
    EXPECT_GE(rows.size(), 16u);
    for (auto& row : rows) {
        ASSERT_EQ(row.size(), 2u);
        EXPECT_FALSE(row[0].empty());
        Image(kData / "distmaps" / row[1]);
    }
}

TEST(DistributionMaps, DenseIsWhiteThroughout) {
    auto dense = Image(kData / "distmaps" / "dense.bmp");
    ASSERT_TRUE(dense);
    for (int y = 0; y < dense->Height(); ++y)
        for (int x = 0; x < dense->Width(); ++x) ASSERT_EQ(dense->Pixel16(x, y)[0], 65535);
}

TEST(Templates, IndexNamesScenesObjectsAndThumbnails) {
    auto rows = ReadIndex(kData / "geometry" / "index.dat");
    EXPECT_GE(rows.size(), 12u);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(rows[0][0], "One Plane");
    HostContext host;
    RegisterDravinClasses(host.classes);
    SceneStorage storage;
    RegisterDravinStorage(storage);
    auto loaders = MakeSceneLoaders();
    for (auto& row : rows) {
        ASSERT_EQ(row.size(), 4u);
        std::string path = kData / "geometry" / "objects" / (row[1] + ".max");
        SceneReadResult file = LoadSceneFile(path, storage, *loaders);
        ASSERT_TRUE(file) << file.error;
        INode* node = file.scene->FindNode(row[2]);
        ASSERT_TRUE(node) << row[2];
        EXPECT_FALSE(node->GetObjectRef()->GetRenderMesh(0)->faces.empty());
        auto image = Image(kData / "geometry" / "images" / row[3]);
        ASSERT_TRUE(image);
        EXPECT_EQ(image->Width(), 35);
        EXPECT_EQ(image->Height(), 50);
    }
    for (const char* symbol : {"disabled.jpg", "custom.jpg"})
        Image(kData / "geometry" / "images" / symbol);
}

TEST(Models, EveryLevelOfDetailReadsAndGetsCoarser) {
    std::ifstream file(kData / "models" / "models.json");
    auto models = nlohmann::json::parse(file);
    EXPECT_GE(models.size(), 6u);
    for (auto& model : models) {
        size_t previous = SIZE_MAX;
        for (const char* level : {"near", "mid", "far"}) {
            fs::path path = kData / "models" / std::string(model[level]["file"]);
            EXPECT_LE(fs::file_size(path), 256u * 1024) << path;
            std::string error;
            auto mesh = ImportMesh(path.string(), "", &error);
            ASSERT_TRUE(mesh) << error;
            EXPECT_EQ(Validate(*mesh), "");
            EXPECT_EQ(mesh->NumFaces(), model[level]["faces"].get<size_t>());
            EXPECT_LT(mesh->NumFaces(), previous);
            EXPECT_NEAR(mesh->BoundingBox().max.z, model[level]["height"].get<float>(), 0.01f);
            EXPECT_TRUE(mesh->Map(1)) << path;
            previous = mesh->NumFaces();
        }
        Image(kData / "models" / std::string(model["texture"]));
        if (model.contains("mask")) Image(kData / "models" / std::string(model["mask"]));
    }
}

TEST(Models, BuildingsReadAndTheWallsMappingCoversIt) {
    for (const char* name : {"cabin", "wall", "door"}) {
        fs::path path = kData / "models" / (std::string(name) + ".glb");
        std::string error;
        auto mesh = ImportMesh(path.string(), "", &error);
        ASSERT_TRUE(mesh) << error;
        EXPECT_EQ(Validate(*mesh), "") << name;
        Image(kData / "models" / (std::string(name) + ".png"));
        if (std::string(name) != "wall") continue;
        Box3 uv;
        for (const Point3& p : mesh->Map(1)->verts) uv += p;
        EXPECT_NEAR(uv.min.x, 0, 1e-4f);
        EXPECT_NEAR(uv.max.x, 1, 1e-4f);
        EXPECT_NEAR(uv.min.y, 0, 1e-4f);
        EXPECT_LE(uv.max.y, 1.0001f);
        EXPECT_GT(uv.max.y, 0.9f);
    }
}
