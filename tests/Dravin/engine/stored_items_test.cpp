#include "Dravin/engine/stored_items.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

// Items in a line over a ground at height 5, which they are linked to.
struct StoredItems : testing::Test {
    std::vector<TStoredItem> stored;
    TBuildInput input;

    void SetUp() override {
        input = GroundInput();
        input.surfaces.clear();
        input.surfaceBounds = {};
        AddSurface(input, SquareMesh(-10, -10, 10, 10, 5));
        input.customEdit = input.transforms.customEdit = true;
        for (int i = 0; i < 4; ++i) {
            TStoredItem& item = stored.emplace_back();
            item.storedPosition = {float(i), 0, 7};
            item.seed = uint32_t(100 + i);
        }
    }
    BuiltItems Run() {
        input.storedItems = stored;
        return Build(input);
    }
};

TEST_F(StoredItems, KeepPlaceSeedSizeFrameAndIds) {
    input.linkToSurface = false;
    stored[1].sizeFactor = {2, 3, 4};
    stored[1].sourceTransform = Matrix3::RotationX(0.5f);
    stored[1].userId = 42;
    stored[1].selected = true;
    BuiltItems built = Run();
    ASSERT_EQ(built.result, TBuildStatus::kSuccess);
    ASSERT_EQ(built.items.size(), 4u);
    const TDravinItem& item = built.items[1];
    EXPECT_EQ(item.position, (Point3{1, 0, 7}));
    EXPECT_EQ(item.seed, 101u);
    EXPECT_EQ(item.width, 2);
    EXPECT_EQ(item.depth, 3);
    EXPECT_EQ(item.height, 4);
    EXPECT_EQ(item.normal, Matrix3::RotationX(0.5f).row[2]);
    EXPECT_EQ(item.userId, 42);
    EXPECT_TRUE(item.IsSelected());
    EXPECT_EQ(built.statistics.itemCount, 4);
}

TEST_F(StoredItems, LinkedItemsDropOntoTheSurfaceAndRiseByTheirOffset) {
    input.specimens[0].elements[0].zOffset = 0.25f;
    BuiltItems built = Run();
    EXPECT_EQ(built.items[2].position, (Point3{2, 0, 5.25f}));
    EXPECT_EQ(built.items[2].surfaceFace, 0);
    input.linkToSurface = false;
    built = Run();
    EXPECT_EQ(built.items[2].position, (Point3{2, 0, 7.25f}));
    EXPECT_EQ(built.items[2].surfaceFace, 0);
}

TEST_F(StoredItems, BesideTheSurfaceALinkedItemStandsAtHeightZeroWithoutFace) {
    stored[0].storedPosition = {50, 0, 7};
    BuiltItems built = Run();
    EXPECT_EQ(built.items[0].position, (Point3{50, 0, 0}));
    EXPECT_EQ(built.items[0].surfaceFace, -1);
    EXPECT_EQ(built.items[0].discarded, 0);
}

TEST_F(StoredItems, TheirRandomValuesFollowFromTheStoredSeed) {
    input.transforms.applyScale = true;
    BuiltItems built = Run();
    TNuRandom generator(input.transforms.seed + 101);
    TDravinItem expected;
    FillRandoms(generator, input.transforms, TransformRanges(input.transforms), expected);
    EXPECT_EQ(built.items[1].random4, expected.random4);
    EXPECT_EQ(built.items[1].width, expected.randomScale.x);
}

TEST_F(StoredItems, ANegativeDepthFactorIsRepairedFromTheWidths) {
    stored[3].sizeFactor = {2, -1, 1};
    EXPECT_EQ(Run().items[3].sizeFactor, (Point3{2, 2, 1}));
}

TEST_F(StoredItems, RowsAreTakenModuloTheGeometryListAndStayAsStored) {
    input.specimens.push_back(CubeSpecimen());
    input.specimens[1].elements[0].meshSize = {9, 9, 9};
    const int rows[] = {2, 3, -1, 1};
    for (size_t i = 0; i < 4; ++i) stored[i].specimenIndex = rows[i];
    BuiltItems built = Run();
    const float widths[] = {1, 9, 9, 9};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(built.items[i].width, widths[i]);
        EXPECT_EQ(built.items[i].specimenIndex, rows[i]);
        EXPECT_FLOAT_EQ(Length(built.items[i].fullTransform.row[0]), widths[i]);
    }
}

TEST_F(StoredItems, ElementsAreClampedAndMarkTheState) {
    EXPECT_EQ(Run().items[0].stateFlags, 0);
    input.specimens[0].elements.resize(3, input.specimens[0].elements[0]);
    stored[0].elementIndex = 1;
    stored[1].elementIndex = 17;
    stored[2].elementIndex = -5;
    BuiltItems built = Run();
    EXPECT_EQ(built.items[0].elementIndex, 1);
    EXPECT_EQ(built.items[1].elementIndex, 2);
    EXPECT_EQ(built.items[2].elementIndex, 0);
    EXPECT_EQ(built.items[0].stateFlags, 8);
}

TEST_F(StoredItems, LevelsFollowTheCameraUnlessItemsAreBeingEdited) {
    TSpecimen& row = input.specimens[0];
    row.elements.resize(2, row.elements[0]);
    row.lod.emplace();
    row.lod->thresholds = {0, 50};
    row.lod->distance = 2;
    input.camera.valid = true;
    input.camera.position = {0, 0, 7};
    auto levels = [&] {
        BuiltItems built = Run();
        return std::pair{built.items[0].elementIndex, built.items[3].elementIndex};
    };
    EXPECT_EQ(levels(), std::pair(int16_t{0}, int16_t{1}));
    input.editingItems = true;
    EXPECT_EQ(levels(), std::pair(int16_t{0}, int16_t{0}));
    row.lod->byScreenSize = true;
    EXPECT_EQ(levels(), std::pair(int16_t{1}, int16_t{1}));
}

TEST_F(StoredItems, SizesOnScreenCountTheItemsOwnWidth) {
    TSpecimen& row = input.specimens[0];
    row.elements.resize(2, row.elements[0]);
    row.lod.emplace();
    row.lod->byScreenSize = true;
    row.lod->thresholds = {0, 30};
    row.lod->referenceWidth = 1;
    // Seen from ten units below in a view that is ten units wide there.
    input.lodView = {true, Matrix3::Translation({0, 0, -17}), 2 * std::atan(0.5f)};
    stored[1] = stored[0];
    stored[1].sizeFactor = {4, 1, 1};
    BuiltItems built = Run();
    EXPECT_EQ(built.items[0].elementIndex, 0);  // a tenth of the view
    EXPECT_EQ(built.items[1].elementIndex, 1);  // four tenths
    EXPECT_TRUE(built.statistics.lodSpan);
}

TEST_F(StoredItems, ADisplayAboveItsLimitMarksAllButEveryNthAsDiscarded) {
    input.displayLimit = 3;
    BuiltItems built = Run();
    ASSERT_EQ(built.items.size(), 4u);
    EXPECT_EQ(built.statistics.decimation, 2);
    EXPECT_EQ(built.statistics.discardedItems, 2);
    for (size_t i = 0; i < 4; ++i) EXPECT_EQ(built.items[i].discarded, i % 2);
    input.editingItems = true;
    EXPECT_EQ(Run().statistics.discardedItems, 0);
    input.editingItems = false;
    input.render = true;
    EXPECT_EQ(Run().statistics.discardedItems, 0);
}

TEST_F(StoredItems, OutsideALimitingViewTheyAreMarkedAndKept) {
    // Looks down from above the first item: half the width at the ground is one unit.
    TViewVolume::Shape shape;
    shape.fovRadians = 2 * std::atan(0.5f);
    input.camera.view = TViewVolume(shape, Matrix3::Translation({0, 0, 7}));
    input.camera.limitActive = true;
    BuiltItems built = Run();
    ASSERT_EQ(built.items.size(), 4u);
    EXPECT_EQ(built.items[0].discarded, 0);
    EXPECT_EQ(built.items[3].discarded, 1);
    EXPECT_EQ(built.items[3].width, 0);  // it was not finished
    EXPECT_EQ(built.statistics.itemCount - built.statistics.discardedItems, 2);
}

TEST_F(StoredItems, NeitherDensityNorCollisionsNorAreasTouchThem) {
    FalloffCurve none;
    input.camera.valid = true;
    input.camera.densityCurve = &none;
    input.altitude = {true, 100, 200};
    input.collisions = true;
    for (TStoredItem& item : stored) item.storedPosition = {};
    EXPECT_EQ(Run().statistics.itemCount, 4);
    EXPECT_EQ(Run().statistics.discardedItems, 0);
}

TEST_F(StoredItems, AreMarkedUnlessDiscarded) {
    input.displayLimit = 2;  // every second one shows
    for (const TDravinItem& item : Run().items) EXPECT_EQ(item.marked, !item.discarded);
}

TEST_F(StoredItems, UnselectedOnesMayStayAsTheyWere) {
    BuiltItems before = Run();
    for (TStoredItem& item : stored) item.storedPosition.x += 2;
    stored[1].selected = true;
    input.unselected = &before.list;
    BuiltItems after = Run();
    ASSERT_EQ(after.items.size(), 4u);
    for (size_t i = 0; i < 4; ++i) {
        float moved = i == 1 ? 2.0f : 0.0f;
        EXPECT_EQ(after.items[i].position.x, before.items[i].position.x + moved);
    }
}

TEST_F(StoredItems, AreTheSameForAnyNumberOfThreads) {
    stored.resize(10000);
    for (size_t i = 0; i < stored.size(); ++i)
        stored[i].seed = uint32_t(i), stored[i].storedPosition = {float(i % 20) - 9.5f, 0, 1};
    input.transforms.applyScale = input.transforms.applyTranslation = true;
    BuiltItems one = Run();
    input.threads = 7;
    BuiltItems seven = Run();
    ASSERT_EQ(seven.items.size(), 10000u);
    for (size_t i = 0; i < one.items.size(); i += 37) {
        ASSERT_EQ(one.items[i].position, seven.items[i].position);
        ASSERT_EQ(one.items[i].transform, seven.items[i].transform);
        ASSERT_EQ(one.items[i].width, seven.items[i].width);
    }
}

}  // namespace
