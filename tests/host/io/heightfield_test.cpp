#include "host/io/heightfield.h"

#include <cmath>

#include <gmock/gmock.h>

#include "host/io/bitmap.h"
#include "tests/host/io/tiff_bytes.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;
using testing::HasSubstr;
using Heights = HeightfieldOrigin::Heights;

namespace {

HeightfieldOrigin Scaled(float height, Point2 size = {1, 1}) {
    HeightfieldOrigin request;
    request.size = size;
    request.heights = Heights::kScaled;
    request.height = height;
    return request;
}
HeightfieldOrigin Meaning(Heights heights) {
    HeightfieldOrigin request;
    request.heights = heights;
    return request;
}

// All heights, row by row from the lowest y.
std::vector<float> Values(const HeightFieldResult& result) {
    std::vector<float> values;
    EXPECT_EQ(result.error, "");
    if (!result.field) return values;
    for (size_t j = 0; j < result.field->NumRows(); ++j)
        for (size_t i = 0; i < result.field->NumColumns(); ++i)
            values.push_back(result.field->Height(i, j));
    return values;
}

class HeightFieldFile : public testing::Test {
protected:
    std::string Image(const std::string& name, int width, int height, Bitmap::Data data) {
        std::string error, path = m_folder.File(name);
        EXPECT_TRUE(WriteBitmap(path, Bitmap(width, height, 1, std::move(data)), &error, true))
            << error;
        return path;
    }
    // 2 x 2: bottom row 0 and 1, top row 0.5 and 0.25.
    std::string Floats() { return Image("a.exr", 2, 2, std::vector<float>{0.5f, 0.25f, 0, 1}); }
    template <class T>
    std::string Tiff(int width, int height, TiffBytes::Format format, const std::vector<T>& pixels,
                     bool stated = true) {
        TiffBytes tiff;
        tiff.SetPixels(width, height, format, pixels);
        if (stated) tiff.Doubles(33550, {30, 20, 0});
        if (stated) tiff.Text(42113, "-9999");
        return m_folder.Write("a.tif", tiff.Bytes());
    }

    TempFolder m_folder;
};

}  // namespace

TEST_F(HeightFieldFile, OneSampleAPixel) {
    HeightFieldResult result = ReadHeightField(Floats(), Scaled(8, {10, 20}));
    EXPECT_THAT(Values(result), ElementsAre(0, 8, 4, 2));
    EXPECT_EQ(result.field->Bounds(), (Box3{{-5, -10, 0}, {5, 10, 8}}));
    EXPECT_TRUE(result.warnings.empty());
}

TEST_F(HeightFieldFile, OtherSampleCountsInterpolate) {
    HeightfieldOrigin request = Scaled(1);
    request.samplesX = request.samplesY = 3;
    std::vector<float> values = Values(ReadHeightField(Floats(), request));
    ASSERT_EQ(values.size(), 9u);
    EXPECT_FLOAT_EQ(values[1], 0.5f);                        // between 0 and 1
    EXPECT_FLOAT_EQ(values[4], (0 + 1 + 0.5f + 0.25f) / 4);  // the middle of all four
    EXPECT_FLOAT_EQ(values[7], 0.375f);
}

TEST_F(HeightFieldFile, FewerSamplesAreThoseOfTheFileWhereTheyMeet) {
    std::vector<float> values;
    for (int i = 0; i < 9 * 5; ++i) values.push_back(float(i * i % 17));
    HeightfieldOrigin request = Scaled(1);
    request.samplesX = 5, request.samplesY = 3;
    std::vector<float> read = Values(ReadHeightField(Image("a.exr", 9, 5, values), request));
    ASSERT_EQ(read.size(), 15u);
    for (size_t j = 0; j < 3; ++j)
        for (size_t i = 0; i < 5; ++i) EXPECT_EQ(read[j * 5 + i], values[(4 - 2 * j) * 9 + 2 * i]);
}

TEST_F(HeightFieldFile, IntegersRunOverTheirWholeRange) {
    // 16 bits, exactly as a bitmap divides them; negative numbers count from the lowest on.
    std::string png = Image("a.png", 2, 2, std::vector<uint16_t>{0, 1, 2, 65535});
    EXPECT_THAT(Values(ReadHeightField(png, Scaled(65535))), ElementsAre(2, 65535, 0, 1));
    std::string bytes = Image("b.png", 2, 2, std::vector<uint8_t>{0, 51, 102, 255});
    EXPECT_THAT(Values(ReadHeightField(bytes, Scaled(5))), ElementsAre(2, 5, 0, 1));
    std::string tiff = Tiff<int16_t>(2, 2, TiffBytes::kSigned, {-32768, 32767, 0, -1}, false);
    std::vector<float> values = Values(ReadHeightField(tiff, Scaled(65535)));
    EXPECT_THAT(values, ElementsAre(32768, 32767, 0, 65535));
}

TEST_F(HeightFieldFile, ColouredImagesGiveTheirLuminance) {
    std::string error, path = m_folder.File("c.png");
    ASSERT_TRUE(WriteBitmap(
        path, Bitmap(2, 2, 3, std::vector<uint8_t>{255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}),
        &error));
    EXPECT_THAT(Values(ReadHeightField(path, Scaled(1000))),
                ElementsAre(testing::FloatNear(114, 1e-3f), testing::FloatNear(1000, 1e-3f),
                            testing::FloatNear(299, 1e-3f), testing::FloatNear(587, 1e-3f)));
}

TEST_F(HeightFieldFile, RangeIsThatOfTheWholeFile) {
    HeightfieldOrigin request = Meaning(Heights::kRange);
    request.low = -5, request.high = 15;
    std::string file = Image("a.png", 3, 3,
                             std::vector<uint16_t>{100, 100, 100,  //
                                                   150, 200, 150,  //
                                                   150, 125, 300});
    EXPECT_THAT(Values(ReadHeightField(file, request)),
                ElementsAre(0, -2.5f, 15, 0, 5, 0, -5, -5, -5));
    request.crop = {0, 0, 2, 2};
    EXPECT_THAT(Values(ReadHeightField(file, request)), ElementsAre(0, -2.5f, 0, 5));
}

TEST_F(HeightFieldFile, RangeOfAPlainImageIsItsLowerEnd) {
    HeightfieldOrigin request = Meaning(Heights::kRange);
    request.low = 3, request.high = 15;
    HeightFieldResult result =
        ReadHeightField(Image("a.png", 2, 2, std::vector<uint8_t>{7, 7, 7, 7}), request);
    EXPECT_THAT(Values(result), ElementsAre(3, 3, 3, 3));
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("all pixels are alike"));
}

TEST_F(HeightFieldFile, StatedCellsGiveSizeAndLengths) {
    std::string file = Tiff<int16_t>(3, 2, TiffBytes::kSigned, {-2, 10, 300, 4, 5, 6});
    HeightFieldResult result = ReadHeightField(file, {});
    EXPECT_THAT(Values(result), ElementsAre(4, 5, 6, -2, 10, 300));
    EXPECT_EQ(result.field->Size(), (Point2{90, 40}));
    // Half a metre a unit: everything has twice as many units.
    result = ReadHeightField(file, {}, 0.5);
    EXPECT_THAT(Values(result), ElementsAre(8, 10, 12, -4, 20, 600));
    EXPECT_EQ(result.field->Size(), (Point2{180, 80}));
    // Without stated cells numbers are no lengths, unless one says so.
    std::string plain = Tiff<float>(2, 2, TiffBytes::kFloat, {1, 2, 3, 4}, false);
    EXPECT_THAT(Values(ReadHeightField(plain, {})), ElementsAre(30, 40, 10, 20));
    EXPECT_THAT(Values(ReadHeightField(plain, Meaning(Heights::kFile), 2)),
                ElementsAre(1.5f, 2, 0.5f, 1));
    EXPECT_EQ(ReadHeightField(plain, {}).field->Size(), (Point2{100, 100}));
}

TEST_F(HeightFieldFile, CellsCountTheFilesSamples) {
    std::string file = Tiff<float>(4, 4, TiffBytes::kFloat, std::vector<float>(16, 1));
    HeightfieldOrigin request;
    request.samplesX = 9, request.samplesY = 3;
    EXPECT_EQ(ReadHeightField(file, request).field->Size(), (Point2{120, 80}));
    request.crop = {1, 0, 3, 4};
    EXPECT_EQ(ReadHeightField(file, request).field->Size(), (Point2{60, 80}));
}

TEST_F(HeightFieldFile, MissingDataIsAHole) {
    HeightFieldResult result = ReadHeightField(
        Tiff<int16_t>(3, 2, TiffBytes::kSigned, {1, 2, -9999, 4, 5, 6}), Scaled(65535));
    EXPECT_TRUE(std::isnan(result.field->Height(2, 1)));
    EXPECT_EQ(result.field->NumFaces(), 2u);  // both triangles beside it need that corner
    // Of floats the tag names the nearest one; numbers that are not finite are missing anyway.
    TiffBytes tiff;
    tiff.SetPixels<float>(2, 2, TiffBytes::kFloat, {-3.4028235e38f, 1, NAN, INFINITY});
    tiff.Text(42113, "-3.4028234663852886e+38");
    result = ReadHeightField(m_folder.Write("b.tif", tiff.Bytes()), Scaled(1));
    EXPECT_EQ(result.field->NumFaces(), 0u);
    EXPECT_EQ(result.field->Height(1, 1), 1);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("the terrain is empty"));
}

TEST_F(HeightFieldFile, HolesDoNotSpreadToSamplesThatMeetOthers) {
    // Three samples from three: none is interpolated, though its neighbour is a hole.
    HeightfieldOrigin request = Scaled(1);
    std::string file = Image("a.exr", 3, 3, std::vector<float>{1, 2, 3, 4, NAN, 6, 7, 8, 9});
    std::vector<float> values = Values(ReadHeightField(file, request));
    for (size_t i = 0; i < 9; ++i) EXPECT_EQ(std::isnan(values[i]), i == 4) << i;
    // Five from three: all that lie beside the middle one are.
    request.samplesX = request.samplesY = 5;
    values = Values(ReadHeightField(file, request));
    int holes = 0;
    for (float value : values) holes += std::isnan(value);
    EXPECT_EQ(holes, 9);
}

TEST_F(HeightFieldFile, CropCountsFromTheLowestCorner) {
    std::vector<float> values;
    for (int i = 0; i < 12; ++i) values.push_back(float(i));
    std::string file = Image("a.exr", 4, 3, values);  // bottom row 8 to 11
    HeightfieldOrigin request = Scaled(1);
    request.crop = {1, 0, 3, 2};
    EXPECT_THAT(Values(ReadHeightField(file, request)), ElementsAre(9, 10, 5, 6));
    request.crop = {2, 1, 4, 3};
    EXPECT_THAT(Values(ReadHeightField(file, request)), ElementsAre(6, 7, 2, 3));
}

TEST_F(HeightFieldFile, BadCropsAreRefused) {
    HeightfieldOrigin request = Scaled(1);
    auto expect = [&](std::array<int, 4> crop, const char* why) {
        request.crop = crop;
        HeightFieldResult result = ReadHeightField(Floats(), request);
        EXPECT_FALSE(result.field);
        EXPECT_EQ(result.key, "crop");
        EXPECT_THAT(result.error, HasSubstr(why));
    };
    expect({0, 0, 1, 2}, "at least 2 above");
    expect({1, 1, 1, 1}, "at least 2 above");
    expect({2, 2, 0, 0}, "at least 2 above");
    expect({0, 0, 3, 2}, "the file has 2 x 2 samples only");
    expect({-1, 0, 1, 2}, "the file has 2 x 2 samples only");
    request.crop.reset();
    std::string line = Image("line.png", 5, 1, std::vector<uint8_t>(5));
    EXPECT_THAT(ReadHeightField(line, request).error, HasSubstr("5 x 1 samples, a terrain needs"));
}

TEST_F(HeightFieldFile, WhatDoesNotFitIsRefusedWithAnEstimate) {
    HeightfieldOrigin request = Scaled(1);
    auto expect = [&](int x, int y, uint64_t memory, const char* why) {
        request.samplesX = x, request.samplesY = y;
        HeightFieldResult result = ReadHeightField(Floats(), request, 1, memory);
        EXPECT_FALSE(result.field);
        EXPECT_TRUE(result.isLimit);
        EXPECT_EQ(result.key, "samples");
        EXPECT_THAT(result.error, HasSubstr(why));
        EXPECT_THAT(result.error, HasSubstr("\"crop\""));
    };
    expect(70000, 5, UINT64_MAX, "at most 65536");
    expect(1 << 30, 1 << 30, UINT64_MAX, "at most 65536");
    expect(65536, 65536, UINT64_MAX, "18.73 GB of memory and make 8589672450 triangles");
    // 4 bytes a sample and a little: 1000 x 1000 fit into 4.4 MB, not into 4.
    expect(1000, 1000, 4'000'000, "take about 0.00 GB of memory, 0.00 GB are free");
    EXPECT_TRUE(ReadHeightField(Floats(), request, 1, 4'400'000).field);
    request = Scaled(1, {1, 1e-20f});
    EXPECT_EQ(ReadHeightField(Floats(), request).key, "size");
}

TEST_F(HeightFieldFile, UnreadableFilesAreRefused) {
    EXPECT_THAT(ReadHeightField(m_folder.File("none.png"), {}).error, HasSubstr("cannot open"));
    EXPECT_THAT(ReadHeightField(m_folder.Write("a.png", "text"), {}).error,
                HasSubstr("not a file of a known kind"));
    std::string tiff = Tiff<float>(50, 50, TiffBytes::kFloat, std::vector<float>(2500));
    std::string bytes = m_folder.Read("a.tif");
    bytes.replace(8, 4000, "");
    EXPECT_FALSE(ReadHeightField(m_folder.Write("cut.tif", bytes), {}).field);
    EXPECT_TRUE(ReadHeightField(tiff, {}).field);
}

TEST_F(HeightFieldFile, LargeImagesAreReadInStrips) {
    std::vector<uint16_t> values;
    for (int i = 0; i < 300 * 500; ++i) values.push_back(uint16_t(i * 7));
    std::vector<float> read =
        Values(ReadHeightField(Image("a.png", 300, 500, values), Scaled(65535)));
    ASSERT_EQ(read.size(), values.size());
    for (size_t j = 0; j < 500; ++j)
        for (size_t i = 0; i < 300; ++i)
            ASSERT_NEAR(read[(499 - j) * 300 + i], values[j * 300 + i], 0.01f);
}

TEST_F(HeightFieldFile, GridsAreTerrainsToo) {
    std::string file =
        m_folder.Write("a.asc", "ncols 3\nnrows 2\ncellsize 5\nNODATA_value -1\n1 2 3\n4 5 -1\n");
    HeightFieldResult result = ReadHeightField(file, {});
    EXPECT_EQ(result.field->Size(), (Point2{15, 10}));
    EXPECT_EQ(result.field->Height(0, 1), 1);
    EXPECT_TRUE(std::isnan(result.field->Height(2, 0)));
    // Its numbers are floats: a plain height multiplies them.
    EXPECT_EQ(ReadHeightField(file, Scaled(10)).field->Height(1, 0), 50);
}
