// The distribution map by commands.
#include "tests/Dravin/commands/command_fixture.h"

namespace {

struct MapCommands : CommandFixture {
    float Number(int id) { return object->Block(kDistParams).GetFloat(id, 0); }
    static TArguments Corner(const char* corner, double x, double y) {
        return {{"corner", ParamInput(corner)},
                {"position",
                 ParamInput(ParamInput::Array{ParamInput(x), ParamInput(y), ParamInput(5.0)})}};
    }
};

}  // namespace

// The second corner may lie on any side of the first; the ratio does not hold it back.
TEST_F(MapCommands, TwoCornersGiveThePlaceAndTheSize) {
    object->Block(kDistParams).SetValue(distParams::kLockRatio, 0, 1);
    ASSERT_TRUE(Run("distribution.fit", Corner("left_up", -3, 7)));
    EXPECT_EQ(Number(distParams::kOffsetX), -3);
    EXPECT_EQ(Number(distParams::kOffsetY), 7);
    EXPECT_EQ(object->Block(kDistParams).GetInt(distParams::kLockRatio, 0), 1);
    ASSERT_TRUE(Run("distribution.fit", Corner("right_down", 9, 2)));
    EXPECT_EQ(Number(distParams::kUnitsX), 12);
    EXPECT_EQ(Number(distParams::kUnitsY), 5);
    EXPECT_EQ(object->Block(kDistParams).GetInt(distParams::kLockRatio, 0), 0);
    ASSERT_TRUE(Run("distribution.fit", Corner("right_down", -4, 10)));
    EXPECT_EQ(Number(distParams::kUnitsX), 1);
    EXPECT_EQ(Number(distParams::kUnitsY), 3);
    EXPECT_EQ(scene.undo.UndoName(), "Fit Map");
    for (int i = 0; i < 3; ++i) scene.undo.Undo();
    EXPECT_EQ(object->Block(kDistParams).GetInt(distParams::kLockRatio, 0), 1);
    EXPECT_FALSE(Run("distribution.fit", {{"corner", ParamInput("middle")}}));
}
