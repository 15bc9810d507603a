// Where items stand on falloff curves: counted beside what their positions say.
#include "Dravin/commands/curve_use.h"

#include <numeric>

#include "Dravin/commands/curve_session.h"
#include "host/scene/scene.h"
#include "tests/Dravin/commands/command_fixture.h"

namespace {

class CurveUseTest : public CommandFixture {
protected:
    TCurveUse Use(const char* curve, size_t pieces) {
        auto place = FindCurve(*object, curve, nullptr);
        return place ? CurveUse(*place, pieces) : TCurveUse{{}, "no curve"};
    }
    static size_t Sum(const TCurveUse& use) {
        return std::accumulate(use.counts.begin(), use.counts.end(), size_t{0});
    }
};

}  // namespace

TEST_F(CurveUseTest, NothingIsKnownBeforeABuildOrOfRulesThatAreOff) {
    EXPECT_EQ(Use("altitude_density", 4).reason, "there are no items");
    ScatterFixture::Run();
    EXPECT_TRUE(Use("rotprobcurve", 4).counts.empty());
    EXPECT_NE(Use("rotprobcurve", 4).reason, "");
}

// The plane rises from 0 to 10 along x, so that altitude is x / 2 + 5: every quarter of the rule
// from 0 to 10 holds a quarter of the 400 cells, give or take those whose place is on its edge.
TEST_F(CurveUseTest, AltitudesAreCountedOverTheRange) {
    Matrix3 tilt;
    tilt.row[0] = {1, 0, 0.5f};
    tilt.row[3] = {0, 0, 5};
    plane->SetLocalTM(tilt);
    Set(kSurfaceParams, surfaceParams::kAltmin, 0.0f);
    Set(kSurfaceParams, surfaceParams::kAltmax, 10.f);
    ScatterFixture::Run();
    size_t count = object->Build().Items().Count();
    ASSERT_GT(count, 300u);
    TCurveUse use = Use("altitude_density", 4);
    ASSERT_EQ(use.counts.size(), 4u) << use.reason;
    size_t expected[4] = {};
    for (size_t i = 0; i < count; ++i) {
        float z = object->Build().Items().Item(i).position.z;
        ++expected[std::min(size_t(std::max(z, 0.f) / 2.5f), size_t(3))];
    }
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(double(use.counts[i]), double(expected[i]), 1) << i;
        EXPECT_NEAR(double(use.counts[i]), 100, 25) << i;
    }
    EXPECT_EQ(Sum(use), count);
    EXPECT_EQ(Use("altitude_scale", 4).counts, use.counts) << "one rule";
}

TEST_F(CurveUseTest, RotationsCountEachAxisThatTurns) {
    Set(kTransformParams, transformParams::kApplyrotation, 1);
    for (ParamID id : {transformParams::kXrotmin, transformParams::kXrotmax,
                       transformParams::kYrotmin, transformParams::kYrotmax})
        Set(kTransformParams, id, 0);
    ScatterFixture::Run();
    TCurveUse use = Use("rotprobcurve", 2);
    ASSERT_EQ(use.counts.size(), 2u) << use.reason;
    EXPECT_EQ(Sum(use), 400u);
    // Uniform: half of 400 with a standard deviation of 10.
    EXPECT_NEAR(double(use.counts[0]), 200, 50);
}

TEST_F(CurveUseTest, ScriptsHaveItToo) {
    Set(kTransformParams, transformParams::kApplyrotation, 1);
    ScatterFixture::Run();
    TCommandResult result = CommandFixture::Run("curve.use", {{"curve", "spdenscurve"}});
    EXPECT_NE(result.error, "") << "no area fades";
    result = CommandFixture::Run("curve.use", {{"curve", "rotprobcurve"}, {"pieces", int64_t{8}}});
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(std::get<ParamInput::Array>(result.value.value).size(), 8u);
    EXPECT_NE(
        CommandFixture::Run("curve.use", {{"curve", "rotprobcurve"}, {"pieces", int64_t{0}}}).error,
        "");
}
