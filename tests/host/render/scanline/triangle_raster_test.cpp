#include "host/render/scanline/triangle_raster.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

namespace {

struct Sample {
    float depth, u, v;
};
using Samples = std::map<std::pair<int, int>, std::vector<Sample>>;

// The three corners' weights are (0, 0), (1, 0), (0, 1).
void Draw(RasterCorner a, RasterCorner b, RasterCorner c, const RasterWindow& window,
          Samples* samples) {
    b.u = c.v = 1;
    const RasterCorner corners[3] = {a, b, c};
    RasterTriangle(corners, window, [&](int x, int y, float depth, float u, float v) {
        (*samples)[{x, y}].push_back({depth, u, v});
    });
}

RasterCorner At(double x, double y, float w = 1) { return {x * w, y * w, w, w}; }

}  // namespace

TEST(TriangleRaster, FacesThatShareAnEdgeCoverEachSampleOnce) {
    // Corners on sample middles and beside them, both windings.
    const double places[] = {0, 0.5, 2.25, 3.5};
    for (double x : places)
        for (double y : places) {
            Samples samples;
            RasterCorner a = At(x, y), b = At(x + 7, y), c = At(x + 7, y + 7), d = At(x, y + 7);
            Draw(a, b, c, {0, 0, 16, 16}, &samples);
            Draw(c, a, d, {0, 0, 16, 16}, &samples);
            EXPECT_EQ(samples.size(), 49u) << x << ' ' << y;
            for (auto& [place, hits] : samples) EXPECT_EQ(hits.size(), 1u);
        }
}

TEST(TriangleRaster, AFanLeavesNoGapAndCoversNothingTwice) {
    Samples samples;
    RasterCorner middle = At(31.3, 30.7);
    for (int i = 0; i < 12; ++i) {
        auto rim = [](int k) {
            double angle = k % 12 * 0.5235987755982988;
            return At(31 + 40 * std::cos(angle), 31 + 40 * std::sin(angle));
        };
        Draw(middle, rim(i), rim(i + 1), {10, 10, 50, 50}, &samples);
    }
    EXPECT_EQ(samples.size(), 1600u);
    for (auto& [place, hits] : samples) ASSERT_EQ(hits.size(), 1u);
}

TEST(TriangleRaster, WeightsAreLinearOverTheFaceNotOverThePicture) {
    // From depth 1 to depth 3: halfway in the picture lies a quarter of the way along the face,
    // (1/2 * 1/3) / (1/2 * 1 + 1/2 * 1/3) = 1/4, at depth 1 + 2/4.
    Samples samples;
    Draw(At(0.5, 0.5, 1), At(10.5, 0.5, 3), At(0.5, 10.5, 1), {0, 0, 16, 1}, &samples);
    ASSERT_EQ((samples[{5, 0}].size()), 1u);
    Sample s = samples[{5, 0}][0];
    EXPECT_NEAR(s.u, 0.25f, 1e-5f);
    EXPECT_NEAR(s.v, 0, 1e-5f);
    EXPECT_NEAR(s.depth, 1.5f, 1e-5f);
}

TEST(TriangleRaster, AFaceThroughTheNearPlaneShowsItsFrontPart) {
    // Along x = 4: from depth 2 in front to depth -2 behind; y in samples is 8 * (1 / depth).
    Samples samples;
    RasterCorner a{-100, 8, 2, 2}, b{100, 8, 2, 2}, c{0, 8, -2, -2};
    Draw(a, b, c, {0, 0, 8, 64}, &samples);
    for (auto& [place, hits] : samples) {
        ASSERT_EQ(hits.size(), 1u);
        EXPECT_NEAR(hits[0].depth, 8 / (place.second + 0.5f), 1e-3f);
    }
    EXPECT_EQ(samples.count({4, 3}), 0u);  // nearer rows than depth 2 gives
    EXPECT_EQ(samples.count({4, 4}), 1u);
    EXPECT_EQ(samples.count({4, 60}), 1u);
}

TEST(TriangleRaster, FacesFarLargerThanTheirWindowFillIt) {
    Samples samples;
    Draw(At(-1e9, -1e9), At(3e9, -1e9), At(-1e9, 3e9), {0, 0, 5, 4}, &samples);
    EXPECT_EQ(samples.size(), 20u);
}

TEST(TriangleRaster, NothingComesOfFacesWithoutAnAreaBehindOrBeside) {
    Samples samples;
    RasterWindow window{0, 0, 8, 8};
    Draw(At(1, 1), At(5, 5), At(3, 3), window, &samples);
    Draw(At(1, 1), At(1, 1), At(1, 1), window, &samples);
    Draw({1, 1, -1, -1}, {5, 1, -1, -1}, {1, 5, -1, -1}, window, &samples);
    Draw(At(9, 9), At(12, 9), At(9, 12), window, &samples);
    EXPECT_TRUE(samples.empty());
}
