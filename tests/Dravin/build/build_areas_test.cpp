// Areas of whole builds, and scatter objects as areas of each other.
#include "Dravin/build/dravin_build.h"

#include <gtest/gtest.h>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class BuildAreas : public ScatterFixture {};

TEST_F(BuildAreas, AnObjectAreaExcludesUpToItsSlice) {
    auto tower = AddMesh("tower", MakeBox(6, 6, 10, 1));
    tower->SetLocalTM(Matrix3::Translation({0.5f, 0.5f, 0}));
    AddArea(*object, 1, tower, true);
    EXPECT_EQ(Run().Statistics().itemCount, 400 - 36);
    object->Block(kAreaParams).Append(areaParams::kArslicelist);
    object->Block(kAreaParams).SetValue(areaParams::kArslicelist, 0, true, 0);
    object->Block(kAreaParams).Append(areaParams::kArslicetoplist);
    object->Block(kAreaParams).SetValue(areaParams::kArslicetoplist, 0, -20.0f, 0);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
}

TEST_F(BuildAreas, AnInactiveAreaChangesNothing) {
    AddArea(*object, 1, AddMesh("tower", MakeBox(6, 6, 10, 1)), true);
    Run();
    std::vector<Point3> before;
    for (size_t i = 0; i < object->Build().Items().Count(); ++i)
        before.push_back(object->Build().Items().Position(i));
    AddArea(*object, 1, AddMesh("wall", MakeBox(2, 20, 10, 1)), true);
    object->Block(kAreaParams).SetValue(areaParams::kPfAractivelist, 0, false, 1);
    ASSERT_EQ(size_t(Run().Statistics().itemCount), before.size());
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(object->Build().Items().Position(i), before[i]);
}

TEST_F(BuildAreas, ASurfaceRowThatIsOffLeavesNoIncludeArea) {
    AddArea(*object, 3, nullptr, false);
    object->Block(kAreaParams).SetValue(areaParams::kPfAractivelist, 0, false, 0);
    EXPECT_EQ(Run().Status(), TBuildStatus::kNoIncludeAreas);
}

TEST_F(BuildAreas, ASurfaceRowIncludesEvenWhenItExcludes) {
    AddArea(*object, 3, nullptr, true);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
    EXPECT_EQ(object->Build().Statistics().excludeAreas, 0);
}

TEST_F(BuildAreas, AnotherScatterObjectExcludesEvenWhenItsRowIncludes) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kDistParams).SetValue(distParams::kPixelsX, 0, 1);
    AddArea(*object, 4, otherNode, false);
    // The other's four items stand ten apart, each a disc of radius one around its place.
    const TDravinBuild& build = Run();
    ASSERT_EQ(other->Build().Statistics().itemCount, 4);
    EXPECT_EQ(build.Status(), TBuildStatus::kSuccess);
    EXPECT_LT(build.Statistics().itemCount, 400);
    for (size_t i = 0; i < build.Items().Count(); ++i)
        for (size_t k = 0; k < 4; ++k)
            ASSERT_GT(
                Length(build.Items().Item(i).position - other->Build().Items().Item(k).position),
                0.9f);
}

TEST_F(BuildAreas, AScatterObjectThatExcludesItselfIsLeftOut) {
    AddArea(*object, 4, std::static_pointer_cast<INode>(node->shared_from_this()), true);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
}

TEST_F(BuildAreas, ItemsOfAnotherObjectAreDrawnAgainOnlyWhenItWasBuiltAgain) {
    auto [other, otherNode] = AddScatter("other");
    other->Block(kDistParams).SetValue(distParams::kPixelsX, 0, 1);
    AddArea(*object, 4, otherNode, true);
    int count = Run().Statistics().itemCount;
    EXPECT_EQ(Run().Statistics().itemCount, count);
    EXPECT_EQ(object->Build().Areas().NumMade(), 1u);
    other->Block(kDistParams).SetValue(distParams::kPixelsX, 0, 2);  // four times as many
    EXPECT_LT(Run().Statistics().itemCount, count);
    EXPECT_EQ(object->Build().Areas().NumMade(), 2u);
}

TEST_F(BuildAreas, ObjectsThatExcludeEachOtherDoNotKeepEachOtherAlive) {
    std::weak_ptr<TDravin> watched;
    {
        auto [other, otherNode] = AddScatter("other");
        watched = other;
        AddArea(*object, 4, otherNode, true);
        AddArea(*other, 4, std::static_pointer_cast<INode>(node->shared_from_this()), true);
        Run();
        other->Build().BuildMesh(0, {});
        Run();
        scene.DeleteNode(*otherNode);
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(BuildAreas, ScatterObjectsThatExcludeEachOtherInARingAreBuiltWithAWarning) {
    auto [second, secondNode] = AddScatter("second");
    auto [third, thirdNode] = AddScatter("third");
    AddArea(*object, 4, secondNode, true);
    AddArea(*second, 4, thirdNode, true);
    AddArea(*third, 4, std::static_pointer_cast<INode>(node->shared_from_this()), true);
    Run();
    EXPECT_EQ(third->Build().Statistics().itemCount, 400);
    EXPECT_LT(second->Build().Statistics().itemCount, 400);
    EXPECT_TRUE(Logged("area \"\" is left out: the objects exclude each other's items in a ring"));
}

TEST_F(BuildAreas, ANodeThatIsNoScatterObjectMakesNoSuchArea) {
    AddArea(*object, 4, box, true);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
}

TEST_F(BuildAreas, AnObjectAreaOfAnEmptyMeshIsNoArea) {
    auto nothing = AddMesh("nothing", Mesh());
    AddArea(*object, 1, nothing, true);
    EXPECT_EQ(Run().Statistics().itemCount, 400);
    AddArea(*object, 1, nothing, false);
    EXPECT_EQ(Run().Status(), TBuildStatus::kSuccess);  // nothing includes: the surfaces are ground
}

}  // namespace
