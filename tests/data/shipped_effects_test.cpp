// The effects that ship: each does to the items of a small scene what it promises.
#include <gmock/gmock.h>

#include <cmath>
#include <functional>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/config/effect_library.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/scene/dravin_description.h"
#include "host/base/file_input.h"
#include "host/scene/host_context.h"
#include "tests/host/io/scene_testing.h"

namespace {

constexpr float kPi = 3.14159265f;
using Items = std::vector<TDravinItem>;

const SceneFormats& Formats() {
    static const SceneFormats formats = [] {
        SceneFormats all(MakeSceneLoaders());
        RegisterDravinNodes(all);
        return all;
    }();
    return formats;
}

// Scenes with a scatter object of 1 x 1 cells. "ground" is 20 x 20 and flat; "bent" lies flat left
// of x = 0, rises by 30 degrees up to x = 5 and by 60 degrees from there on.
class ShippedEffectsTest : public testing::Test {
protected:
    // params and keys follow others, so both start with a comma or are empty; rows are the effects.
    Items Build(const std::string& params, const std::string& rows, const std::string& keys = "",
                int time = 0) {
        const float rise = 5 / std::sqrt(3.0f), top = rise + 5 * std::sqrt(3.0f);
        SceneReadResult scene = ParseScene(fmt::format(R"({{"dravin_scene": 1, "texmaps": {{
              "white": {{"type": "color"}}, "black": {{"type": "color", "color": [0, 0, 0]}},
              "teal": {{"type": "color", "color": [0.25, 0.5, 0.75]}}}},
            "nodes": [{{"name": "ground", "type": "plane", "width": 20, "length": 20}},
              {{"name": "bent", "type": "mesh", "vertices": [[-10, -10, 0], [-10, 10, 0],
                [0, -10, 0], [0, 10, 0], [5, -10, {0}], [5, 10, {0}], [10, -10, {1}], [10, 10, {1}]],
                "faces": [[0, 2, 1], [1, 2, 3], [2, 4, 3], [3, 4, 5], [4, 6, 5], [5, 6, 7]]}},
              {{"name": "square", "type": "spline", "lines": [{{"closed": true, "points":
                [[-8, -8, 0], [8, -8, 0], [8, 8, 0], [-8, 8, 0]]}}]}},
              {{"name": "way", "type": "spline", "lines": [{{"points": [[-8, 0, 0], [8, 0, 6]]}}]}},
              {{"name": "drops", "type": "particles", "particles": [
                {{"position": [0, 0, 0], "age": 0}}, {{"position": [1, 0, 0], "age": 24000}}]}},
              {{"name": "post", "type": "dummy", "position": [3.25, 4.75, 0]}},
              {{"name": "box", "type": "box", "width": 1, "length": 1, "height": 1}},
              {{"name": "d", "type": "dravin", "params": {{"seed": 5, "distmap": "white",
                "pixels_x": 10, "pixels_y": 10 {2}}}, "geometry": [{{"object": "box"}},
                {{"object": "box", "probability": 0}}], "effects": [{3}] {4}}}]}})",
                                                       rise, top, params, rows, keys),
                                           Formats());
        EXPECT_TRUE(scene) << scene.error;
        if (!scene) return {};
        auto& object = dynamic_cast<TDravin&>(*scene.scene->FindNode("d")->GetObjectRef());
        object.Build().BuildMesh(time, {});
        std::string message = object.Build().Message()[0];
        EXPECT_EQ(message, object.Build().Items().Count() ? "" : "No items");
        Items items;
        for (size_t i = 0; i < object.Build().Items().Count(); ++i)
            items.push_back(object.Build().Items().Item(i));
        return items;
    }
    // values: "name": value pairs of the effect's parameters.
    static std::string Row(const std::string& name,
                           std::vector<std::pair<std::string, std::string>> values = {}) {
        std::string parameters;
        for (auto& [key, value] : values)
            parameters += fmt::format(R"({}{{"name": "{}", "value": {}}})",
                                      parameters.empty() ? "" : ", ", key, value);
        return fmt::format(R"({{"library": "{}", "parameters": [{}]}})", name, parameters);
    }

    static constexpr const char* kGround = R"(, "surflist": ["ground"])";
    static constexpr const char* kBent = R"(, "surflist": ["bent"], "direction": 0)";
    static constexpr const char* kPath =
        R"(, "distmode": "Path", "distpathnodes": ["way"], "distpathspacing": 1)";
    static constexpr const char* kParticles =
        R"(, "distmode": "Particle Flow", "distpflownodes": ["drops"])";
    static constexpr const char* kArea = R"(, "areas": [{"node": "square"}])";

    HostContext host;
};

Point3 Flat(Point3 v) { return {v.x, v.y, 0}; }
float FlatDistance(const Point3& a, const Point3& b) { return Length(Flat(a - b)); }
float Tilt(const TDravinItem& item) {
    return std::acos(std::clamp(item.transform.row[2].z, -1.0f, 1.0f)) * 180 / kPi;
}
float SlopeDegrees(const TDravinItem& item) { return item.surfaceSlope * 180 / kPi; }
size_t CountIf(const Items& items, const std::function<bool(const TDravinItem&)>& test) {
    return size_t(std::count_if(items.begin(), items.end(), test));
}
const Point3 kPost{3.25f, 4.75f, 0};

}  // namespace

TEST(ShippedEffects, HaveTitlesDescriptionsAndSensibleParameters) {
    std::vector<std::string> names = ShippedEffects();
    EXPECT_GE(names.size(), 20u);
    for (const std::string& name : names) {
        std::string path, error;
        ASSERT_TRUE(FindShippedEffect(name, &path, &error)) << error;
        auto definition =
            ReadEffectDefinition(ReadWholeFile(path, 1 << 20, &error).value(), &error);
        ASSERT_TRUE(definition) << name << ": " << error;
        EXPECT_FALSE(definition->title.empty()) << name;
        EXPECT_FALSE(definition->description.empty()) << name;
        EXPECT_FALSE(definition->parameters.empty()) << name;
        for (const TEffectParameterDefinition& p : definition->parameters) {
            EXPECT_FALSE(p.description.empty()) << name << ": " << p.name;
            bool isNumber = p.kind == "integer" || p.kind == "real" || p.kind == "unit";
            EXPECT_EQ(isNumber, p.limit) << name << ": " << p.name;
            if (!isNumber) continue;
            EXPECT_LE(std::stof(p.min), std::stof(p.value)) << name << ": " << p.name;
            EXPECT_GE(std::stof(p.max), std::stof(p.value)) << name << ": " << p.name;
        }
    }
}

// --- direction

TEST_F(ShippedEffectsTest, AlignToBorderPointsAtTheNearestBorder) {
    Items items = Build(kGround, Row("align_to_border"), kArea);
    EXPECT_EQ(items.size(), 256u);
    for (const TDravinItem& item : items) {
        if (item.includeDistance < 0.5f) continue;  // on the border there is no direction
        EXPECT_GT(DotProd(item.transform.row[0], Normalize(item.includeNearest - item.position)),
                  0.9999f);
    }
}

TEST_F(ShippedEffectsTest, FaceNodeTurnsTowardsTheNode) {
    for (const TDravinItem& item : Build(kGround, Row("face_node", {{"target", "\"post\""}})))
        EXPECT_GT(DotProd(item.transform.row[0], Normalize(kPost - item.position)), 0.9999f);
}

TEST_F(ShippedEffectsTest, FaceDownhillPointsDownWhereItIsSteep) {
    Items items = Build(kBent, Row("face_downhill", {{"spread", "0"}}));
    for (const TDravinItem& item : items) {
        bool isSteep = SlopeDegrees(item) > 2;
        EXPECT_EQ(item.transform.row[0].x < 0, isSteep);
        EXPECT_NEAR(item.transform.row[0].y, 0, 1e-5);
    }
    EXPECT_EQ(CountIf(items, [](auto& i) { return SlopeDegrees(i) > 2; }), 200u);
}

TEST_F(ShippedEffectsTest, FlowAlongTangentLiesOnThePath) {
    const Point3 along = Normalize(Point3{16, 0, 6});
    for (const TDravinItem& item : Build(kPath, Row("flow_along_tangent")))
        EXPECT_GT(DotProd(item.transform.row[0], along), 0.9999f);
    for (const TDravinItem& item : Build(kPath, Row("flow_along_tangent", {{"upright", "1"}})))
        EXPECT_NEAR(item.transform.row[2].z, 1, 1e-6);
}

// Half of 400 within four standard deviations of 10.
TEST_F(ShippedEffectsTest, RandomFlipTurnsItsShareByTheStep) {
    Items items = Build(kGround, Row("random_flip"));
    size_t flipped = CountIf(items, [](auto& i) { return i.transform.row[0].x < -0.9999f; });
    EXPECT_EQ(CountIf(items, [](auto& i) { return i.transform.row[0].x > 0.9999f; }),
              items.size() - flipped);
    EXPECT_NEAR(float(flipped), 200, 40);
}

TEST_F(ShippedEffectsTest, LimitTiltLimitsIt) {
    for (const TDravinItem& item : Build(kBent, Row("limit_tilt", {{"limit", "20"}}))) {
        EXPECT_NEAR(Tilt(item), std::min(20.0f, SlopeDegrees(item)), 0.02f);
        EXPECT_NEAR(DotProd(item.transform.row[0], item.transform.row[2]), 0, 1e-5);
        EXPECT_NEAR(Length(item.transform.row[1]), 1, 1e-5);
    }
}

TEST_F(ShippedEffectsTest, WindLeanFollowsMapAndDirection) {
    auto row = [](const char* map) {
        return Row("wind_lean",
                   {{"wind", map}, {"direction", "90"}, {"lean", "30"}, {"flutter", "0"}});
    };
    for (const TDravinItem& item : Build(kGround, row("\"white\""))) {
        EXPECT_NEAR(Tilt(item), 30, 0.01f);
        EXPECT_NEAR(item.transform.row[2].y, 0.5f, 1e-4f);
    }
    for (const TDravinItem& item : Build(kGround, row("\"black\""))) EXPECT_EQ(Tilt(item), 0);
}

TEST_F(ShippedEffectsTest, EdgeLeanLeansOutTheMoreTheCloserToTheBorder) {
    Items items = Build(kGround, Row("edge_lean", {{"reach", "4"}, {"lean", "20"}}), kArea);
    for (const TDravinItem& item : items) {
        EXPECT_NEAR(Tilt(item), 20 * std::max(0.0f, 1 - item.includeDistance / 4), 0.05f);
        EXPECT_GE(DotProd(item.transform.row[2], item.includeNearest - item.position), 0);
    }
}

TEST_F(ShippedEffectsTest, TramplePressesDownAroundTheNode) {
    for (const TDravinItem& item : Build(kGround, Row("trample", {{"target", "\"post\""}}))) {
        float share = std::max(0.0f, 1 - FlatDistance(item.position, kPost) / 5);
        EXPECT_NEAR(Tilt(item), 75 * share, 0.05f);
        EXPECT_NEAR(item.height, 1 - 0.4f * share, 1e-5);
        EXPECT_GE(DotProd(item.transform.row[2], Flat(item.position - kPost)), 0);
    }
}

// --- size

TEST_F(ShippedEffectsTest, ScaleByDistanceGrowsFromNearToFar) {
    for (const TDravinItem& item :
         Build(kGround,
               Row("scale_by_distance", {{"target", "\"post\""}, {"near", "2"}, {"far", "6"}}))) {
        float share = std::clamp((FlatDistance(item.position, kPost) - 2) / 4, 0.0f, 1.0f);
        EXPECT_NEAR(item.width, 0.2f + 0.8f * share, 1e-5);
    }
}

TEST_F(ShippedEffectsTest, ScaleAlongPathGoesFromFirstToLast) {
    Items items = Build(kPath, Row("scale_along_path", {{"profile", "[1, 0.5]"}}));
    EXPECT_GE(items.size(), 15u);
    for (const TDravinItem& item : items) {
        float t = item.pathPosition;
        EXPECT_NEAR(item.width, (1 - 0.75f * t) * (1 - 0.5f * t), 1e-4f);
    }
}

TEST_F(ShippedEffectsTest, ScaleByMapFollowsTheBrightness) {
    for (const TDravinItem& item : Build(kGround, Row("scale_by_map", {{"map", "\"white\""}})))
        EXPECT_NEAR(item.width, 1.25f, 1e-6);
    for (const TDravinItem& item : Build(kGround, Row("scale_by_map", {{"map", "\"teal\""}})))
        EXPECT_NEAR(item.width, 0.75f, 1e-6);
}

TEST_F(ShippedEffectsTest, SizeByBorderIsSmallAtTheEdge) {
    for (const TDravinItem& item : Build(kGround, Row("size_by_border"), kArea))
        EXPECT_NEAR(item.width, 0.2f + 0.8f * std::min(1.0f, item.includeDistance / 5), 1e-5);
}

// --- place

TEST_F(ShippedEffectsTest, SnapToGridStandsOnCrossingsAndOnTheGround) {
    const float rise = std::sqrt(1 / 3.0f);
    Items items = Build(R"(, "surflist": ["bent"])", Row("snap_to_grid"));
    EXPECT_GE(items.size(), 360u);
    for (const TDravinItem& item : items) {
        Point3 p = item.position;
        EXPECT_EQ(std::remainder(p.x, 2.0f), 0);
        EXPECT_EQ(std::remainder(p.y, 2.0f), 0);
        float z = p.x < 0 ? 0 : p.x < 5 ? p.x * rise : 5 * rise + (p.x - 5) * 3 * rise;
        EXPECT_NEAR(p.z, z, 1e-4f);
    }
}

TEST_F(ShippedEffectsTest, StaggerRowsShiftsEverySecondRow) {
    Items before = Build(kGround, ""), after = Build(kGround, Row("stagger_rows"));
    EXPECT_EQ(before.size() - after.size(), 10u);  // ten rows lose the item that leaves the ground
    for (const TDravinItem& item : after) {
        int column = int(std::round(item.position.x)) - int(item.hash[2] % 2);
        EXPECT_EQ((column + 20) % 10, int(item.hash[0]));
    }
}

TEST_F(ShippedEffectsTest, FollowCurveMovesToTheSideOfThePath) {
    Items items = Build(kPath, Row("follow_curve", {{"profile", "[0, 1]"}, {"width", "3"}}));
    for (const TDravinItem& item : items)
        EXPECT_NEAR(item.position.y, 3 * item.pathPosition, 1e-4f);
    EXPECT_GE(items.size(), 15u);
}

TEST_F(ShippedEffectsTest, PushFromBordersLeavesAStripFree) {
    Items items = Build(kGround, Row("push_from_borders", {{"distance", "2"}}), kArea);
    EXPECT_EQ(items.size(), 225u);  // 16 x 16 without those on the border, where no side is inside
    for (const TDravinItem& item : items) {
        float x = std::abs(item.position.x), y = std::abs(item.position.y);
        EXPECT_LE(std::min(x, y), 6.0001f);  // in corners only one of two borders is the nearest
        EXPECT_TRUE(std::max(x, y) <= 6.0001f || std::min(x, y) >= 5.4999f) << x << " " << y;
    }
}

TEST_F(ShippedEffectsTest, PushFromBordersHidesWhatItCannotJudge) {
    Items items =
        Build(kGround, Row("push_from_borders", {{"distance", "0.2"}, {"slack", "1.5"}}), kArea);
    EXPECT_EQ(items.size(), 169u);  // 13 x 13 are further in
}

// Without variation clumps stand in the middles of squares of five.
TEST_F(ShippedEffectsTest, ClumpDrawsItemsToTheirMiddle) {
    Items before = Build(kGround, ""), after = Build(kGround, Row("clump", {{"variation", "0"}}));
    ASSERT_EQ(before.size(), after.size());
    auto off = [](const Point3& p) {
        auto middle = [](float x) { return std::floor(x / 5) * 5 + 2.5f; };
        return Length(Point3{p.x - middle(p.x), p.y - middle(p.y), 0});
    };
    float sumBefore = 0, sumAfter = 0;
    for (size_t i = 0; i < after.size(); ++i) {
        EXPECT_LE(off(after[i].position), off(before[i].position) + 1e-5f);
        sumBefore += off(before[i].position);
        sumAfter += off(after[i].position);
    }
    // On average the pull is 0.65 x 2/3.
    EXPECT_NEAR(sumAfter / sumBefore, 1 - 0.65f * 2 / 3, 0.05f);
}

TEST_F(ShippedEffectsTest, StackPilesNeighboursUp) {
    Items items = Build(kGround, Row("stack", {{"layers", "5"}, {"shrink", "10"}}));
    EXPECT_EQ(items.size(), 400u);
    for (const TDravinItem& item : items) {
        int layer = int(item.hash[0] % 5);
        EXPECT_NEAR(std::remainder(item.position.x, 5.0f), 0, 1e-4f);
        float below = 0;  // layers below, each 0.05 lower than the one under it
        for (int i = 0; i < layer; ++i) below += 0.5f * (1 - 0.1f * float(i));
        EXPECT_NEAR(item.position.z, below, 1e-5);
        EXPECT_NEAR(item.width, 1 - 0.1f * float(layer), 1e-5);
    }
}

TEST_F(ShippedEffectsTest, SinkOnSlopesLowersTheFoot) {
    Items before = Build(kBent, ""), after = Build(kBent, Row("sink_on_slopes"));
    ASSERT_EQ(before.size(), after.size());
    for (size_t i = 0; i < after.size(); ++i) {
        float fall = before[i].collisionRadius * std::tan(before[i].surfaceSlope);
        EXPECT_NEAR(before[i].position.z - after[i].position.z, fall, 1e-4f);
    }
}

// --- which items stay

TEST_F(ShippedEffectsTest, RandomHideHidesItsShare) {
    auto left = [this](const char* percent) {
        return float(Build(kGround, Row("random_hide", {{"percent", percent}})).size());
    };
    EXPECT_EQ(left("0"), 400);
    EXPECT_EQ(left("100"), 0);
    EXPECT_NEAR(left("30"), 280, 37);  // four standard deviations
}

TEST_F(ShippedEffectsTest, HideByMapKeepsWhatIsBright) {
    EXPECT_EQ(Build(kGround, Row("hide_by_map", {{"map", "\"white\""}})).size(), 400u);
    EXPECT_EQ(Build(kGround, Row("hide_by_map", {{"map", "\"black\""}})).size(), 0u);
    EXPECT_NEAR(float(Build(kGround, Row("hide_by_map", {{"map", "\"teal\""}})).size()), 200, 40);
}

TEST_F(ShippedEffectsTest, ThinBySlopeRemovesOnlyWhatIsSteep) {
    Items items = Build(kBent, Row("thin_by_slope"));
    EXPECT_EQ(CountIf(items, [](auto& i) { return SlopeDegrees(i) < 20; }), 200u);
    EXPECT_EQ(CountIf(items, [](auto& i) { return SlopeDegrees(i) > 40; }), 0u);
    // Half of the hundred at 30 degrees.
    EXPECT_NEAR(float(items.size()) - 200, 50, 20);
}

TEST_F(ShippedEffectsTest, ClearAroundNodeKeepsADiscFree) {
    Items before = Build(kGround, "");
    Items after = Build(kGround, Row("clear_around_node", {{"target", "\"post\""}}));
    auto beyond = [](float d) {
        return [d](const TDravinItem& i) { return FlatDistance(i.position, kPost) > d; };
    };
    EXPECT_EQ(CountIf(after, beyond(5)), after.size());
    EXPECT_EQ(CountIf(after, beyond(8)), CountIf(before, beyond(8)));
    EXPECT_GT(CountIf(after, beyond(5)), CountIf(after, beyond(8)));
}

// --- which model

TEST_F(ShippedEffectsTest, AlternateRowsTakesTurns) {
    Items items = Build(kGround, Row("alternate_rows", {{"rows_each", "3"}}));
    EXPECT_EQ(items.size(), 400u);
    for (const TDravinItem& item : items) EXPECT_EQ(item.specimenIndex, int(item.hash[2] / 3 % 2));
}

TEST_F(ShippedEffectsTest, GeometryBySlopePartsFlatAndSteep) {
    for (const TDravinItem& item : Build(kBent, Row("geometry_by_slope")))
        EXPECT_EQ(item.specimenIndex, SlopeDegrees(item) >= 30 - 1e-3f ? 1 : 0);
}

TEST_F(ShippedEffectsTest, EdgeGeometryStandsAlongTheBorder) {
    for (const TDravinItem& item : Build(kGround, Row("edge_geometry", {{"blend", "0"}}), kArea))
        EXPECT_EQ(item.specimenIndex, item.includeDistance < 3 ? 1 : 0);
}

// --- colour, time, particles

TEST_F(ShippedEffectsTest, ColorByAltitudeGoesFromTheFirstToTheSecond) {
    for (const TDravinItem& item : Build(kBent, Row("color_by_altitude", {{"high", "8"}}))) {
        float share = std::clamp(item.position.z / 8, 0.0f, 1.0f);
        EXPECT_NEAR(item.tintColor.r, 0.15f + 0.7f * share, 1e-5);
        EXPECT_NEAR(item.tintColor.b, 0.1f + 0.1f * share, 1e-5);
        EXPECT_NEAR(item.tintBlend, 0.7f, 1e-6);
    }
}

TEST_F(ShippedEffectsTest, TintByMapTakesTheMapsColour) {
    for (const TDravinItem& item : Build(kGround, Row("tint_by_map", {{"map", "\"teal\""}}))) {
        EXPECT_EQ(item.tintColor, (Color{0.25f, 0.5f, 0.75f}));
        EXPECT_NEAR(item.tintBlend, 0.7f, 1e-6);
    }
}

// A year of 40 seconds: spring at 0, autumn at 20, between spring and summer at 5.
TEST_F(ShippedEffectsTest, SeasonalColorGoesThroughTheYear) {
    auto red = [this](int seconds) {
        return Build(kGround, Row("seasonal_color", {{"spread", "0"}}), "", seconds * 4800)
            .at(0)
            .tintColor.r;
    };
    EXPECT_NEAR(red(0), 0.42f, 1e-5);
    EXPECT_NEAR(red(5), (0.42f + 0.1f) / 2, 1e-5);
    EXPECT_NEAR(red(20), 0.8f, 1e-5);
    EXPECT_NEAR(red(400), 0.42f, 1e-4f);
}

TEST_F(ShippedEffectsTest, GrowOverTimeSpreadsFromTheNode) {
    Items items = Build(kGround, Row("grow_over_time", {{"origin", "\"post\""}, {"speed", "2"}}),
                        "", 3 * 4800);
    EXPECT_GT(items.size(), 80u);
    for (const TDravinItem& item : items) {
        float age = 3 - FlatDistance(item.position, kPost) / 2;
        EXPECT_GT(age, 0);
        EXPECT_NEAR(item.width, age > 2 ? 1 : 1 - std::pow(1 - age / 2, 2.0f), 1e-4f);
    }
}

TEST_F(ShippedEffectsTest, SwaySwingsThroughThePeriod) {
    for (int time : {0, 1200, 7200})
        for (const TDravinItem& item : Build(kGround, Row("sway"), "", time)) {
            float phase = float(time) / (4800 * 3) - item.position.x / 15;
            float lean = 10 * std::sin(2 * kPi * phase);
            EXPECT_NEAR(item.transform.row[2].x, std::sin(lean * kPi / 180), 1e-4f);
        }
}

TEST_F(ShippedEffectsTest, AgeByParticleGrowsAndBrowns) {
    Items items = Build(kParticles, Row("age_by_particle"));
    ASSERT_EQ(items.size(), 2u);
    EXPECT_NEAR(items[0].width, 0.1f, 1e-6);
    EXPECT_EQ(items[0].tintBlend, 0);
    EXPECT_NEAR(items[1].width, 1, 1e-6);
    EXPECT_NEAR(items[1].tintBlend, 0.8f, 1e-6);
}
