// What a build tells of how far it is: rising, over all its parts, to the end.
#include "Dravin/engine/build_progress.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "test_input.h"

namespace {

// A white texture that notes how far the build is whenever it is asked.
struct WatchingMap : IMapSampler {
    const TBuildProgress& progress;
    mutable std::vector<float> seen;

    explicit WatchingMap(const TBuildProgress& p) : progress(p) {}
    void Sample(std::span<const MapPoint> points, std::span<AColor> out) const override {
        seen.push_back(progress.Fraction());
        for (size_t i = 0; i < points.size(); ++i) out[i] = {1, 1, 1, 1};
    }
};

struct WatchedBuild {
    TBuildProgress progress;
    WatchingMap map{progress};
    TBuildInput input = GroundInput();

    // 200 x 200 cells.
    WatchedBuild() {
        input.progress = &progress;
        input.distMap = &map;
        input.distMapChannel = 0;
        input.grid.hasTexture = true;
        input.displayLimit = input.renderLimit = 1000000;
    }
    void Run() {
        TDravinItemList list;
        TBuildStatistics statistics;
        ASSERT_EQ(BuildItemArray(input, list, statistics), TBuildStatus::kSuccess);
    }
};

}  // namespace

TEST(BuildProgress, CountsStagesAndTheUnitsWithin) {
    TBuildProgress progress;
    EXPECT_EQ(progress.Fraction(), 0);
    progress.Start(4);
    EXPECT_EQ(progress.Fraction(), 0);
    progress.NextStage(10);
    progress.Add(5);
    EXPECT_FLOAT_EQ(progress.Fraction(), 0.125f);
    progress.NextStage(0);  // nobody knows how much it is
    progress.Add(5);
    EXPECT_FLOAT_EQ(progress.Fraction(), 0.25f);
    progress.NextStage(2);
    progress.Add(3);  // an estimate that was too low
    EXPECT_FLOAT_EQ(progress.Fraction(), 0.75f);
    progress.Start(2);
    EXPECT_EQ(progress.Fraction(), 0);
}

TEST(BuildProgress, RisesOverTheRowsOfAGrid) {
    WatchedBuild build;
    build.Run();
    const std::vector<float>& seen = build.map.seen;
    ASSERT_GT(seen.size(), 100u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_LT(seen.front(), 0.05f);
    EXPECT_GT(seen.back(), 0.95f);
    EXPECT_EQ(build.progress.Fraction(), 1);
}

TEST(BuildProgress, OverlapsAreAPartOfTheirOwn) {
    WatchedBuild build;
    build.input.collisions = true;
    build.Run();
    const std::vector<float>& seen = build.map.seen;
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_GT(seen.back(), 0.45f);
    EXPECT_LE(seen.back(), 0.5f);
}

TEST(BuildProgress, PointsCountByTheThousand) {
    WatchedBuild build;
    build.input.distributionMode = kDistReference;
    build.input.points.reference.objects.resize(4096);
    build.Run();
    EXPECT_EQ(build.progress.Fraction(), 1);
}

TEST(BuildProgress, HandEditedItemsCountToo) {
    WatchedBuild build;
    std::vector<TStoredItem> stored(2048);
    build.input.customEdit = true;
    build.input.storedItems = stored;
    build.Run();
    EXPECT_EQ(build.progress.Fraction(), 1);
}

TEST(BuildProgress, RisesOverTheMappingOfSurfaces) {
    WatchedBuild build;
    build.input.surfaceMode = kSurfaceUV;
    build.input.surfaces[0].uv = TSurfUVArray::Make(SquareMesh(-10, -10, 10, 10), 1);
    AddSurface(build.input, SquareMesh(20, 0, 30, 10));  // one without a mapping
    build.Run();
    const std::vector<float>& seen = build.map.seen;
    ASSERT_GT(seen.size(), 100u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
    EXPECT_GT(seen.back(), 0.95f);
}
