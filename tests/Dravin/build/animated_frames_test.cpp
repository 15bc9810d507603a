// A change of the time builds what the new time shows otherwise, and nothing else.
#include "tests/Dravin/build/animated_trees.h"
#include "tests/Dravin/build/evaluation_fixture.h"

namespace {

class AnimatedFrames : public EvaluationFixture {
protected:
    void SetUp() override {
        EvaluationFixture::SetUp();
        trees = std::make_unique<AnimatedTrees>(scene, plane, 20, 6, 4);
        ShowFrame(scene, 0);
    }
    int Builds() const { return trees->object->Build().BuildCounter(); }

    std::unique_ptr<AnimatedTrees> trees;
};

}  // namespace

TEST_F(AnimatedFrames, OnlyWhatMovesIsBuilt) {
    int still = object->Build().BuildCounter(), moving = Builds();
    ASSERT_EQ(trees->object->Build().Status(), TBuildStatus::kSuccess);
    for (int frame = 1; frame <= 5; ++frame) {
        ShowFrame(scene, frame * 160);
        EXPECT_EQ(object->Build().BuildCounter(), still) << frame;
        EXPECT_EQ(Builds(), moving + frame) << frame;
        // A second look at the same time, by another view.
        ShowFrame(scene, frame * 160);
        EXPECT_EQ(Builds(), moving + frame) << frame;
    }
}

TEST_F(AnimatedFrames, EachTreeIsMadeOnceAFrame) {
    std::vector<int> before;
    for (const auto& cone : trees->cones) before.push_back(cone->numMade);
    for (int frame = 1; frame <= 4; ++frame) ShowFrame(scene, frame * 160);
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(trees->cones[i]->numMade, before[i] + 4) << i;
}

TEST_F(AnimatedFrames, ATreeThatRestsIsNotMadeAgain) {
    for (INode* node : scene.Nodes())
        if (node->GetName() == "swaying tree 3")
            static_cast<TriObject*>(node->GetObjectRef())->SetAnimation(nullptr);
    ShowFrame(scene, 160);
    int made = trees->cones[3]->numMade, others = trees->cones[4]->numMade;
    ShowFrame(scene, 320);
    EXPECT_EQ(trees->cones[3]->numMade, made);
    EXPECT_EQ(trees->cones[4]->numMade, others + 1);
}

TEST_F(AnimatedFrames, WithoutAnimationNothingIsBuilt) {
    trees->object->Block(kAnimParams).SetValue(animParams::kAnimation, 0, 0);
    ShowFrame(scene, 0);
    int before = Builds();
    for (int frame = 1; frame <= 3; ++frame) ShowFrame(scene, frame * 160);
    EXPECT_EQ(Builds(), before);
}
