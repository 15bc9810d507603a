#include "Dravin/materials/tint.h"

#include <gtest/gtest.h>

#include <array>

#include "host/scene/texmaps.h"

namespace {

void ExpectColor(const Color& seen, const Color& expected, float tolerance = 1e-4f) {
    EXPECT_NEAR(seen.r, expected.r, tolerance);
    EXPECT_NEAR(seen.g, expected.g, tolerance);
    EXPECT_NEAR(seen.b, expected.b, tolerance);
}

TShadedItem Item(float r1, float r2, float r3) {
    TShadedItem item;
    item.random1 = r1, item.random2 = r2, item.random3 = r3;
    return item;
}

// Red at u, green at v, blue at w.
std::shared_ptr<Texmap> Places() { return std::make_shared<UvwTex>(); }

}  // namespace

TEST(MixHash, GivesTheStatedBits) {
    const std::array<std::array<float, 3>, 12> kValues = {{
        {0, 0, 0.3275231122970581f},
        {0.5f, 0.5f, 0.46801555156707764f},
        {0.25f, 0.75f, 0.8827022314071655f},
        {0.75f, 0.25f, 0.02263200283050537f},
        {0.1f, 0.2f, 0.1418616771697998f},
        {0.2f, 0.1f, 0.030209660530090332f},
        {0.999999f, 1e-06f, 0.06169438362121582f},
        {0.333333f, 0, 0.9323831796646118f},
        {0.7062f, 0.4931f, 0.09344625473022461f},
        {0.123456f, 0.654321f, 0.871171236038208f},
        {0.9f, 0.0f, 0.04499971866607666f},
        {0.0f, 0.9f, 0.5529230833053589f},
    }};
    for (const auto& [x, y, expected] : kValues)
        EXPECT_EQ(MixHash(x, y), expected) << x << " " << y;
}

TEST(BlendTint, ColorTakesHueAndSaturationAndKeepsTheValue) {
    const struct {
        Color color, tint;
        float amount;
        Color expected;
    } kCases[] = {
        {{0.8f, 0.4f, 0.2f}, {0.2f, 0.6f, 0.4f}, 0.5f, {0.5333333f, 0.6f, 0.3666667f}},
        {{0.5f, 0.5f, 0.5f}, {0.86f, 0.47f, 0.0f}, 1.0f, {0.5f, 0.2732558f, 0.0f}},
        {{0.1f, 0.9f, 0.3f}, {0.3f, 0.3f, 0.3f}, 0.25f, {0.3f, 0.9f, 0.45f}},
        {{1, 1, 1}, {0, 0, 0}, 0.75f, {1, 1, 1}},
        {{0.4f, 0.2f, 0.7f}, {0.9f, 0.8f, 0.1f}, 0.0f, {0.4f, 0.2f, 0.7f}},
    };
    for (const auto& c : kCases)
        ExpectColor(BlendTint(kTintColor, c.color, c.tint, c.amount), c.expected);
    // All sectors of the hue come back from themselves.
    for (const Color& c :
         {Color{1, 0.2f, 0.1f}, Color{0.7f, 0.9f, 0.1f}, Color{0.1f, 0.9f, 0.3f},
          Color{0.1f, 0.6f, 0.9f}, Color{0.3f, 0.1f, 0.9f}, Color{0.9f, 0.1f, 0.6f}})
        ExpectColor(BlendTint(kTintColor, c, c, 1), c, 1e-6f);
}

TEST(BlendTint, OtherWays) {
    Color c{0.2f, 0.4f, 0.8f}, t{0.6f, 0.5f, 0.1f};
    ExpectColor(BlendTint(kTintNormal, c, t, 0.25f), {0.3f, 0.425f, 0.625f}, 1e-6f);
    ExpectColor(BlendTint(kTintAdditive, c, t, 0.5f), {0.5f, 0.65f, 0.85f}, 1e-6f);
    ExpectColor(BlendTint(kTintAverage, c, t, 0.5f), {0.3f, 0.425f, 0.625f}, 1e-6f);
    ExpectColor(BlendTint(kTintMultiply, c, t, 1), {0.12f, 0.2f, 0.08f}, 1e-6f);
    ExpectColor(BlendTint(kTintMultiplyAmount, c, t, 0.5f), {0.06f, 0.1f, 0.04f}, 1e-6f);
    for (int unknown : {5, 50, 98, -1}) EXPECT_EQ(BlendTint(unknown, c, t, 0.5f), c);
}

TEST(Tint, TheItemsOwnStandsWithoutOverrideAndVariation) {
    TTintSettings object;
    TShadedItem item = Item(0.3f, 0.4f, 0.5f);
    item.tintBlend = 0.5f;
    item.tintColor = {1, 0, 0};
    ExpectColor(Tinted({0, 0, 1}, item, {0.1f, 0.9f}, {&object, nullptr, 0, kTintNormal}),
                {0.5f, 0, 0.5f}, 1e-6f);
    item.tintBlend = 0;
    EXPECT_EQ(Tinted({0, 0, 1}, item, {}, {&object, nullptr, 0, kTintMultiplyAmount}),
              (Color{0, 0, 1}));
}

TEST(Tint, ElementsVaryAmountAndColour) {
    TTintSettings object;
    object.SetRange(80, 20);
    EXPECT_FLOAT_EQ(object.min, 0.2f);
    EXPECT_FLOAT_EQ(object.max, 0.8f);
    object.color1 = {0.86f, 0.47f, 0.0f};
    object.color2 = {0.93f, 0.79f, 0.0f};
    TElementRandoms element{0.2391384392976761f, 0.6712434887886047f};
    TShadedItem item = Item(0.25f, 0.7f, 0.4f);
    TTintRequest request{&object, nullptr, 0.5f, kTintNormal};
    // On black, "Normal" shows tint x amount: 0.4957149 x (0.9189998, 0.7397134, 0).
    ExpectColor(Tinted({0, 0, 0}, item, element, request),
                {0.9189998f * 0.4957149f, 0.7397134f * 0.4957149f, 0});
    request.blend = kTintColor;
    ExpectColor(Tinted({0.5f, 0.5f, 0.5f}, item, element, request), {0.5f, 0.4516458f, 0.2521425f});
    // From a map at (m, q, m), all of it.
    std::shared_ptr<Texmap> map = Places();
    object.fromMap = true;
    object.map = map.get();
    object.SetRange(100, 100);
    request.blend = kTintNormal;
    ExpectColor(Tinted({0, 0, 0}, item, element, request), {0.8428543f, 0.5070989f, 0.8428543f});
}

TEST(Tint, MapsAsTexturesAreReadWhereTheItemIsOnlyWithAnOverride) {
    std::shared_ptr<Texmap> map = Places();
    TTintSettings own;
    own.SetRange(100, 100);
    own.fromMap = own.mapAsTexture = true;
    own.map = map.get();
    TShadedItem item = Item(0.5f, 0.5f, 0.5f);
    item.tintUvw = {0.25f, 0.75f, 0.5f};
    item.tintColor = {1, 0, 0};
    item.tintBlend = 0.125f;
    ExpectColor(Tinted({0, 0, 0}, item, {}, {nullptr, &own, 0, kTintNormal}), {0.25f, 0.75f, 0.5f},
                1e-6f);
    // The object's map with variation: the colour that the build gave the item.
    ExpectColor(Tinted({0, 0, 0}, item, {}, {&own, nullptr, 0.5f, kTintNormal}), {1, 0, 0}, 1e-6f);
    own.map = nullptr;
    EXPECT_EQ(Tinted({0, 0, 1}, item, {}, {nullptr, &own, 0, kTintNormal}), (Color{0, 0, 1}));
}
