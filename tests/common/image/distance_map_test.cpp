#include "common/image/distance_map.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"

using image::DistanceMap;
using image::TImage;

namespace {

TImage<uint8_t> Speckled(int width, int height, float coverage, uint32_t seed) {
    TNuRandom random(seed);
    TImage<uint8_t> picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) picture.At(x, y) = random.Random() < coverage ? 255 : 0;
    return picture;
}

// Distance of a pixel of the bordered image to the nearest of its targets, one by one.
double OneByOne(const TImage<uint8_t>& picture, bool inverse, int x, int y) {
    double best = 1e20;
    for (int v = -1; v <= picture.Height(); ++v)
        for (int u = -1; u <= picture.Width(); ++u) {
            bool covered = picture.IsInside(u, v) && picture.At(u, v) > 128;
            if (covered != inverse) best = std::min(best, std::hypot(u + 1.0 - x, v + 1.0 - y));
        }
    return best;
}

int Covered(const TImage<uint8_t>& picture) {
    int count = 0;
    for (int y = 0; y < picture.Height(); ++y)
        for (int x = 0; x < picture.Width(); ++x) count += picture.At(x, y) > 0;
    return count;
}

}  // namespace

TEST(DistanceMap, IsTheDistanceToTheNearestCoveredPixel) {
    for (auto [w, h] : {std::pair{1, 1}, {7, 31}, {40, 24}})
        for (bool inverse : {false, true}) {
            TImage<uint8_t> picture = Speckled(w, h, 0.05f, uint32_t(w));
            picture.At(0, 0) = 255;
            TImage<float> map = DistanceMap(picture, inverse, 2);
            ASSERT_EQ(map.Width(), w + 2);
            ASSERT_EQ(map.Height(), h + 2);
            for (int y = 0; y < h + 2; ++y)
                for (int x = 0; x < w + 2; ++x)
                    ASSERT_NEAR(map.At(x, y), OneByOne(picture, inverse, x, y), 1e-4);
        }
}

TEST(DistanceMap, DistancesAreExact) {
    // Few targets, so that parabolas reach far: the roots of whole numbers, to the bit.
    for (uint32_t seed : {1u, 7u, 19u}) {
        TImage<uint8_t> picture = Speckled(90, 70, 0.001f * float(seed), seed);
        picture.At(int(seed) * 4, int(seed) * 3) = 255;
        TImage<float> map = DistanceMap(picture, false, 1);
        for (int y = 0; y < map.Height(); ++y)
            for (int x = 0; x < map.Width(); ++x) {
                double exact = OneByOne(picture, false, x, y);
                ASSERT_EQ(map.At(x, y), std::sqrt(float(std::lround(exact * exact))));
            }
    }
}

TEST(DistanceMap, ARowOrAColumnOfTargetsIsEnough) {
    TImage<uint8_t> picture(300, 200);
    for (int x = 0; x < 300; ++x) picture.At(x, 50) = 255;
    TImage<float> map = DistanceMap(picture, false, 1);
    EXPECT_EQ(map.At(0, 0), std::sqrt(float(51 * 51 + 1)));
    EXPECT_EQ(map.At(150, 201), 150);
    EXPECT_EQ(map.At(150, 51), 0);
    TImage<float> inverse = DistanceMap(picture, true, 1);
    EXPECT_EQ(inverse.At(150, 51), 1);
    EXPECT_EQ(inverse.At(150, 52), 0);
    EXPECT_EQ(inverse.At(0, 0), 0);
}

TEST(DistanceMap, ShortAndLongDistancesOfOnePictureAreExact) {
    // Targets in the upper rows only: near them windows do, farther down parabolas.
    TImage<uint8_t> picture = Speckled(300, 150, 0.2f, 11);
    std::vector<std::pair<int, int>> targets;
    for (int y = 0; y < picture.Height(); ++y)
        for (int x = 0; x < picture.Width(); ++x) {
            if (y >= 10) picture.At(x, y) = 0;
            if (picture.At(x, y) > 0) targets.emplace_back(x + 1, y + 1);
        }
    TImage<float> map = DistanceMap(picture, false, 1);
    for (int y = 0; y < map.Height(); ++y)
        for (int x = 0; x < map.Width(); ++x) {
            int best = 1 << 30;
            for (auto [u, v] : targets)
                best = std::min(best, (u - x) * (u - x) + (v - y) * (v - y));
            ASSERT_EQ(map.At(x, y), std::sqrt(float(best))) << x << " " << y;
        }
}

TEST(DistanceMap, ThreadsGiveTheSameBits) {
    TImage<uint8_t> picture = Speckled(400, 150, 0.002f, 5);
    TImage<float> one = DistanceMap(picture, false, 1);
    for (int threads : {2, 3, 8, 16}) {
        TImage<float> many = DistanceMap(picture, false, threads);
        for (int y = 0; y < one.Height(); ++y)
            for (int x = 0; x < one.Width(); ++x) ASSERT_EQ(one.At(x, y), many.At(x, y));
    }
}

TEST(DistanceMap, NothingCoveredIsFarEverywhere) {
    TImage<float> map = DistanceMap(TImage<uint8_t>(5, 5), false, 1);
    EXPECT_FLOAT_EQ(map.At(3, 3), 1e10f);  // the root of 1e20
}

TEST(DrawDisc, FillsACircleAndKeepsInsideTheImage) {
    TImage<uint8_t> picture(41, 41);
    image::DrawDisc(picture, 20, 20, 10);
    EXPECT_NEAR(Covered(picture), 3.14159 * 10.5 * 10.5, 20);
    EXPECT_EQ(picture.At(30, 20), 255);
    EXPECT_EQ(picture.At(31, 20), 0);
    EXPECT_EQ(picture.At(28, 28), 0);
    image::DrawDisc(picture, -3, 45, 10);  // a corner of it
    EXPECT_EQ(picture.At(0, 40), 255);
}

TEST(DrawDisc, RadiusOneIsACross) {
    TImage<uint8_t> picture(5, 5);
    image::DrawDisc(picture, 2, 2, 1);
    EXPECT_EQ(picture.At(2, 2) + picture.At(1, 2) + picture.At(3, 2), 3 * 255);
    EXPECT_EQ(picture.At(2, 1) + picture.At(2, 3), 2 * 255);
    EXPECT_EQ(picture.At(0, 2), 0);
}

TEST(DrawTriangle, CoversThePixelsWhoseCentreIsInside) {
    TNuRandom random(3);
    for (int k = 0; k < 50; ++k) {
        image::PixelPoint p[3];
        for (auto& q : p) q = {random.Random() * 60.0 - 15, random.Random() * 60.0 - 15};
        TImage<uint8_t> picture(30, 30);
        image::DrawTriangle(picture, p[0], p[1], p[2]);
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 30; ++x) {
                bool left = false, right = false;
                for (int i = 0; i < 3; ++i) {
                    auto a = p[i], b = p[(i + 1) % 3];
                    double side = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
                    (side > 0 ? left : right) = true;
                }
                ASSERT_EQ(picture.At(x, y) > 0, left != right) << x << " " << y;
            }
    }
}
