// When a scatter object is built: freezing, explicit rebuilds, ends of renders.
#include "Dravin/build/evaluation.h"

#include "Dravin/dravin_globals.h"
#include "tests/Dravin/build/evaluation_fixture.h"

namespace {

class Evaluation : public EvaluationFixture {
protected:
    void SetManual(bool on) { Set(kDispParams, dispParams::kManualupdate, on); }
    size_t NumItems() const { return object->Build().Items().Count(); }
    // More items, or fewer.
    void Thin(float units) { Set(kDistParams, distParams::kUnitsX, units); }
};

TEST_F(Evaluation, TheFirstEvaluationBuildsAndTheNextDoesNot) {
    auto [other, otherNode] = AddScatter("other");
    otherNode->EvalWorldState(0);
    EXPECT_EQ(other->Build().BuildCounter(), 1);
    EXPECT_EQ(other->Build().Items().Count(), 400u);
    ObjectState state = otherNode->EvalWorldState(7);
    EXPECT_EQ(other->Build().BuildCounter(), 1);
    EXPECT_EQ(state.valid, Interval::Forever());
}

TEST_F(Evaluation, AResultWithKeysIsBuiltForEveryTime) {
    object->Block(kDistParams).SetKeys(distParams::kUnitsX, {{0, 10.0f}, {160, 20.0f}});
    int before = object->Build().BuildCounter();
    for (TimeValue t : {0, 40, 40, 80}) Evaluate(t);
    EXPECT_EQ(object->Build().BuildCounter(), before + 3);
    EXPECT_EQ(object->ObjectValidity(80), Interval::Instant(80));
}

TEST_F(Evaluation, ManualUpdateWaitsForTheButton) {
    SetManual(true);
    Evaluate();
    size_t count = NumItems();
    Thin(20);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    EXPECT_EQ(NumItems(), count);
    EXPECT_EQ(object->ObjectValidity(0), Interval::Forever());
    UpdateObject(*object);
    EXPECT_NE(NumItems(), count);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Evaluation, WithoutManualUpdateTheObjectFollowsAgain) {
    SetManual(true);
    Evaluate();
    Thin(20);
    Evaluate();
    size_t count = NumItems();
    SetManual(false);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    EXPECT_NE(NumItems(), count);
}

TEST_F(Evaluation, AFrozenObjectKeepsStillWhenTimeChanges) {
    object->Block(kDistParams).SetKeys(distParams::kUnitsX, {{0, 10.0f}, {160, 20.0f}});
    SetManual(true);
    Evaluate();
    int before = object->Build().BuildCounter();
    Evaluate(80);
    EXPECT_EQ(object->Build().BuildCounter(), before);
}

TEST_F(Evaluation, AnObjectWithoutItemsIsNeverFrozen) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kDispParams).SetValue(dispParams::kManualupdate, 0, true);
    other->Block(kGeomParams).SetElements(geomParams::kNamelist, {});
    otherNode->EvalWorldState(0);
    EXPECT_TRUE(other->Build().Items().IsEmpty());
    other->Block(kGenParams).SetValue(genParams::kSeed, 0, 5);
    otherNode->EvalWorldState(0);
    EXPECT_EQ(other->Build().BuildCounter(), 2);
}

TEST_F(Evaluation, ARenderBuildsAFrozenObjectAndItsEndBuildsTheViewOnce) {
    Set(kDispParams, dispParams::kVmaxitems, 100);
    Evaluate();
    SetManual(true);
    size_t inView = object->Build().Items().Count();
    object->updateState.isRendering = true;
    Set(kGenParams, genParams::kSeed, 77);
    Evaluate();
    EXPECT_TRUE(object->Build().IsRender());
    EXPECT_GT(object->Build().Items().Count(), inView);
    object->RenderEnd(0);
    EXPECT_FALSE(object->updateState.isRendering);
    EXPECT_EQ(object->ObjectValidity(0), Interval::Instant(0));
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    EXPECT_EQ(object->Build().Items().Count(), inView);
    Set(kGenParams, genParams::kSeed, 78);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
}

TEST_F(Evaluation, ARenderIsBuiltWithItsOwnSettingsThoughNothingChanged) {
    Set(kDispParams, dispParams::kVmaxitems, 100);
    Evaluate();
    EXPECT_EQ(NumItems(), 100u);
    object->updateState.isRendering = true;
    Evaluate();
    EXPECT_TRUE(object->Build().IsRender());
    EXPECT_EQ(NumItems(), 400u);
    uint64_t number = object->Build().BuildNumber();
    Evaluate();
    EXPECT_EQ(object->Build().BuildNumber(), number);
}

TEST_F(Evaluation, TheRenderLockKeepsTheEndOfAnotherRenderOut) {
    object->updateState.renderLock = true;
    object->RenderEnd(0);
    EXPECT_TRUE(object->updateState.renderLock);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    object->updateState.isRendering = true;
    object->RenderEnd(0);
    EXPECT_FALSE(object->updateState.renderLock);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Evaluation, UpdateEndsARenderThatWasLeftOpenUnlessItIsLocked) {
    object->updateState.isRendering = true;
    UpdateObject(*object);
    EXPECT_FALSE(object->updateState.isRendering);
    EXPECT_FALSE(object->Build().IsRender());
    object->updateState.isRendering = object->updateState.renderLock = true;
    UpdateObject(*object);
    EXPECT_TRUE(object->updateState.isRendering);
    EXPECT_TRUE(object->Build().IsRender());
}

TEST_F(Evaluation, FreezingAllBuildsNothingAndHoldsEveryObject) {
    auto [other, otherNode] = AddScatter("other");
    otherNode->EvalWorldState(0);
    FreezeAllObjects(true);
    EXPECT_TRUE(AreAllObjectsFrozen());
    Set(kGenParams, genParams::kSeed, 3);
    other->Block(kGenParams).SetValue(genParams::kSeed, 0, 3);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    otherNode->EvalWorldState(0);
    EXPECT_EQ(other->Build().BuildCounter(), 1);

    EXPECT_EQ(UpdateAllObjects(scene), 2);
    EXPECT_EQ(other->Build().BuildCounter(), 2);
    EXPECT_EQ(BuildsOfEvaluation(), 0);
    FreezeAllObjects(false);
    EXPECT_EQ(BuildsOfEvaluation(), 0);  // by itself the switch builds nothing
    Set(kGenParams, genParams::kSeed, 4);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
}

TEST_F(Evaluation, AnotherSessionIsNotFrozen) {
    FreezeAllObjects(true);
    HostContext session;
    EXPECT_FALSE(AreAllObjectsFrozen());
}

TEST_F(Evaluation, AFrozenObjectCoversWhatItsViewShows) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kDispParams).SetValue(dispParams::kManualupdate, 0, true);
    otherNode->EvalWorldState(0);
    AddArea(*object, 4, otherNode, true);
    other->Block(kGenParams).SetValue(genParams::kSeed, 0, 3);
    Evaluate();
    EXPECT_EQ(other->Build().BuildCounter(), 1);
}

TEST_F(Evaluation, TwoNodesOfOneObjectAreUpdatedTogether) {
    scene.AddNode("second", object);
    int before = object->Build().BuildCounter();
    EXPECT_EQ(UpdateAllObjects(scene), 1);
    EXPECT_EQ(object->Build().BuildCounter(), before + 1);
}

TEST_F(Evaluation, UpdateReadsSurfacesAgainAndTellsDependents) {
    struct Listener : ReferenceMaker {
        Reference<ReferenceTarget> slot{this};
        int heard = 0;
        RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget*) override {
            heard +=
                change.message == RefMessage::kChange && change.interval == Interval::Forever();
            return RefResult::kSucceed;
        }
    } listener;
    listener.slot = object;
    size_t built = DravinGlobals().surfaces.NumBuilt();
    host.TakeRedraw();
    UpdateObject(*object);
    EXPECT_EQ(listener.heard, 1);
    EXPECT_TRUE(host.TakeRedraw());
    EXPECT_EQ(DravinGlobals().surfaces.NumBuilt(), built + 1);
}

TEST_F(Evaluation, ADisabledObjectHasNoItems) {
    Set(kDispParams, dispParams::kDisabled, true);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kDisabled);
    EXPECT_TRUE(object->Build().Items().IsEmpty());
}

TEST_F(Evaluation, ABuildOfItemsAloneLeavesTheMeshToTheView) {
    Set(kDispParams, dispParams::kVmesh, 0);
    TBuildFlags flags;
    flags.noMesh = true;
    Run(flags);
    EXPECT_EQ(BuildsOfEvaluation(), 1);
    EXPECT_TRUE(object->Build().ObjectMesh().IsBuilt());
}

TEST_F(Evaluation, WithoutASessionNothingIsBuilt) {
    auto loose = TDravin::Create();
    EXPECT_EQ(loose->Evaluated(0, nullptr), loose);
}

}  // namespace
