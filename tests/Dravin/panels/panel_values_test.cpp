#include "tests/Dravin/panels/panel_scene.h"

using namespace distParams;
using PanelValues = PanelScene;

TEST_F(PanelValues, ANumberIsOneUndoStepWithAName) {
    TPanel panel = One();
    EXPECT_TRUE(panel.Enter(kThreshold, "2*30"));
    EXPECT_EQ(Number(*first, kThreshold), 60);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_EQ(scene.undo.UndoName(), "Set Threshold");
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(Number(*first, kThreshold), 50);
}

TEST_F(PanelValues, NumbersAreClampedToTheRangeAndRounded) {
    TPanel panel = One();
    EXPECT_TRUE(panel.Enter(kThreshold, "150"));
    EXPECT_EQ(Number(*first, kThreshold), 100);
    EXPECT_TRUE(panel.Enter(kThreshold, "10/4"));
    EXPECT_EQ(Number(*first, kThreshold), 3);
    EXPECT_TRUE(panel.Enter(genParams::kSeed, "1e20"));
    EXPECT_EQ(first->Block(kGenParams).GetInt(genParams::kSeed), 2147483647);
}

TEST_F(PanelValues, AnErrorChangesNothing) {
    TPanel panel = One();
    EXPECT_FALSE(panel.Enter(kThreshold, "2*"));
    EXPECT_FALSE(panel.Enter(kThreshold, "1/0"));
    EXPECT_EQ(Number(*first, kThreshold), 50);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(PanelValues, MixedValuesShowAndChangeTogether) {
    Put(*second, kThreshold, 20);
    TPanel panel = Both();
    EXPECT_TRUE(panel.Read(kThreshold).isMixed);
    EXPECT_FALSE(panel.Read(kMaxdensity).isMixed);
    scene.undo.Clear();
    EXPECT_TRUE(panel.Enter(kThreshold, "+=5"));
    EXPECT_EQ(Number(*first, kThreshold), 55);
    EXPECT_EQ(Number(*second, kThreshold), 25);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_TRUE(panel.Enter(kThreshold, "7"));
    EXPECT_FALSE(panel.Read(kThreshold).isMixed);
}

TEST_F(PanelValues, KeysAreShownAndResetTakesThemAway) {
    TPanel panel = One();
    EXPECT_TRUE(panel.Read(kThreshold).isDefault);
    EXPECT_TRUE(panel.SetKey(kThreshold));
    EXPECT_TRUE(panel.Read(kThreshold).isKeyed);
    EXPECT_FALSE(panel.Read(kThreshold).isDefault);
    EXPECT_TRUE(panel.Reset(kThreshold));
    EXPECT_FALSE(panel.Read(kThreshold).isKeyed);
    EXPECT_FALSE(panel.SetKey(kMaxdensity));  // cannot be animated
}

TEST_F(PanelValues, EntriesReachBeyondTheRange) {
    TPanel panel = One();
    EXPECT_TRUE(panel.SetEntry(kDistmode, 3));
    EXPECT_EQ(Number(*first, kDistmode), 3);
    EXPECT_FALSE(panel.SetEntry(kDistmode, 4));
    EXPECT_EQ(scene.undo.UndoName(), "Set Distribution Mode");
}

TEST_F(PanelValues, LockedUnitsKeepTheirRatio) {
    TPanel panel = One();
    Put(*first, kUnitsX, 10);
    Put(*first, kUnitsY, 20);
    EXPECT_TRUE(panel.SetNumber(kUnitsX, 15));
    EXPECT_EQ(Number(*first, kUnitsY), 30);
    EXPECT_TRUE(panel.SetBool(kLockRatio, false));
    EXPECT_TRUE(panel.SetNumber(kUnitsX, 30));
    EXPECT_EQ(Number(*first, kUnitsY), 30);
}

TEST_F(PanelValues, LengthsTakeTheScenesUnit) {
    scene.unitScale = 0.01;
    TPanel panel = One();
    EXPECT_TRUE(panel.Enter(kOffsetX, "2m"));
    EXPECT_EQ(Number(*first, kOffsetX), 200);
    EXPECT_FALSE(panel.Enter(kThreshold, "2m"));
}

TEST_F(PanelValues, TimesAreShownInFrames) {
    TPanel panel = One();
    EXPECT_TRUE(panel.SetNumber(animParams::kAnimend, 5));
    EXPECT_EQ(Number(*first, animParams::kAnimend), 5 * 160);
    EXPECT_EQ(panel.Read(animParams::kAnimend).number, 5);
}

TEST_F(PanelValues, ReferencesAreFoundByName) {
    scene.SetTexmap("stripes", MakeBitmapTex(""));
    TPanel panel = One();
    EXPECT_EQ(panel.Candidates(kDistmap), std::vector<std::string>{"stripes"});
    EXPECT_TRUE(panel.SetReference(kDistmap, "stripes"));
    EXPECT_EQ(panel.Read(kDistmap).text, "stripes");
    EXPECT_FALSE(panel.SetReference(kDistmap, "dots"));
    EXPECT_FALSE(panel.SetReference(camParams::kCamera, "second"));  // no camera
    EXPECT_TRUE(panel.SetReference(kDistmap, ""));
    EXPECT_EQ(panel.Read(kDistmap).text, "");
    EXPECT_EQ(panel.Candidates(surfaceParams::kSurflist), std::vector<std::string>{"second"});
}

TEST_F(PanelValues, ColoursAreSetAsAWhole) {
    TPanel panel = One();
    EXPECT_TRUE(panel.SetColor(matParams::kTintcolor1, Color(0.25f, 0.5f, 1)));
    EXPECT_EQ(panel.Read(matParams::kTintcolor1).color, Color(0.25f, 0.5f, 1));
    EXPECT_EQ(scene.undo.UndoName(), "Set Tint Color 1");
}

TEST_F(PanelValues, AnEmptyPanelDoesNothing) {
    TPanel panel(scene, {});
    EXPECT_FALSE(panel.Read(kThreshold).isEnabled);
    EXPECT_TRUE(panel.Enter(kThreshold, "3"));
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}
