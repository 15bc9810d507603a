#include "Dravin/viewport/view_mesh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Dravin/viewport/view_texture.h"
#include "host/geom/primitives.h"
#include "host/scene/material.h"

namespace {

TEST(ViewMesh, CornersOfASmoothingGroupAreShared) {
    Mesh box = MakeBox(1, 1, 1, 1);  // flat: three normals at each of 8 corners
    for (Face& face : box.faces) face.smGroup = 0;
    box.maps.clear();
    TViewMesh flat = MakeViewMesh(box, {});
    EXPECT_EQ(flat.vertices.size(), 24u);
    EXPECT_EQ(flat.levels[0].numFaces, 12u);
    EXPECT_EQ(flat.indices.size(), 36u);
    for (Face& face : box.faces) face.smGroup = 1;
    EXPECT_EQ(MakeViewMesh(box, {}).vertices.size(), 8u);
}

TEST(ViewMesh, FacesAreSortedByPaintAndHiddenOnesLeftOut) {
    Mesh box = MakeBox(1, 1, 1, 1);
    for (size_t f = 0; f < box.faces.size(); ++f) box.faces[f].matID = uint16_t(f % 5);
    box.faces[0].flags |= Face::kHidden;
    TViewMeshWish wish;
    wish.numPaints = 3;  // ids 3 and 4 wrap around to 0 and 1
    TViewMesh mesh = MakeViewMesh(box, wish);
    ASSERT_EQ(mesh.levels[0].parts.size(), 3u);
    // Ids 0 to 4 have 3, 3, 2, 2, 2 faces, the first of which is hidden.
    EXPECT_EQ(mesh.levels[0].parts[0].count, 3u * (2 + 2));
    EXPECT_EQ(mesh.levels[0].parts[1].count, 3u * (3 + 2));
    EXPECT_EQ(mesh.levels[0].parts[2].count, 3u * 2);
}

TEST(ViewMesh, LevelsGetCoarserAndKeepTheShape) {
    TViewMesh ball = MakeViewMesh(MakeSphere(10, 64), {});
    ASSERT_GE(ball.levels.size(), 3u);
    for (size_t l = 1; l < ball.levels.size(); ++l)
        EXPECT_LT(ball.levels[l].numFaces, ball.levels[l - 1].numFaces);
    Box3 box;
    const TViewMeshLevel& second = ball.levels[2];
    for (const TViewMeshPart& part : second.parts)
        for (uint32_t i = part.first; i < part.first + part.count; ++i)
            box += ball.vertices[ball.indices[i]].position;
    for (int axis = 0; axis < 3; ++axis) EXPECT_GT(box.Width()[axis], 15);
    // Half a face a pixel of the square.
    EXPECT_EQ(LevelFor(ball, 1000), 0u);
    EXPECT_EQ(LevelFor(ball, 1), ball.levels.size() - 1);
    float pixels = std::sqrt(float(ball.levels[1].numFaces) / kFacesPerPixel) + 0.1f;
    EXPECT_EQ(LevelFor(ball, pixels), 1u);
}

TEST(ViewMesh, TerrainsHaveTheirHolesAndLevels) {
    // 9 x 5 samples of the plane z = x / 2, one of them a hole.
    std::vector<float> heights;
    for (int j = 0; j < 5; ++j)
        for (int i = 0; i < 9; ++i) heights.push_back((float(i) - 4) / 2);
    heights[2 * 9 + 4] = std::numeric_limits<float>::quiet_NaN();
    HeightField field(9, 5, {8, 4}, heights);
    TViewMesh mesh = MakeTerrainMesh(field, 1);
    EXPECT_EQ(mesh.levels[0].numFaces, field.NumFaces());
    EXPECT_EQ(mesh.levels[0].numFaces, 2u * 8 * 4 - 6);
    EXPECT_EQ(mesh.vertices[0].normal, PackNormal(Normalize(Point3{-0.5f, 0, 1})));
    ASSERT_GE(mesh.levels.size(), 2u);
    EXPECT_EQ(mesh.levels[1].numFaces, 2u * 4 * 2 - 6);
}

TEST(ViewTexture, MapsOfAMaterialBecomeOneImage) {
    auto image = [](std::vector<uint8_t> grey) {
        auto map = std::make_shared<BitmapTex>(BitmapLoader{});
        map->SetImage(std::make_shared<const Bitmap>(2, 1, 1, std::move(grey)));
        return map;
    };
    StandardMtl material;
    EXPECT_EQ(TextureOf(material), nullptr);
    auto color = image({100, 200}), mask = image({255, 0});
    mask->offset = Point2{0.5f, 0};  // half the image to the left: the other pixel
    material.diffuseMap = color, material.opacityMap = mask;
    material.opacityCutoff = 0.4f;
    auto texture = TextureOf(material);
    ASSERT_TRUE(texture);
    TViewImage made = MakeViewImage(*texture, 100);
    ASSERT_EQ(made.width, 2);
    EXPECT_EQ(made.rgba, (std::vector<uint8_t>{100, 100, 100, 0, 200, 200, 200, 255}));
    EXPECT_FLOAT_EQ(texture->cutoff, 0.4f);
    // What is cut out has no say.
    EXPECT_NEAR(MeanColor(*texture).r, 200 / 255.f, 1e-3);
    EXPECT_EQ(*texture, *TextureOf(material));
}

}  // namespace
