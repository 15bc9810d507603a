#include "Dravin/engine/geometry_choice.h"

#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "tests/Dravin/engine/test_input.h"

namespace {

std::vector<TSpecimen> Rows(std::vector<std::pair<float, Color>> rows) {
    std::vector<TSpecimen> specimens;
    for (size_t i = 0; i < rows.size(); ++i) {
        specimens.push_back(CubeSpecimen(rows[i].first));
        specimens.back().colorId = rows[i].second;
        specimens.back().specId = int32_t(i + 1);
    }
    return specimens;
}

constexpr Color kRed{1, 0, 0}, kGreen{0, 1, 0}, kBlue{0, 0, 1};

// How often each row is drawn over a fine sweep of the first random number.
std::map<int, double> Shares(const TGeometryChoice& choice, const TAreaGeometry& area, Color color,
                             Point3 position = {}) {
    std::map<int, double> shares;
    for (int i = 0; i < 10000; ++i)
        shares[choice.Assign(area, {(float(i) + 0.5f) / 10000, 0.5f, 0.5f}, color, position)] +=
            1e-4;
    return shares;
}

TEST(GeometryChoice, ProbabilitiesDrawRowsInProportion) {
    TGeometryChoice choice({}, Rows({{100, kRed}, {0, kGreen}, {100, kBlue}}));
    auto shares = Shares(choice, choice.Unrestricted(), {});
    EXPECT_NEAR(shares[0], 0.5, 1e-3);
    EXPECT_EQ(shares.count(1), 0u);
    EXPECT_NEAR(shares[2], 0.5, 1e-3);
}

TEST(GeometryChoice, AllZeroProbabilitiesAreUniform) {
    TGeometryChoice choice({}, Rows({{0, kRed}, {0, kGreen}, {-5, kBlue}, {NAN, kBlue}}));
    for (auto [row, share] : Shares(choice, choice.Unrestricted(), {}))
        EXPECT_NEAR(share, 0.25, 1e-3);
}

TEST(GeometryChoice, RowsOfOneColorSplitByProbabilityInMapMode) {
    auto rows = Rows({{30, kRed}, {70, kRed}, {100, kGreen}});
    TGeometrySettings settings;
    settings.mode = kByColorMap;
    TGeometryChoice choice(settings, rows);
    auto shares = Shares(choice, choice.Unrestricted(), {0.9f, 0, 0});
    // Running sums 0.3, 1, 1: from u = 1/6 on the guide enters at outcome 1 and never goes back.
    EXPECT_NEAR(shares[0], 1.0 / 6, 1e-3);
    EXPECT_NEAR(shares[1], 5.0 / 6, 1e-3);
}

TEST(GeometryChoice, FullMapNoiseTakesTheProbabilityChoice) {
    TGeometrySettings settings;
    settings.mode = kByColorMap;
    settings.noise = 1;
    TGeometryChoice choice(settings, Rows({{50, kRed}, {50, kGreen}}));
    EXPECT_NEAR(Shares(choice, choice.Unrestricted(), kRed)[1], 0.5, 1e-3);
}

TEST(GeometryChoice, AnAreaRestrictionSkipsTheGroupDraw) {
    TGeometrySettings settings;
    settings.mode = kByColorMap;
    TGeometryChoice choice(settings, Rows({{50, kRed}, {50, kRed}, {50, kGreen}}));
    auto area = choice.Restrict("2 3");
    ASSERT_TRUE(area);
    EXPECT_NEAR(Shares(choice, *area, kRed)[1], 1, 1e-9);
    EXPECT_NEAR(Shares(choice, *area, kGreen)[2], 1, 1e-9);
}

TEST(GeometryChoice, RestrictionsNameRowsById) {
    TGeometryChoice choice({}, Rows({{100, kRed}, {100, kGreen}, {300, kBlue}}));
    auto area = choice.Restrict("1 3x -7 0");
    ASSERT_TRUE(area);
    auto shares = Shares(choice, *area, {});
    EXPECT_NEAR(shares[0], 1.0 / 6, 1e-3);  // 1/4 less what the rounded guide entry takes
    EXPECT_NEAR(shares[2], 5.0 / 6, 1e-3);
    EXPECT_EQ(shares.count(1), 0u);
    EXPECT_FALSE(choice.Restrict(""));
    EXPECT_FALSE(choice.Restrict("0"));
    EXPECT_EQ(ParseSpecIds("12  4 99999999999"), (std::vector<int32_t>{12, 4, INT32_MAX}));
}

TEST(GeometryClusters, OneRowTakesEverything) {
    TGeometrySettings settings;
    settings.mode = kByClusters;
    TGeometryChoice choice(settings, Rows({{20, kRed}}));
    ASSERT_EQ(choice.Clusters().size(), 1u);
    EXPECT_EQ(choice.Clusters()[0].threshold, 1.0f);
    EXPECT_EQ(choice.ChooseCluster(choice.Unrestricted(), {3, 4, 5}, 0.5f), 0u);
}

TEST(GeometryClusters, RecordsStandForColorGroupsLargestFirst) {
    TGeometrySettings settings;
    settings.mode = kByClusters;
    TGeometryChoice choice(settings, Rows({{10, kRed}, {30, kGreen}, {40, kRed}, {20, kBlue}}));
    const auto& clusters = choice.Clusters();
    ASSERT_EQ(clusters.size(), 3u);
    EXPECT_EQ(clusters[0].row, 2);  // the group's last row
    EXPECT_FLOAT_EQ(clusters[0].weight, 0.5f);
    EXPECT_FLOAT_EQ(clusters[1].weight, 0.3f);
    // Shares among what follows: 1/2 and 3/5, as levels of a normal distribution around 0.5:
    // the quantile of 0.6 is 0.2533471.
    EXPECT_NEAR(clusters[0].threshold, 0.5f, 1e-6);
    EXPECT_NEAR(clusters[1].threshold, 0.5f + 0.2533471f / 6, 1e-5);
    EXPECT_EQ(clusters[2].threshold, 1.0f);
}

TEST(GeometryClusters, WithoutAnAllowedRecordTheFirstIsTaken) {
    TGeometrySettings settings;
    settings.mode = kByClusters;
    TGeometryChoice choice(settings, Rows({{60, kRed}, {40, kGreen}}));
    TAreaGeometry nothing = *choice.Restrict("77");
    for (float x = 0; x < 100; x += 7) EXPECT_EQ(choice.ChooseCluster(nothing, {x, x, 0}, 0), 0u);
}

TEST(GeometryClusters, PatchesAreFixedAndCoverAboutTheirShare) {
    TGeometrySettings settings;
    settings.mode = kByClusters;
    TGeometryChoice choice(settings, Rows({{50, kRed}, {50, kGreen}}));
    int first = 0;
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 200; ++x) {
            Point3 p{x * 3.1f, y * 3.3f, 0};
            size_t cluster = choice.ChooseCluster(choice.Unrestricted(), p, 0);
            EXPECT_EQ(cluster, choice.ChooseCluster(choice.Unrestricted(), p, 0));
            first += cluster == 0;
        }
    EXPECT_NEAR(first / 40000.0, 0.5, 0.12);
}

TEST(GeometryClusters, TheStatisticsCountWhoChoseWhich) {
    TBuildInput input = GroundInput();
    input.specimens = Rows({{20, kRed}, {50, kGreen}, {30, kBlue}});
    input.geometry.mode = kByClusters;
    input.geometry.clusterSize = 3;
    input.surfaces.clear();
    AddSurface(input, SquareMesh(-10.4f, -10.4f, 10.4f, 10.4f));  // no cell misses it
    for (int threads : {1, 3}) {
        input.threads = threads;
        BuiltItems built = Build(input);
        const int rows[] = {1, 2, 0};  // largest first
        ASSERT_EQ(built.statistics.clusterCounts.size(), 3u);
        for (size_t c = 0; c < 3; ++c)
            EXPECT_EQ(built.statistics.clusterCounts[c],
                      std::count_if(built.items.begin(), built.items.end(), [&](const auto& item) {
                          return item.specimenIndex == rows[c];
                      }));
    }
    input.geometry.mode = kByProbability;
    EXPECT_TRUE(Build(input).statistics.clusterCounts.empty());
}

TEST(NoiseLevel, IsTheNormalQuantileClampedToThreeDeviations) {
    EXPECT_FLOAT_EQ(NoiseLevelOfProbability(0.5f), 0.5f);
    EXPECT_FLOAT_EQ(NoiseLevelOfProbability(0), 0);
    EXPECT_FLOAT_EQ(NoiseLevelOfProbability(1), 1);
    EXPECT_NEAR(NoiseLevelOfProbability(0.8413447f), 0.5f + 1.0f / 6, 1e-6);  // one deviation
    EXPECT_NEAR(NoiseLevelOfProbability(0.0227501f), 0.5f - 2.0f / 6, 1e-6);  // two, in the tail
}

TEST(GeometryChoice, ModesThatDoNotExistDrawByProbability) {
    for (int mode : {-1, 3, 1000000000}) {
        TGeometrySettings settings;
        settings.mode = mode;
        TGeometryChoice choice(settings, Rows({{100, kRed}, {300, kGreen}}));
        auto shares = Shares(choice, choice.Unrestricted(), kRed);
        EXPECT_NEAR(shares[0], 0.25, 1e-3);
        EXPECT_NEAR(shares[1], 0.75, 1e-3);
    }
}

TEST(FractalNoise, OctavesBeyondReasonAreTaken) {
    Point3 q{0.3f, 0.6f, 0.2f};
    EXPECT_EQ(FractalNoise(q, 1e30f), FractalNoise(q, 5));
    EXPECT_EQ(FractalNoise(q, -3), FractalNoise(q, 1));
}

TEST(FractalNoise, AddsWholeAndPartialOctaves) {
    Point3 q{0.37f, 1.21f, 4.1f};
    float one = FractalNoise(q, 1), two = FractalNoise(q, 2);
    EXPECT_EQ(FractalNoise(q, 0), one);
    EXPECT_NEAR(FractalNoise(q, 1.5f), (one + two) / 2, 1e-6);
}

TEST(Probabilities, NormaliseToAHundredUnlessAllAreZero) {
    EXPECT_EQ(NormaliseProbabilities({1, 3}), (std::vector<float>{25, 75}));
    EXPECT_EQ(NormaliseProbabilities({0, 0}), (std::vector<float>{0, 0}));
}

TEST(Probabilities, RandomiseGivesWholePercentages) {
    TNuRandom a(5), b(5);
    for (float p : RandomiseProbabilities(1000, a)) {
        EXPECT_EQ(p, std::floor(double(b.Step()) * 100 / 4294967296.0) + 1);
        EXPECT_GE(p, 1);
        EXPECT_LE(p, 100);
    }
}

}  // namespace
