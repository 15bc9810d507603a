#include "host/scene/texmaps.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TexPoint At(float u, float v, float w = 0) { return {{u, v, w}, {}}; }

// 2 x 2 grey image; bottom row 0, 1/5, top row 2/5, 3/5.
std::shared_ptr<const Bitmap> SmallImage() {
    return std::make_shared<Bitmap>(2, 2, 1, std::vector<uint8_t>{102, 153, 0, 51});
}

struct SmallTex : BitmapTex {
    SmallTex(Filter f, Wrap w) : BitmapTex(nullptr) {
        filter = f, wrap = w;
        SetImage(SmallImage());
    }
    float Grey(float u, float v) const { return EvalColor(At(u, v)).r; }
};

using Filter = BitmapTex::Filter;
using Wrap = BitmapTex::Wrap;

}  // namespace

TEST(Texmaps, UvwTakesFractionsAfterTiling) {
    UvwTex map;
    map.tiling = {2, 1}, map.offset = {0, 0.5f};
    EXPECT_EQ(map.EvalColor(At(0.75f, 0.75f, -0.25f)), (AColor{0.5f, 0.25f, 0.75f, 1}));
}

TEST(Texmaps, GradientClampsAtItsEnds) {
    GradientTex map;
    map.color1 = {1, 0, 0}, map.color2 = {0, 1, 0}, map.axis = GradientTex::kU;
    EXPECT_EQ(map.EvalColor(At(-3, 0)).Rgb(), map.color1);
    EXPECT_EQ(map.EvalColor(At(0.25f, 9)).Rgb(), (Color{0.75f, 0.25f, 0}));
    map.axis = GradientTex::kV;
    EXPECT_EQ(map.EvalColor(At(0, 7)).Rgb(), map.color2);
}

TEST(Texmaps, CheckerFieldsAlternate) {
    CheckerTex map;
    EXPECT_EQ(map.EvalColor(At(0.1f, 0.1f)).Rgb(), map.color1);
    EXPECT_EQ(map.EvalColor(At(0.6f, 0.1f)).Rgb(), map.color2);
    EXPECT_EQ(map.EvalColor(At(0.6f, 0.6f)).Rgb(), map.color1);
    EXPECT_EQ(map.EvalColor(At(-0.1f, 0.1f)).Rgb(), map.color2);
    EXPECT_EQ(map.EvalColor(At(1e30f, 0.6f)).Rgb(), map.color2);
}

TEST(Texmaps, NearestTakesThePixelUnderThePoint) {
    SmallTex map(Filter::kNearest, Wrap::kTile);
    EXPECT_FLOAT_EQ(map.Grey(0.1f, 0.1f), 0.0f);
    EXPECT_FLOAT_EQ(map.Grey(0.5f, 0.1f), 0.2f);
    EXPECT_FLOAT_EQ(map.Grey(0.1f, 0.9f), 0.4f);
    EXPECT_FLOAT_EQ(map.Grey(1.6f, -0.4f), 0.6f);   // one tile further right, one further down
    EXPECT_FLOAT_EQ(map.Grey(-1e-9f, 0.1f), 0.2f);  // rounds up to 1, still the last column
}

TEST(Texmaps, ClampAndMirrorWrap) {
    SmallTex clamp(Filter::kNearest, Wrap::kClamp), mirror(Filter::kNearest, Wrap::kMirror);
    EXPECT_FLOAT_EQ(clamp.Grey(5, -5), 0.2f);
    EXPECT_FLOAT_EQ(clamp.Grey(-5, 5), 0.4f);
    EXPECT_FLOAT_EQ(mirror.Grey(1.1f, 0.1f), 0.2f);
    EXPECT_FLOAT_EQ(mirror.Grey(1.9f, 0.1f), 0.0f);
    EXPECT_FLOAT_EQ(mirror.Grey(-0.1f, 0.1f), 0.0f);
}

TEST(Texmaps, BilinearMeetsPixelCentresAndBlendsBetween) {
    SmallTex map(Filter::kBilinear, Wrap::kTile);
    EXPECT_FLOAT_EQ(map.Grey(0.25f, 0.25f), 0.0f);
    EXPECT_FLOAT_EQ(map.Grey(0.5f, 0.25f), 0.1f);
    EXPECT_FLOAT_EQ(map.Grey(0.5f, 0.5f), 0.3f);
    EXPECT_FLOAT_EQ(map.Grey(0.0f, 0.25f), 0.1f);  // half way round the seam
    map.wrap = Wrap::kClamp;
    EXPECT_FLOAT_EQ(map.Grey(0.0f, 0.25f), 0.0f);
}

TEST(Texmaps, UndefinedCoordinatesCountAsZero) {
    SmallTex map(Filter::kBilinear, Wrap::kTile);
    EXPECT_EQ(map.EvalColor(At(kNaN, INFINITY)), map.EvalColor(At(0, 0)));
    UvwTex uvw;
    EXPECT_EQ(uvw.EvalColor(At(kNaN, 0.5f)), uvw.EvalColor(At(0, 0.5f)));
}

TEST(Texmaps, BitmapLoadsOnceAtUpdate) {
    int loads = 0;
    BitmapTex map(
        [&](const std::string& file, std::string* error) -> std::shared_ptr<const Bitmap> {
            ++loads;
            if (file == "bad") return *error = "no such image", nullptr;
            return SmallImage();
        });
    std::string error;
    EXPECT_FALSE(map.Update(0, &error));  // nothing named yet
    map.SetFile("good");
    EXPECT_EQ(map.EvalColor(At(0, 0)), (AColor{0, 0, 0, 1}));
    EXPECT_TRUE(map.Update(0, &error) && map.Update(160, &error));
    EXPECT_EQ(loads, 1);
    map.SetFile("bad");
    EXPECT_FALSE(map.Update(0, &error));
    EXPECT_EQ(error, "no such image");
    EXPECT_EQ(map.Image(), nullptr);
}

TEST(Texmaps, NoiseStaysBetweenItsColours) {
    NoiseTex map;
    map.size = 2, map.color1 = {0, 0, 0}, map.color2 = {1, 1, 1};
    float least = 1, most = 0;
    for (int i = 0; i < 2000; ++i) {
        float r = map.EvalColor({{}, {float(i) * 0.3f, float(i % 37) * 0.7f, 1.1f}}).r;
        least = std::min(least, r), most = std::max(most, r);
    }
    EXPECT_GE(least, 0);
    EXPECT_LE(most, 1);
    EXPECT_GT(most - least, 0.5f);
    map.size = 0;
    EXPECT_EQ(map.EvalColor({{}, {3.3f, 4.4f, 5.5f}}).r, 0.5f);
}

TEST(Texmaps, BatchesGiveTheSameBits) {
    ColorTex color;
    UvwTex uvw;
    GradientTex gradient;
    CheckerTex checker;
    NoiseTex noise;
    SmallTex bitmap(Filter::kBilinear, Wrap::kMirror);
    std::vector<TexPoint> points;
    for (int i = -50; i < 50; ++i) {
        float f = float(i);
        points.push_back({{f * 0.173f, f * -0.319f, f}, {f * 1.7f, f * 0.3f, -f}});
    }
    for (const Texmap* map :
         std::initializer_list<const Texmap*>{&color, &uvw, &gradient, &checker, &noise, &bitmap}) {
        std::vector<AColor> batch(points.size());
        map->EvalColors(points, batch);
        for (size_t i = 0; i < points.size(); ++i) ASSERT_EQ(batch[i], map->EvalColor(points[i]));
    }
}

TEST(Bitmap, SixteenBitValues) {
    Bitmap bytes(1, 1, 3, std::vector<uint8_t>{0, 128, 255});
    EXPECT_EQ(bytes.Pixel16(0, 0), (std::array<uint16_t, 4>{0, 128 * 257, 65535, 65535}));
    Bitmap floats(1, 1, 2, std::vector<float>{0.5f, 2.0f});
    EXPECT_EQ(floats.Pixel16(0, 0), (std::array<uint16_t, 4>{32768, 32768, 32768, 65535}));
    Bitmap words(1, 1, 4, std::vector<uint16_t>{1, 2, 3, 4});
    EXPECT_EQ(words.Pixel16(0, 0), (std::array<uint16_t, 4>{1, 2, 3, 4}));
    Bitmap odd(1, 1, 3, std::vector<float>{kNaN, -1.0f, 1e30f});
    EXPECT_EQ(odd.Pixel16(0, 0), (std::array<uint16_t, 4>{0, 0, 65535, 65535}));
}

TEST(Texmaps, CoordinatesAreTiledThenTurnedThenShifted) {
    UvwTex map;
    map.tiling = {2, 4}, map.offset = {0.25f, 0.5f};
    map.SetRotation(90);  // (u, v) becomes (-v, u)
    Point3 placed = map.Place({0.5f, 0.125f, 7});
    EXPECT_NEAR(placed.x, -0.5f + 0.25f, 1e-6f);
    EXPECT_NEAR(placed.y, 1 + 0.5f, 1e-6f);
    EXPECT_EQ(placed.z, 7);
}
