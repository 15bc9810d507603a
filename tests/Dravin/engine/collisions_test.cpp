#include "Dravin/engine/collisions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

using Spheres = std::vector<TCollisionSphere>;
using Flags = std::vector<uint8_t>;

// The rule itself: largest first, each against everything that stayed.
Flags ByBruteForce(const Spheres& spheres) {
    std::vector<size_t> order(spheres.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) {
        if (spheres[a].radius != spheres[b].radius) return spheres[a].radius > spheres[b].radius;
        return spheres[a].seed < spheres[b].seed;
    });
    Flags discarded(spheres.size(), 0);
    std::vector<size_t> kept;
    for (size_t i : order) {
        discarded[i] = std::any_of(kept.begin(), kept.end(),
                                   [&](size_t k) { return spheres[i].Overlaps(spheres[k]); });
        if (!discarded[i]) kept.push_back(i);
    }
    return discarded;
}

// n spheres over a square of that side; radii between the two bounds, most of them small.
Spheres Scattered(size_t n, float side, float smallest, float largest, uint32_t seed) {
    TNuRandom random(seed);
    Spheres spheres;
    for (size_t i = 0; i < n; ++i) {
        float x = random.Random() * side, y = random.Random() * side, z = random.Random();
        float u = random.Random();
        spheres.push_back({{x - side / 2, y, z},
                           smallest * std::pow(largest / smallest, u * u * u),
                           uint32_t(random.IRandom(0, 50))});
    }
    return spheres;
}

TDravinItemList ListOf(const Spheres& spheres) {
    TDravinItemList list(0u);
    TDravinItemList::Appender appender = nullptr;
    for (size_t i = 0; i < spheres.size(); ++i) {
        TDravinItem item;
        item.position = spheres[i].center;
        item.collisionRadius = spheres[i].radius;
        item.seed = spheres[i].seed;
        item.sourceIndex = int32_t(i);
        list.Append(item, appender);
    }
    return list;
}

const Box3 kBounds{{-10, -10, 0}, {10, 10, 0}};

}  // namespace

TEST(Collisions, AtOnePlaceTheLargerStaysAndOfEqualsTheSmallerSeed) {
    EXPECT_EQ(FindCollisions(Spheres{{{1, 1, 0}, 1, 5}, {{1, 1, 0}, 2, 9}}), (Flags{1, 0}));
    EXPECT_EQ(FindCollisions(Spheres{{{1, 1, 0}, 2, 9}, {{1, 1, 0}, 2, 5}}), (Flags{1, 0}));
}

TEST(Collisions, SpheresThatTouchStay) {
    EXPECT_EQ(FindCollisions(Spheres{{{0, 0, 0}, 1, 1}, {{3, 0, 0}, 2, 2}}), (Flags{0, 0}));
    EXPECT_EQ(FindCollisions(Spheres{{{0, 0, 0}, 1, 1}, {{2.999f, 0, 0}, 2, 2}}), (Flags{1, 0}));
}

TEST(Collisions, OnASlopeTheHeightKeepsItemsApart) {
    // One apart in the plane, two in height: sqrt(5) against radii of one each.
    EXPECT_EQ(FindCollisions(Spheres{{{0, 0, 0}, 1, 1}, {{1, 0, 2}, 1, 2}}), (Flags{0, 0}));
    EXPECT_EQ(FindCollisions(Spheres{{{0, 0, 0}, 1, 1}, {{1, 0, 0}, 1, 2}}), (Flags{0, 1}));
}

TEST(Collisions, RadiiOfZeroRemoveNothing) {
    Spheres points(5, {{1, 1, 0}, 0, 1});
    EXPECT_EQ(FindCollisions(points), Flags(5, 0));
    TDravinItemList list = ListOf(points);
    EXPECT_EQ(RemoveCollisions(list, kBounds, {}), 0);
    EXPECT_EQ(list.Count(), 5u);
}

TEST(Collisions, APointInsideASphereGoes) {
    EXPECT_EQ(FindCollisions(Spheres{{{0.5f, 0, 0}, 0, 1}, {{0, 0, 0}, 1, 2}}), (Flags{1, 0}));
}

TEST(Collisions, BoundsWithoutExtentRemoveNothing) {
    Spheres two{{{0, 0, 0}, 1, 1}, {{0, 1, 0}, 1, 2}};
    TDravinItemList list = ListOf(two);
    EXPECT_EQ(RemoveCollisions(list, {{0, 0, 0}, {0, 1, 0}}, {}), 0);
    EXPECT_EQ(list.Count(), 2u);
    // Narrower than one cell is enough.
    EXPECT_EQ(RemoveCollisions(list, {{0, 0, 0}, {0.1f, 1, 0}}, {}), 1);
    EXPECT_EQ(list.Count(), 1u);
}

TEST(Collisions, WhereNothingCanBeRemovedItemsStandInTheOrderOfTheirTest) {
    Spheres s{{{0, 0, 0}, 1, 9}, {{0, 1, 0}, 2, 8}, {{0, 2, 0}, 1, 3}};
    TDravinItemList list = ListOf(s);
    EXPECT_EQ(RemoveCollisions(list, {{0, 0, 0}, {0, 2, 0}}, {}), 0);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(list.Item(i).seed, (Flags{8, 3, 9}[i]));
}

TEST(Collisions, ItemsOutsideTheBoundsAreTestedToo) {
    Spheres far{{{500, 500, 0}, 1, 1}, {{501, 500, 0}, 1, 2}, {{-900, 3, 0}, 1, 3}};
    TDravinItemList list = ListOf(far);
    EXPECT_EQ(RemoveCollisions(list, kBounds, {}), 1);
    EXPECT_EQ(list.Count(), 2u);
}

TEST(Collisions, APairThatMeetsInAThirdCellIsFound) {
    // Large spheres in neighbour cells of a small one, all three in different cells.
    Spheres s{{{1.9f, 1.9f, 0}, 1, 1}, {{4.1f, 2.1f, 0}, 1, 2}, {{2.9f, 3.4f, 0}, 0.8f, 3}};
    EXPECT_EQ(FindCollisions(s), ByBruteForce(s));
}

class Scattering : public testing::TestWithParam<std::tuple<float, float, float>> {};

TEST_P(Scattering, AgreesWithBruteForce) {
    auto [side, smallest, largest] = GetParam();
    for (uint32_t seed : {1u, 2u, 3u}) {
        Spheres spheres = Scattered(3000, side, smallest, largest, seed);
        Flags expected = ByBruteForce(spheres);
        ASSERT_EQ(FindCollisions(spheres), expected);
        auto gone = std::count(expected.begin(), expected.end(), 1);
        EXPECT_GT(gone, 20);
        EXPECT_LT(gone, 2999);
    }
}

INSTANTIATE_TEST_SUITE_P(Radii, Scattering,
                         testing::Values(std::tuple{100.0f, 0.5f, 0.6f},
                                         std::tuple{100.0f, 0.05f, 20.0f},
                                         std::tuple{10000.0f, 0.001f, 3000.0f},
                                         std::tuple{1.0f, 1e-7f, 0.2f},
                                         std::tuple{1e6f, 5000.0f, 90000.0f}));

TEST(Collisions, ThreadsAgreeWithBruteForce) {
    // Several classes of radii with thousands of cells each: bands of cells for every thread.
    Spheres spheres = Scattered(40000, 400, 0.3f, 3, 5);
    Flags expected = ByBruteForce(spheres);
    for (int threads : {1, 2, 3, 8, 16}) EXPECT_EQ(FindCollisions(spheres, threads), expected);
}

TEST(Collisions, AChainIsDecidedFromItsBestEnd) {
    // Every sphere overlaps the next, and the seeds fall: all wait for the last one, and from there
    // on every other one stays.
    constexpr size_t kCount = 40001;
    Spheres chain;
    Flags expected;
    for (size_t i = 0; i < kCount; ++i) {
        chain.push_back({{1.5f * float(i), 0, 0}, 1, uint32_t(kCount - i)});
        expected.push_back(i % 2);
    }
    for (int threads : {1, 2, 3, 8, 16}) EXPECT_EQ(FindCollisions(chain, threads), expected);
}

TEST(Collisions, OfAHeapAtOnePlaceOneStays) {
    // Equal seeds: the first of them.
    Spheres heap(100000, {{3, 4, 5}, 1, 7});
    Flags expected(heap.size(), 1);
    expected[0] = 0;
    for (int threads : {1, 3}) EXPECT_EQ(FindCollisions(heap, threads), expected);
}

TEST(Collisions, PointsAtOnePlaceTakeLinearTime) {
    // Those without a size overlap nothing, a hundred thousand of them in a cell.
    Spheres points(100000, {{3, 4, 5}, 0, 7});
    points.push_back({{30, 40, 0}, 1, 1});
    EXPECT_EQ(FindCollisions(points, 2), Flags(points.size(), 0));
}

TEST(Collisions, ItemsOnWallsAgreeWithBruteForce) {
    // The plane of the ground turned upright, in both directions.
    for (int wall = 0; wall < 2; ++wall) {
        Spheres spheres = Scattered(3000, 100, 0.3f, 3, 21);
        for (TCollisionSphere& s : spheres) std::swap(s.center[wall], s.center.z);
        EXPECT_EQ(FindCollisions(spheres), ByBruteForce(spheres));
    }
}

TEST(Collisions, AFarOutlierChangesNothing) {
    Spheres spheres = Scattered(3000, 100, 0.1f, 2, 11);
    spheres.push_back({{3e9f, -2e9f, 0}, 1, 0});
    EXPECT_EQ(FindCollisions(spheres), ByBruteForce(spheres));
}

TEST(Collisions, NumbersThatAreNotFiniteStayOutOfIt) {
    float nan = std::numeric_limits<float>::quiet_NaN();
    float infinite = std::numeric_limits<float>::infinity();
    Spheres s{{{nan, 0, 0}, 1, 1}, {{0, 0, 0}, infinite, 2}, {{0, 0, 0}, 1, 3}, {{0, 0, 0}, 1, 4}};
    EXPECT_EQ(FindCollisions(s), (Flags{0, 0, 0, 1}));
}

TEST(Collisions, TheFirstRowsItemsComeFirst) {
    Spheres s{{{-5, 0, 0}, 1, 1}, {{0, 0, 0}, 1, 2}, {{0, 0, 0}, 1, 3}, {{5, 0, 0}, 1, 4}};
    TDravinItemList list = ListOf(s);
    TDravinItem other = list.Item(0);
    other.specimenIndex = 2;
    list.Write(0, other);
    EXPECT_EQ(RemoveCollisions(list, kBounds, {}), 1);
    ASSERT_EQ(list.Count(), 3u);
    EXPECT_EQ(list.Item(0).sourceIndex, 1);
    EXPECT_EQ(list.Item(1).sourceIndex, 3);
    EXPECT_EQ(list.Item(2).sourceIndex, 0);
}

TEST(Collisions, WhatTheCameraDoesNotSeeGoesUncounted) {
    Spheres s{{{-5, 0, 0}, 1, 1}, {{0, 0, 0}, 1, 2}, {{0, 0.5f, 0}, 1, 3}};
    TDravinItemList list = ListOf(s);
    TCameraState camera;
    camera.limitActive = true;
    camera.view = TViewVolume({1.5707963f, 1, 10, 0, 0}, Matrix3::Translation({0, 0, 2}));
    EXPECT_EQ(RemoveCollisions(list, kBounds, camera), 1);
    ASSERT_EQ(list.Count(), 1u);
    EXPECT_EQ(list.Item(0).sourceIndex, 1);
}

TEST(CollisionBuild, TheGlobalRadiusScalesAllRadii) {
    TBuildInput input = GroundInput();
    input.transforms.radiusPercent = 100;  // half a unit: neighbours touch and stay
    input.collisions = true;
    EXPECT_EQ(Build(input).items.size(), 400u);
    input.transforms.radiusPercent = 1000;  // five units: centres at least ten apart
    BuiltItems built = Build(input);
    EXPECT_EQ(built.statistics.createdCount, 400);
    EXPECT_EQ(built.statistics.discardedCount, 400 - built.statistics.itemCount);
    EXPECT_EQ(built.statistics.itemCount, int32_t(built.items.size()));
    for (size_t a = 0; a < built.items.size(); ++a)
        for (size_t b = 0; b < a; ++b)
            ASSERT_GE(Length(built.items[a].position - built.items[b].position), 10 - 1e-4f);
}

TEST(CollisionBuild, ThreadsGiveTheSameSurvivors) {
    TBuildInput input = GroundInput();
    input.collisions = true;
    input.transforms.applyTranslation = input.transforms.applyScale = true;
    BuiltItems one = Build(input);
    EXPECT_LT(one.items.size(), 400u);
    for (int threads : {2, 3, 8, 16}) {
        input.threads = threads;
        BuiltItems many = Build(input);
        ASSERT_EQ(many.items.size(), one.items.size());
        for (size_t i = 0; i < one.items.size(); ++i)
            ASSERT_EQ(many.items[i].position, one.items[i].position);
    }
}
