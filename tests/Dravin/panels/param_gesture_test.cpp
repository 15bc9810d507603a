#include "Dravin/panels/param_gesture.h"

#include "tests/Dravin/panels/panel_scene.h"

using namespace distParams;
using ParamGesture = PanelScene;

TEST_F(ParamGesture, FiftyMovesAreOneStep) {
    TParamGesture drag(One(), kThreshold);
    for (int i = 1; i <= 50; ++i) {
        drag.Preview(50 + i);
        EXPECT_EQ(Number(*first, kThreshold), 50 + i);
    }
    drag.Commit();
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
    EXPECT_TRUE(scene.undo.Undo());
    EXPECT_EQ(Number(*first, kThreshold), 50);
    EXPECT_TRUE(scene.undo.Redo());
    EXPECT_EQ(Number(*first, kThreshold), 100);
}

TEST_F(ParamGesture, CancelRestoresAndLeavesNoStep) {
    first->Block(kDistParams).SetKeys(kThreshold, {{0, 10}, {1600, 90}});
    std::vector<ParamElement> before = first->Block(kDistParams).GetElements(kThreshold);
    scene.undo.Clear();
    {
        TParamGesture drag(One(), kThreshold);
        drag.Preview(33);
        EXPECT_EQ(Number(*first, kThreshold), 33);
    }
    EXPECT_EQ(first->Block(kDistParams).GetElements(kThreshold), before);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(ParamGesture, BackAtTheStartLeavesNoStep) {
    TParamGesture drag(One(), kThreshold);
    drag.Preview(60);
    drag.Preview(50);
    drag.Commit();
    EXPECT_EQ(scene.undo.NumUndoSteps(), 0u);
}

TEST_F(ParamGesture, OffsetsKeepWhatObjectsDifferIn) {
    Put(*second, kThreshold, 20);
    scene.undo.Clear();
    TParamGesture drag(Both(), kThreshold);
    drag.PreviewOffset(90);  // beyond the range of the first
    drag.PreviewOffset(5);
    drag.Commit();
    EXPECT_EQ(Number(*first, kThreshold), 55);
    EXPECT_EQ(Number(*second, kThreshold), 25);
    EXPECT_EQ(scene.undo.NumUndoSteps(), 1u);
}

TEST_F(ParamGesture, WhatFollowsComesBackToo) {
    TParamGesture drag(One(), kUnitsX);
    drag.Preview(20);
    EXPECT_EQ(Number(*first, kUnitsY), 20);
    drag.Cancel();
    EXPECT_EQ(Number(*first, kUnitsX), 10);
    EXPECT_EQ(Number(*first, kUnitsY), 10);
}

TEST_F(ParamGesture, StepsMadeMeanwhileStandByThemselves) {
    TParamGesture drag(One(), kThreshold);
    drag.Preview(70);
    EXPECT_TRUE(One().SetNumber(kMaxdensity, 3));
    drag.Commit();
    EXPECT_EQ(scene.undo.NumUndoSteps(), 2u);
    scene.undo.Undo();
    EXPECT_EQ(Number(*first, kThreshold), 50);
    EXPECT_EQ(Number(*first, kMaxdensity), 3);
}
