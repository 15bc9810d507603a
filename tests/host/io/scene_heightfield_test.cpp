// The node type "heightfield" in scene descriptions.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include "host/base/log.h"
#include "host/io/bitmap.h"
#include "host/io/scene_description.h"
#include "host/io/scene_loaders.h"
#include "host/scene/height_field_object.h"
#include "tests/temp_folder.h"

using testing::HasSubstr;
using Class = DescriptionErrorClass;

namespace {

class HeightfieldNode : public testing::Test {
protected:
    HeightfieldNode() {
        std::string error;
        std::vector<uint16_t> values;
        for (int i = 0; i < 12; ++i) values.push_back(uint16_t(i * 100));
        EXPECT_TRUE(WriteBitmap(m_folder.File("a.png"), Bitmap(4, 3, 1, values), &error));
        m_folder.Write("a.asc", "ncols 3\nnrows 2\ncellsize 5\n1 2 3\n4 5 6\n");
    }

    // A scene of one terrain with these keys.
    SceneReadResult Read(const std::string& keys, const char* more = "") const {
        return ParseSceneDescription(
            fmt::format(R"({{"dravin_scene": 1{}, "nodes": [{{"name": "t", "type": "heightfield",
                            {}}}]}})",
                        more, keys),
            "s.json", m_folder.File("."), m_formats);
    }
    static HeightFieldObject& Terrain(const SceneReadResult& result) {
        return dynamic_cast<HeightFieldObject&>(*result.scene->FindNode("t")->GetObjectRef());
    }
    void ExpectError(const std::string& keys, Class errorClass, const char* place,
                     const char* why) const {
        SceneReadResult result = Read(keys);
        EXPECT_EQ(result.errorClass, errorClass) << keys << ": " << result.error;
        EXPECT_THAT(result.error, HasSubstr(std::string("/nodes/0") + place + ": "));
        EXPECT_THAT(result.error, HasSubstr(why));
    }

    TempFolder m_folder;
    SceneFormats m_formats{MakeSceneLoaders()};
};

}  // namespace

TEST_F(HeightfieldNode, ShowsItselfAsImageAndAsMesh) {
    SceneReadResult result = Read(R"("file": "a.png", "size": [30, 20], "height": 65535)");
    ASSERT_TRUE(result) << result.error;
    HeightFieldObject& terrain = Terrain(result);
    auto heights = terrain.GetHeightField(0);
    EXPECT_EQ(heights->Bounds(), (Box3{{-15, -10, 0}, {15, 10, 1100}}));
    auto mesh = terrain.GetRenderMesh(0);
    EXPECT_EQ(*mesh, heights->MakeMesh());
    EXPECT_EQ(mesh, terrain.GetRenderMesh(0));  // one as long as someone holds it
    EXPECT_TRUE(terrain.IsGeomObject());
    EXPECT_EQ(terrain.MeshRefusal(), "");
}

TEST_F(HeightfieldNode, UnitScaleTurnsMetresIntoUnits) {
    SceneReadResult result = Read(R"("file": "a.asc")", R"(, "unit_scale": 0.01)");
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(Terrain(result).GetHeightField(0)->Size(), (Point2{1500, 1000}));
    EXPECT_EQ(Terrain(result).GetHeightField(0)->Height(0, 0), 400);
}

TEST_F(HeightfieldNode, WritesWhatItReads) {
    for (const char* keys :
         {R"("file": "a.png")", R"("file": "a.png", "height": 12.5)",
          R"("file": "a.png", "size": [30, 20.5], "samples": [5, 7], "crop": [0, 1, 3, 3],
              "height_range": [-3, 0.5])",
          R"("file": "a.png", "height": "file")", R"("file": "a.asc", "size": [1, 2])"}) {
        SceneReadResult first = Read(keys);
        ASSERT_TRUE(first) << first.error;
        std::string text = WriteSceneDescription(*first.scene, m_folder.File("."), m_formats);
        SceneReadResult second =
            ParseSceneDescription(text, "t.json", m_folder.File("."), m_formats);
        ASSERT_TRUE(second) << second.error << text;
        EXPECT_EQ(Terrain(second).origin, Terrain(first).origin) << text;
        EXPECT_EQ(Terrain(second).GetHeightField(0)->MakeMesh(),
                  Terrain(first).GetHeightField(0)->MakeMesh());
        EXPECT_EQ(WriteSceneDescription(*second.scene, m_folder.File("."), m_formats), text);
    }
}

TEST_F(HeightfieldNode, NodesOfOneTerrainShareIt) {
    SceneReadResult result = ParseSceneDescription(
        R"({"dravin_scene": 1, "nodes": [
            {"name": "a", "type": "heightfield", "file": "a.asc"},
            {"name": "b", "type": "heightfield", "file": "a.asc"},
            {"name": "c", "type": "heightfield", "file": "a.asc", "height": 2}]})",
        "s.json", m_folder.File("."), m_formats);
    ASSERT_TRUE(result) << result.error;
    auto field = [&](const char* name) {
        return result.scene->FindNode(name)->GetObjectRef()->GetHeightField(0);
    };
    EXPECT_EQ(field("a"), field("b"));
    EXPECT_NE(field("a"), field("c"));
}

TEST_F(HeightfieldNode, WrongKeysNameTheirPlace) {
    ExpectError(R"("size": [1, 1])", Class::kMalformed, "", "\"file\"");
    ExpectError(R"("file": "none.png")", Class::kMissingInput, "/file", "none.png");
    ExpectError(R"("file": "a.png", "size": [0, 1])", Class::kMalformed, "/size", "above 0");
    ExpectError(R"("file": "a.png", "size": [1, -1])", Class::kMalformed, "/size", "above 0");
    ExpectError(R"("file": "a.png", "size": [1, 1e20])", Class::kMalformed, "/size", "expected");
    ExpectError(R"("file": "a.png", "samples": [1, 5])", Class::kMalformed, "/samples/0",
                "2 or above");
    ExpectError(R"("file": "a.png", "crop": [0, 0, 1, 3])", Class::kMalformed, "/crop",
                "at least 2 above");
    ExpectError(R"("file": "a.png", "crop": [0, 0, 9, 3])", Class::kMalformed, "/crop",
                "4 x 3 samples only");
    ExpectError(R"("file": "a.png", "crop": [0, 0, 2])", Class::kMalformed, "/crop", "4");
    ExpectError(R"("file": "a.png", "height": 5, "height_range": [0, 1])", Class::kMalformed,
                "/height_range", "exclude each other");
    ExpectError(R"("file": "a.png", "height": "metres")", Class::kMalformed, "/height",
                "or \"file\" for pixel values in metres");
    ExpectError(R"("file": "a.png", "height_range": [1])", Class::kMalformed, "/height_range", "2");
}

TEST_F(HeightfieldNode, LimitsAreTheirOwnClass) {
    ExpectError(R"("file": "a.png", "samples": [65536, 65536])", Class::kLimit, "/samples",
                "give a smaller \"crop\" or fewer \"samples\"");
    ExpectError(R"("file": "a.png", "samples": [2000000000, 2])", Class::kLimit, "/samples",
                "at most 65536");
    m_folder.Write("wide.asc", "ncols 70000\nnrows 2\ncellsize 5\n1 2 3\n4 5 6\n");
    ExpectError(R"("file": "wide.asc")", Class::kLimit, "/file", "at most 65536");
}

TEST_F(HeightfieldNode, WarningsReachTheReader) {
    m_folder.Write("holes.asc", "ncols 2\nnrows 2\ncellsize 5\n1 2 3 -9999\n");
    EXPECT_TRUE(Read(R"("file": "holes.asc")").warnings.empty());
    m_folder.Write("empty.asc", "ncols 2\nnrows 2\ncellsize 5\n1 2 -9999 -9999\n");
    SceneReadResult result = Read(R"("file": "empty.asc")");
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("the terrain is empty"));
}

// A terrain of more triangles than are made says why it gives no mesh, with the memory they take.
TEST_F(HeightfieldNode, LargeTerrainsGiveNoMesh) {
    auto field = std::make_shared<const HeightField>(5000, 7000, Point2{1, 1},
                                                     std::vector<float>(35'000'000));
    HeightfieldOrigin origin;
    origin.file = "large.tif";
    HeightFieldObject terrain(field, origin);
    std::string warned;
    LogSink old = SetLogSink([&](LogKind, const std::string& text) { warned = text; });
    EXPECT_EQ(terrain.GetRenderMesh(0), nullptr);
    SetLogSink(old);
    EXPECT_EQ(warned, terrain.MeshRefusal());
    // 2 x 4,999 x 6,999 faces of 32 bytes and 35 million vertices of 24.
    EXPECT_THAT(warned, HasSubstr("large.tif: the 69,976,002 triangles of 5000 x 7000 samples "
                                  "would take 3.1 GB"));
    EXPECT_THAT(warned, HasSubstr("\"crop\" or fewer \"samples\""));
    EXPECT_EQ(terrain.GetHeightField(0), field);
}
