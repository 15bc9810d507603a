#include "host/io/geo_tiff.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/host/io/tiff_bytes.h"

namespace {

// A directory of geographic keys: header, then (id, location, count, value).
std::vector<uint16_t> Keys(std::vector<std::array<uint16_t, 4>> keys) {
    std::vector<uint16_t> values{1, 1, 0, uint16_t(keys.size())};
    for (const auto& key : keys) values.insert(values.end(), key.begin(), key.end());
    return values;
}

TiffBytes Projected(bool isBig = false, bool isLarge = false) {
    TiffBytes tiff(isBig, isLarge);
    tiff.SetPixels<uint8_t>(2, 2, TiffBytes::kUnsigned, {1, 2, 3, 4});
    tiff.Doubles(33550, {30, 25, 0});
    tiff.Doubles(33922, {0, 0, 0, 500000, 4000000, 0});
    tiff.Shorts(34735, Keys({{1024, 0, 1, 1}, {3076, 0, 1, 9001}}));
    tiff.Text(42113, "-9999 ");
    return tiff;
}

GeoScale ScaleOfBytes(const std::string& bytes) { return ScaleOf(ReadGeoTiffTags(bytes), 2, 2); }

}  // namespace

TEST(GeoTiff, TagsOfAllFourKindsOfFiles) {
    for (bool isBig : {false, true})
        for (bool isLarge : {false, true}) {
            GeoTiffTags tags = ReadGeoTiffTags(Projected(isBig, isLarge).Bytes());
            ASSERT_TRUE(tags.pixelScale && tags.tiepoint && tags.noData);
            EXPECT_EQ((*tags.pixelScale)[1], 25);
            EXPECT_EQ((*tags.tiepoint)[4], 4000000);
            EXPECT_EQ(*tags.noData, -9999);
            EXPECT_EQ(tags.Key(3076), 9001);
            EXPECT_EQ(tags.Key(7), std::nullopt);
        }
}

TEST(GeoTiff, MetresAreTakenAsTheyAre) {
    GeoScale scale = ScaleOfBytes(Projected().Bytes());
    EXPECT_EQ(scale.cellX, 30);
    EXPECT_EQ(scale.cellY, 25);
    EXPECT_EQ(scale.metresPerValue, 1);
    EXPECT_TRUE(scale.warnings.empty());
}

TEST(GeoTiff, FeetBecomeMetres) {
    TiffBytes tiff = Projected();
    tiff.Shorts(34735, Keys({{1024, 0, 1, 1}, {3076, 0, 1, 9003}, {4099, 0, 1, 9002}}));
    GeoScale scale = ScaleOfBytes(tiff.Bytes());
    EXPECT_DOUBLE_EQ(scale.cellX, 30 * 1200.0 / 3937);
    EXPECT_DOUBLE_EQ(scale.metresPerValue, 0.3048);
    // A unit of its own, stated among the doubles.
    tiff.Shorts(34735, Keys({{3076, 0, 1, 32767}, {3077, 34736, 1, 1}}));
    tiff.Doubles(34736, {5, 2.5});
    EXPECT_DOUBLE_EQ(ScaleOfBytes(tiff.Bytes()).cellX, 75);
    tiff.Shorts(34735, Keys({{3076, 0, 1, 1234}}));
    scale = ScaleOfBytes(tiff.Bytes());
    EXPECT_EQ(scale.cellX, 30);
    ASSERT_EQ(scale.warnings.size(), 1u);
    EXPECT_NE(scale.warnings[0].find("the unit 1234"), std::string::npos);
}

// A degree of the meridian is 110.574 km at the equator and 111.694 km at the poles, one of the
// equator 111.320 km: common tables of WGS 84.
TEST(GeoTiff, DegreesAreArcsOfTheEllipsoid) {
    EXPECT_NEAR(MetresPerDegree(0).y, 110574, 1);
    EXPECT_NEAR(MetresPerDegree(90).y, 111694, 1);
    EXPECT_NEAR(MetresPerDegree(0).x, 111320, 1);
    EXPECT_NEAR(MetresPerDegree(45).x, 78847, 1);
    EXPECT_NEAR(MetresPerDegree(60).x, 55800, 1);
    EXPECT_NEAR(MetresPerDegree(90).x, 0, 1e-6);
}

TEST(GeoTiff, CellsInDegreesAreTakenAtTheMiddleAndWarn) {
    TiffBytes tiff = Projected();
    tiff.Doubles(33550, {0.001, 0.002, 0});
    tiff.Doubles(33922, {0, 0, 0, 10, 45.002, 0});  // two rows of 0.002: the middle is 45 north
    tiff.Shorts(34735, Keys({{1024, 0, 1, 2}, {2054, 0, 1, 9102}}));
    GeoScale scale = ScaleOfBytes(tiff.Bytes());
    EXPECT_NEAR(scale.cellX, 78.847, 1e-3);
    EXPECT_NEAR(scale.cellY, 0.002 * MetresPerDegree(45).y, 1e-9);
    ASSERT_EQ(scale.warnings.size(), 1u);
    EXPECT_NE(scale.warnings[0].find("0.001 x 0.002 degrees"), std::string::npos);
    EXPECT_NE(scale.warnings[0].find("latitude 45.00"), std::string::npos);
}

TEST(GeoTiff, MatricesGiveCellsToo) {
    TiffBytes tiff;
    tiff.SetPixels<uint8_t>(2, 2, TiffBytes::kUnsigned, {1, 2, 3, 4});
    tiff.Doubles(34264, {5, 0, 0, 100, 0, -7, 0, 200, 0, 0, 0, 0, 0, 0, 0, 1});
    GeoScale scale = ScaleOfBytes(tiff.Bytes());
    EXPECT_EQ(scale.cellX, 5);
    EXPECT_EQ(scale.cellY, 7);
    EXPECT_TRUE(scale.warnings.empty());
    tiff.Doubles(34264, {3, -4, 0, 0, 4, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    scale = ScaleOfBytes(tiff.Bytes());
    EXPECT_EQ(scale.cellX, 5);
    ASSERT_EQ(scale.warnings.size(), 1u);
    EXPECT_NE(scale.warnings[0].find("turns its image"), std::string::npos);
}

TEST(GeoTiff, ScaledValuesWarn) {
    TiffBytes tiff = Projected();
    tiff.Text(42112, "<GDALMetadata><Item name=\"SCALE\" role=\"scale\">0.1</Item></GDALMetadata>");
    GeoScale scale = ScaleOfBytes(tiff.Bytes());
    ASSERT_EQ(scale.warnings.size(), 1u);
    EXPECT_NE(scale.warnings[0].find("\"height_range\""), std::string::npos);
}

TEST(GeoTiff, PlainAndDamagedFilesHaveNoTags) {
    TiffBytes plain;
    plain.SetPixels<uint8_t>(2, 2, TiffBytes::kUnsigned, {1, 2, 3, 4});
    EXPECT_FALSE(ScaleOfBytes(plain.Bytes()).StatesCells());
    EXPECT_FALSE(ScaleOfBytes("no tiff at all").StatesCells());
    std::string whole = Projected().Bytes();
    for (size_t cut = 0; cut < whole.size(); ++cut) {
        GeoTiffTags tags = ReadGeoTiffTags(whole.substr(0, cut));
        EXPECT_TRUE(!tags.pixelScale || (*tags.pixelScale)[0] == 30);
    }
    TiffBytes negative = Projected();
    negative.Doubles(33550, {-30, 25, 0});
    EXPECT_FALSE(ScaleOfBytes(negative.Bytes()).StatesCells());
    negative.Doubles(33550, {INFINITY, 25, 0});
    EXPECT_FALSE(ScaleOfBytes(negative.Bytes()).StatesCells());
}
