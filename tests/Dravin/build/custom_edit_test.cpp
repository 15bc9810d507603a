#include "Dravin/build/custom_edit.h"

#include <gtest/gtest.h>

#include "Dravin/build/dravin_build.h"
#include "host/scene/instance_source.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class CustomEdit : public ScatterFixture {
protected:
    void SetMode(int mode) { Set(kEditionParams, editionParams::kMode, mode); }
    std::vector<TDravinItem> Items() const {
        std::vector<TDravinItem> items;
        for (size_t i = 0; i < object->Build().Items().Count(); ++i)
            items.push_back(object->Build().Items().Item(i));
        return items;
    }
    // A camera high over the middle that sees a part of the ground.
    void LimitToCamera() {
        auto camera = std::make_shared<CameraObject>();
        camera->fovDegrees = 20;
        INode* eye = scene.AddNode("eye", camera);
        eye->SetLocalTM(Matrix3::Translation({0, 0, 20}));
        Set(kCamParams, camParams::kCamera, Target(eye->shared_from_this()));
        Set(kCamParams, camParams::kCamlimit, true);
    }
};

TEST_F(CustomEdit, FreezesItemsThatABuildThenReproduces) {
    Set(kTransformParams, transformParams::kApplytranslation, true);
    Set(kTransformParams, transformParams::kTranszmax, 50);
    Set(kTransformParams, transformParams::kApplyrotation, true);
    Set(kTransformParams, transformParams::kApplyscale, true);
    Run();
    std::vector<TDravinItem> before = Items();
    SetMode(1);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    std::vector<TDravinItem> after = Items();
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        ASSERT_NEAR(Length(after[i].position - before[i].position), 0, 1e-4);
        ASSERT_EQ(after[i].seed, before[i].seed);
        ASSERT_EQ(after[i].width, before[i].width);
        ASSERT_EQ(after[i].transform, before[i].transform);
    }
}

TEST_F(CustomEdit, StoresHeightsWithoutTheOffset) {
    Set(kTransformParams, transformParams::kApplytranslation, true);
    Set(kTransformParams, transformParams::kTranszmin, 50);
    Set(kTransformParams, transformParams::kTranszmax, 50);
    SetMode(1);
    ASSERT_FALSE(object->StoredItems().empty());
    EXPECT_EQ(object->StoredItems()[0].storedPosition.z, 0);
    EXPECT_EQ(Run().Items().Item(0).position.z, 1.5f);  // half of the box's height
}

TEST_F(CustomEdit, ACameraLimitsOnlyWhenAskedTo) {
    LimitToCamera();
    size_t visible = size_t(Run().Statistics().itemCount);
    ASSERT_GT(visible, 0u);
    ASSERT_LT(visible, 400u);
    ConvertToCustomEdit(*object, 0, FrozenItems::kInView);
    EXPECT_EQ(object->StoredItems().size(), visible);
    ConvertToCustomEdit(*object, 0, FrozenItems::kAll);
    EXPECT_EQ(object->StoredItems().size(), 400u);
}

TEST_F(CustomEdit, ABuildOfTheSelectionLeavesTheOtherItemsAsTheyWere) {
    SetMode(1);
    Run();
    std::vector<TStoredItem> edited = object->StoredItems();
    for (TStoredItem& item : edited) item.storedPosition.x += 0.25f;
    edited[3].selected = true;
    object->SetStoredItems(edited);
    std::vector<TDravinItem> before = Items();
    TBuildFlags flags;
    flags.selectedOnly = true;
    Run(flags);
    std::vector<TDravinItem> after = Items();
    ASSERT_EQ(after.size(), before.size());
    EXPECT_EQ(after[3].position.x, before[3].position.x + 0.25f);
    EXPECT_EQ(after[4].position, before[4].position);
    // Another number of items cannot be matched: all are made anew.
    edited.pop_back();
    object->SetStoredItems(edited);
    Run(flags);
    EXPECT_EQ(Items()[4].position.x, before[4].position.x + 0.25f);
}

TEST_F(CustomEdit, ItemsOutsideTheViewStayInTheListMarked) {
    LimitToCamera();
    SetMode(1);
    const TBuildStatistics& statistics = Run().Statistics();
    EXPECT_EQ(statistics.itemCount, 400);
    EXPECT_GT(statistics.discardedItems, 0);
    EXPECT_EQ(object->Build().MakeInstanceSource()->NumInstances(),
              size_t(statistics.itemCount - statistics.discardedItems));
    object->editingItems = true;
    EXPECT_EQ(Run().Statistics().discardedItems, 0);
}

TEST_F(CustomEdit, DisplayLimitsDoNotThinWhatIsFrozen) {
    Set(kDispParams, dispParams::kVmaxitems, 100);
    EXPECT_LE(Run().Statistics().itemCount, 100);
    SetMode(1);
    EXPECT_EQ(object->StoredItems().size(), 400u);
    EXPECT_EQ(Run().Statistics().decimation, 4);
    EXPECT_EQ(object->Build().Statistics().discardedItems, 300);
}

TEST_F(CustomEdit, OverlappingItemsGoBeforeTheyAreFrozen) {
    Set(kDistParams, distParams::kCollision, true);
    Set(kDistParams, distParams::kCollpreview, false);
    Set(kDistParams, distParams::kRadius, 300);
    SetMode(1);
    EXPECT_LT(object->StoredItems().size(), 200u);
    size_t frozen = object->StoredItems().size();
    EXPECT_EQ(Run(Render()).Statistics().itemCount, int(frozen));
    EXPECT_FALSE(
        Logged("BuildItemArray->ComputeCollisions XY (" + std::to_string(frozen) + " items)"));
}

TEST_F(CustomEdit, BackInGenerateModeTheItemsAreDropped) {
    SetMode(1);
    object->SetStoredItems({object->StoredItems().begin(), object->StoredItems().begin() + 3});
    EXPECT_EQ(Run().Statistics().itemCount, 3);
    SetMode(0);
    EXPECT_TRUE(object->StoredItems().empty());
    EXPECT_EQ(Run().Statistics().itemCount, 400);
}

TEST_F(CustomEdit, WithoutItemsTheStatusIs3) {
    SetMode(1);
    object->SetStoredItems({});
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoItems);
    EXPECT_EQ(object->Build().Message()[0], "No items");
}

TEST_F(CustomEdit, WhereNothingIsLeftTheStatusIs10AndTheCountOfDiscardedStays) {
    LimitToCamera();
    SetMode(1);
    std::vector<TStoredItem> far = object->StoredItems();
    for (TStoredItem& item : far) item.storedPosition.x = 1000;
    object->SetStoredItems(far);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoVisibleItems);
    EXPECT_TRUE(object->Build().Items().IsEmpty());
    EXPECT_EQ(object->Build().Statistics().discardedItems, 400);
    EXPECT_EQ(object->Build().Statistics().itemCount, 0);
}

TEST_F(CustomEdit, AreasMapsAndDistributionsPlayNoPart) {
    SetMode(1);
    Set(kDistParams, distParams::kDistmap, nullptr);
    Set(kDistParams, distParams::kMapname, "no_such_map.bmp");
    Set(kDistParams, distParams::kDistmode, 2);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().Statistics().itemCount, 400);
    Set(kDistParams, distParams::kDistmode, 3);
    object->Block(kDistParams).Append(distParams::kDistpflownodes, Target(box));
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(object->Build().Validity(), Interval::Forever());
}

TEST_F(CustomEdit, AnObjectOutsideASceneHasNothingToFreeze) {
    auto lonely = TDravin::Create();
    lonely->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
    EXPECT_TRUE(lonely->StoredItems().empty());
}

}  // namespace
