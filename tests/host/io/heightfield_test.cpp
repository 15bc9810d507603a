#include "host/io/heightfield.h"

#include <gtest/gtest.h>

#include "host/io/bitmap.h"
#include "tests/temp_folder.h"

namespace {

// 2 x 2, bottom row 0 and 1, top row 0.5 and 0.25.
const Bitmap kImage(2, 2, 1, std::vector<float>{0.5f, 0.25f, 0, 1});

}  // namespace

TEST(HeightFieldFile, OneVertexAPixel) {
    std::string error;
    auto mesh = MakeHeightField(kImage, {10, 20, 8, 0, 0}, &error);
    ASSERT_NE(mesh, nullptr) << error;
    EXPECT_EQ(mesh->verts,
              (std::vector<Point3>{{-5, -10, 0}, {5, -10, 8}, {-5, 10, 4}, {5, 10, 2}}));
    EXPECT_EQ(mesh->Map(1)->verts[3], (Point3{1, 1, 0}));
}

TEST(HeightFieldFile, OtherSampleCountsInterpolate) {
    std::string error;
    auto mesh = MakeHeightField(kImage, {1, 1, 1, 3, 3}, &error);
    ASSERT_EQ(mesh->verts.size(), 9u);
    EXPECT_FLOAT_EQ(mesh->verts[1].z, 0.5f);                        // between 0 and 1
    EXPECT_FLOAT_EQ(mesh->verts[4].z, (0 + 1 + 0.5f + 0.25f) / 4);  // the middle of all four
    EXPECT_EQ(mesh->verts[4].x, 0);
}

TEST(HeightFieldFile, SampleCountsAreChecked) {
    std::string error;
    EXPECT_EQ(MakeHeightField(kImage, {1, 1, 1, 1, 5}, &error), nullptr);
    EXPECT_EQ(error, "heightfield: 1 x 5 samples, expected 2 to 16384 each");
    EXPECT_EQ(MakeHeightField(kImage, {1, 1, 1, 1 << 30, 5}, &error), nullptr);
    EXPECT_EQ(MakeHeightField(kImage, {1, 1, 1, -7, 5}, &error), nullptr);
}

TEST(HeightFieldFile, SixteenBitsAreKept) {
    TempFolder folder;
    std::string error, path = folder.File("a.png");
    ASSERT_TRUE(WriteBitmap(path, Bitmap(2, 2, 1, std::vector<uint16_t>{0, 1, 2, 65535}), &error));
    auto mesh = ReadHeightField(path, {1, 1, 65535, 0, 0}, &error);
    ASSERT_NE(mesh, nullptr) << error;
    EXPECT_FLOAT_EQ(mesh->verts[3].z, 1);
    EXPECT_FLOAT_EQ(mesh->verts[0].z, 2);
    EXPECT_EQ(ReadHeightField(folder.File("none.png"), {}, &error), nullptr);
}
