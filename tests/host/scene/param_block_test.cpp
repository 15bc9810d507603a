#include "host/params/param_block.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "tests/host/scene/test_block.h"

using namespace testBlock;

TEST(ParamBlock, StartsWithDefaultsAndEmptyLists) {
    auto block = IParamBlock2::Create(TestDesc());
    EXPECT_EQ(block->GetFloat(kSize), 10.0f);
    EXPECT_EQ(block->GetInt(kCount), 5);
    EXPECT_TRUE(block->GetBool(kFlag));
    EXPECT_EQ(block->GetString(kName), "");
    EXPECT_EQ(block->Count(kNodes), 0);
    EXPECT_EQ(block->Count(kSize), 1);
    EXPECT_EQ(block->Count(99), 0);
}

TEST(ParamBlock, FindsByIdAndByNameInDeclarationOrder) {
    const ParamBlockDesc2& desc = TestDesc();
    EXPECT_EQ(desc.Find("weights"), desc.Find(kWeights));
    EXPECT_EQ(desc.Find("nothing"), nullptr);
    EXPECT_EQ(desc.IndexOf(kName), 3);
    EXPECT_EQ(desc.IndexOf(99), -1);
}

TEST(ParamBlock, NewElementsTakeTheDeclaredDefault) {
    auto block = IParamBlock2::Create(TestDesc());
    EXPECT_TRUE(block->SetCount(kWeights, 2));
    EXPECT_TRUE(block->Append(kWeights));
    EXPECT_EQ(block->Count(kWeights), 3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(block->GetFloat(kWeights, 0, i), 100.0f);
    EXPECT_FALSE(block->SetCount(kSize, 2));
    EXPECT_FALSE(block->SetCount(kWeights, -1));
}

TEST(ParamBlock, InsertAndDeleteKeepTheOthers) {
    auto block = IParamBlock2::Create(TestDesc());
    for (float w : {1.0f, 2.0f, 3.0f}) block->Append(kWeights, w);
    const ParamValue values[] = {8.0f, 9.0f};
    EXPECT_TRUE(block->Insert(kWeights, 1, values));
    EXPECT_TRUE(block->Delete(kWeights, 0));
    ASSERT_EQ(block->Count(kWeights), 4);
    EXPECT_EQ(block->GetFloat(kWeights, 0, 0), 8.0f);
    EXPECT_EQ(block->GetFloat(kWeights, 0, 2), 2.0f);
    EXPECT_FALSE(block->Insert(kWeights, 5, values));
    EXPECT_FALSE(block->Delete(kWeights, 3, 2));
}

TEST(ParamBlock, SetValueConvertsNumbersAndRefusesMissingElements) {
    auto block = IParamBlock2::Create(TestDesc());
    EXPECT_TRUE(block->SetValue(kSize, 0, 42));
    EXPECT_TRUE(block->SetValue(kCount, 0, 3.9));
    EXPECT_TRUE(block->SetValue(kFlag, 0, 7));
    EXPECT_EQ(block->GetFloat(kSize), 42.0f);
    EXPECT_EQ(block->GetInt(kCount), 3);
    EXPECT_EQ(block->GetInt(kFlag), 1);
    EXPECT_FALSE(block->SetValue(kWeights, 0, 1.0, 0));
}

TEST(ParamBlock, StoresValuesOutsideTheRangeAsTheyAre) {
    auto block = IParamBlock2::Create(TestDesc());
    block->SetValue(kCount, 0, 1000);
    EXPECT_EQ(block->GetInt(kCount), 1000);
}

TEST(ParamBlock, KeysRunLinearlyAndHoldOutside) {
    auto block = IParamBlock2::Create(TestDesc());
    ASSERT_TRUE(block->SetKeys(kSize, {{100, 10.0f}, {0, 0.0f}}));
    EXPECT_EQ(block->GetFloat(kSize, -5), 0.0f);
    EXPECT_EQ(block->GetFloat(kSize, 25), 2.5f);
    EXPECT_EQ(block->GetFloat(kSize, 500), 10.0f);
    Interval valid = Interval::Forever();
    block->GetFloat(kSize, 25, 0, &valid);
    EXPECT_EQ(valid, Interval::Instant(25));
    valid = Interval::Forever();
    block->GetFloat(kSize, 200, 0, &valid);
    EXPECT_EQ(valid, (Interval{100, kTimePosInfinity}));
}

TEST(ParamBlock, IntKeysRoundToNearest) {
    auto block = IParamBlock2::Create(TestDesc());
    block->SetKeys(kCount, {{0, 0}, {10, 5}});
    EXPECT_EQ(block->GetInt(kCount, 3), 2);  // 1.5
    EXPECT_EQ(block->GetInt(kCount, 4), 2);  // 2.0
    EXPECT_EQ(block->GetInt(kCount, 5), 3);  // 2.5
    EXPECT_FALSE(block->SetKeys(kSecret, {{0, 1}}));
}

TEST(ParamBlock, SettingAnAnimatedValueMovesAllKeys) {
    auto block = IParamBlock2::Create(TestDesc());
    block->SetKeys(kSize, {{0, 0.0f}, {100, 10.0f}});
    block->SetValue(kSize, 50, 7.0f);
    EXPECT_EQ(block->GetFloat(kSize, 0), 2.0f);
    EXPECT_EQ(block->GetFloat(kSize, 100), 12.0f);
}

TEST(ParamBlock, AnimatingSetsKeys) {
    HostContext context;
    context.SetAnimating(true);
    auto block = IParamBlock2::Create(TestDesc());
    block->SetValue(kSize, 100, 20.0f);
    EXPECT_EQ(block->GetKeys(kSize).size(), 2u);
    EXPECT_EQ(block->GetFloat(kSize, 0), 10.0f);
    EXPECT_EQ(block->GetFloat(kSize, 50), 15.0f);
}

TEST(ParamBlock, ResetEmptiesListsAndKeepsWhatIsMarked) {
    auto block = IParamBlock2::Create(TestDesc());
    block->SetKeys(kSize, {{0, 1.0f}, {9, 2.0f}});
    block->SetValue(kFlag, 0, false);
    block->SetCount(kWeights, 4);
    block->ResetAll();
    EXPECT_EQ(block->GetFloat(kSize, 5), 10.0f);
    EXPECT_TRUE(block->GetKeys(kSize).empty());
    EXPECT_FALSE(block->GetBool(kFlag));
    EXPECT_EQ(block->Count(kWeights), 0);
}

TEST(ParamBlock, TellsDependentsParameterAndElement) {
    auto block = IParamBlock2::Create(TestDesc());
    block->SetCount(kWeights, 3);
    Listener listener(block);
    block->SetValue(kWeights, 0, 5.0, 2);
    ASSERT_EQ(listener.changes.size(), 1u);
    EXPECT_EQ(listener.changes[0].paramId, kWeights);
    EXPECT_EQ(listener.changes[0].tabIndex, 2);
    NotifySuspender quiet(*block);
    block->SetValue(kSize, 0, 1.0);
    EXPECT_EQ(listener.changes.size(), 1u);
}

TEST(ParamBlock, ChangesOfReferencedNodesNameTheParameter) {
    auto block = IParamBlock2::Create(TestDesc());
    auto a = INode::Create("a"), b = INode::Create("b");
    block->Append(kNodes, std::shared_ptr<ReferenceTarget>(a));
    block->Append(kNodes, std::shared_ptr<ReferenceTarget>(b));
    Listener listener(block);
    b->SetLocalTM(Matrix3::Translation({1, 0, 0}));
    ASSERT_EQ(listener.changes.size(), 1u);
    EXPECT_EQ(listener.changes[0].message, RefMessage::kNodeTransformChanged);
    EXPECT_EQ(listener.changes[0].paramId, kNodes);
    EXPECT_EQ(listener.changes[0].tabIndex, 1);
}

TEST(ParamBlock, DeletedNodeLeavesANullElementAndUndoBringsItBack) {
    HostContext context;
    Scene scene;
    INode* node = scene.AddNode("path", std::make_shared<ShapeObject>());
    auto block = IParamBlock2::Create(TestDesc());
    block->Append(kNodes, std::shared_ptr<ReferenceTarget>(node->shared_from_this()));
    Listener listener(block);
    context.Undo().Begin();
    scene.DeleteNode(*node);
    context.Undo().Accept("Delete");
    ASSERT_EQ(block->Count(kNodes), 1);
    EXPECT_EQ(block->GetNode(kNodes), nullptr);
    EXPECT_EQ(listener.changes.back().paramId, kNodes);
    EXPECT_TRUE(context.Undo().Undo());
    EXPECT_EQ(block->GetNode(kNodes), scene.FindNode("path"));
    EXPECT_TRUE(context.Undo().Redo());
    EXPECT_EQ(block->GetNode(kNodes), nullptr);
}

TEST(ParamBlock, UndoAndRedoOfValuesAndLists) {
    HostContext context;
    auto block = IParamBlock2::Create(TestDesc());
    context.Undo().Begin();
    block->SetValue(kSize, 0, 33.0);
    block->SetCount(kWeights, 2);
    block->SetValue(kWeights, 0, 1.0, 1);
    context.Undo().Accept("Edit");
    EXPECT_TRUE(context.Undo().Undo());
    EXPECT_EQ(block->GetFloat(kSize), 10.0f);
    EXPECT_EQ(block->Count(kWeights), 0);
    EXPECT_TRUE(context.Undo().Redo());
    EXPECT_EQ(block->GetFloat(kSize), 33.0f);
    ASSERT_EQ(block->Count(kWeights), 2);
    EXPECT_EQ(block->GetFloat(kWeights, 0, 1), 1.0f);
}

TEST(ParamBlock, ClassTestLooksAtTheNodesObject) {
    auto block = IParamBlock2::Create(TestDesc());
    auto shape = INode::Create("s", std::make_shared<ShapeObject>());
    auto mesh = INode::Create("m", std::make_shared<TriObject>());
    EXPECT_TRUE(block->Accepts(kNodes, shape.get()));
    EXPECT_FALSE(block->Accepts(kNodes, mesh.get()));
    EXPECT_TRUE(block->Accepts(kNodes, nullptr));
    EXPECT_FALSE(block->Accepts(kNodes, INode::Create("empty").get()));
}

namespace {

// Keeps `count` even.
class EvenPBAccessor : public PBAccessor {
public:
    void Set(ParamValue& value, IParamBlock2&, ParamID, int, TimeValue) const override {
        value = std::get<int32_t>(value) / 2 * 2;
    }
};

}  // namespace

TEST(ParamBlock, AccessorsReplaceValuesUnlessSuspended) {
    static const EvenPBAccessor even;
    ParamBlockDesc2 desc(1, "b", "B", 0, true,
                         {ParamDef(0, "count", ParamType::kInt).Accessor(&even)});
    auto block = IParamBlock2::Create(desc);
    block->SetValue(0, 0, 7);
    EXPECT_EQ(block->GetInt(0), 6);
    AccessorSuspender quiet(*block);
    block->SetValue(0, 0, 7);
    EXPECT_EQ(block->GetInt(0), 7);
}

TEST(ParamBlock, EveryRowOfOneNodeTellsItsOwnIndex) {
    HostContext context;
    Scene scene;
    auto shape = std::make_shared<ShapeObject>();
    INode* node = scene.AddNode("path", shape);
    auto block = IParamBlock2::Create(TestDesc());
    ParamValue target = std::static_pointer_cast<ReferenceTarget>(node->shared_from_this());
    block->Append(kNodes, target);
    block->Append(kNodes, target);
    Listener listener(block);
    shape->NotifyDependents();
    std::vector<int> indices;
    for (const RefChange& change : listener.changes)
        if (change.paramId == kNodes) indices.push_back(change.tabIndex);
    std::sort(indices.begin(), indices.end());
    EXPECT_EQ(indices, (std::vector<int>{0, 1}));
}

namespace {

// Answers a change of one parameter by setting another of the same block.
struct Answering : ReferenceMaker {
    Reference<IParamBlock2> block{this};
    int answers = 0;

    explicit Answering(std::shared_ptr<IParamBlock2> target) { block = std::move(target); }
    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget*) override {
        if (change.paramId == kCount) ++answers, block->SetValue(kSize, 0, 33.0f);
        return RefResult::kSucceed;
    }
};

// Changes what it hears of, for ever.
struct Restless : ReferenceMaker {
    Reference<IParamBlock2> block{this};
    int heard = 0;

    explicit Restless(std::shared_ptr<IParamBlock2> target) { block = std::move(target); }
    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget*) override {
        block->SetValue(kCount, 0, 1 + ++heard % 2);
        return RefResult::kSucceed;
    }
};

}  // namespace

TEST(ParamBlock, AChangeMadeInAHandlerIsHeardAfterwards) {
    auto block = IParamBlock2::Create(TestDesc());
    Answering answering(block);
    Listener listener(block);
    block->SetValue(kCount, 0, 7);
    EXPECT_EQ(answering.answers, 1);
    ASSERT_EQ(listener.changes.size(), 2u);
    EXPECT_EQ(listener.changes[0].paramId, kCount);
    EXPECT_EQ(listener.changes[1].paramId, kSize);
}

TEST(ParamBlock, ChangesThatCauseEachOtherEnd) {
    auto block = IParamBlock2::Create(TestDesc());
    Restless restless(block);
    block->SetValue(kCount, 0, 7);
    EXPECT_GE(restless.heard, 100);
    int before = restless.heard;
    block->SetValue(kSize, 0, 3.0f);  // still heard
    EXPECT_GT(restless.heard, before);
}

// An edit that no step knows of has made the list shorter.
TEST(ParamBlock, UndoOfARowThatIsGoneDoesNothing) {
    HostContext context;
    auto block = IParamBlock2::Create(TestDesc());
    block->SetCount(kWeights, 3);
    context.Undo().Begin();
    block->SetValue(kWeights, 0, 5.0f, 2);
    context.Undo().Accept("Set");
    block->SetCount(kWeights, 1);
    EXPECT_TRUE(context.Undo().Undo());
    EXPECT_EQ(block->Count(kWeights), 1);
    EXPECT_TRUE(context.Undo().Redo());
    EXPECT_EQ(block->GetFloat(kWeights), 100.0f);
}
