#include "Dravin/shadow/quad_drawer.h"

#include <gmock/gmock.h>

#include <cmath>
#include <set>

using testing::ElementsAre;

namespace {

// Opaque where u is below a border, and notes where it was asked.
class LeftPart : public Texmap {
public:
    explicit LeftPart(float at) : border(at) {}
    float border;
    mutable std::vector<std::pair<float, float>> asked;
    AColor EvalColor(const TexPoint& p) const override {
        asked.push_back({p.uvw.x, p.uvw.y});
        float value = p.uvw.x < border ? 0.5f : 0.49f;
        return {value, value, value, 1};
    }
};

constexpr int kSize = 8;

class QuadDrawer : public testing::Test {
protected:
    std::vector<float> depths = std::vector<float>(kSize * kSize, INFINITY);
    std::vector<uint32_t> owners = std::vector<uint32_t>(kSize * kSize, 0);

    TQuadDrawer Make(bool usesCache = true) { return {depths, owners, kSize, usesCache, 0}; }
    std::vector<int> ColumnsOf(int row) const {
        std::vector<int> columns;
        for (int x = 0; x < kSize; ++x)
            if (depths[size_t(row * kSize + x)] < INFINITY) columns.push_back(x);
        return columns;
    }
    size_t Drawn() const {
        return size_t(std::count_if(depths.begin(), depths.end(),
                                    [](float depth) { return depth < INFINITY; }));
    }
};

}  // namespace

TEST_F(QuadDrawer, CoversBothEndsAndSlopesFromTopToBottom) {
    Make().Draw({2, 3, 4, 7, 10, 14, nullptr, false, 77});
    EXPECT_EQ(Drawn(), 8u);
    // Four rows: steps of one.
    for (int row = 4; row < 8; ++row) {
        EXPECT_THAT(ColumnsOf(row), ElementsAre(2, 3));
        EXPECT_EQ(depths[size_t(row * kSize + 2)], 10 + float(row - 4));
        EXPECT_EQ(owners[size_t(row * kSize + 3)], 77u);
    }
    EXPECT_EQ(owners[0], 0u);
}

TEST_F(QuadDrawer, OnlyNearerPixelsAreReplaced) {
    TQuadDrawer drawer = Make();
    drawer.Draw({0, 1, 0, 0, 5, 5, nullptr, false, 1});
    drawer.Draw({1, 2, 0, 0, 5, 5, nullptr, false, 2});
    drawer.Draw({0, 0, 0, 0, 4, 4, nullptr, false, 3});
    EXPECT_EQ(owners[0], 3u);
    EXPECT_EQ(owners[1], 1u);  // equal depths stay
    EXPECT_EQ(owners[2], 2u);
}

TEST_F(QuadDrawer, AMapIsReadFromLeftToRightAndFromTheTopDown) {
    LeftPart map(0.5f);
    Make(false).Draw({0, 3, 0, 1, 1, 1, &map});
    // u = 0, 1/4, 2/4, 3/4; v = 1/2 in the first row, exactly 0 in the last.
    EXPECT_THAT(ColumnsOf(0), ElementsAre(0, 1));
    ASSERT_EQ(map.asked.size(), 8u);
    EXPECT_EQ(map.asked[0], (std::pair{0.f, 0.5f}));
    EXPECT_EQ(map.asked[3], (std::pair{0.75f, 0.5f}));
    EXPECT_EQ(map.asked[7], (std::pair{0.75f, 0.f}));
}

// Half a grey of any opacity lets a pixel be drawn.
TEST_F(QuadDrawer, AMapsAlphaDoesNotCount) {
    class Pale : public Texmap {
    public:
        AColor EvalColor(const TexPoint&) const override { return {0.5f, 0.4f, 0.6f, 0.1f}; }
    } map;
    Make().Draw({0, 1, 0, 1, 1, 1, &map});
    EXPECT_EQ(Drawn(), 4u);
}

TEST_F(QuadDrawer, AMirroredQuadReadsItsMapBackwards) {
    LeftPart map(0.5f);
    Make(false).Draw({0, 3, 0, 0, 1, 1, &map, true});
    // The first column has u = 1 - 1/4, the last one 0.
    EXPECT_EQ(map.asked.front().first, 0.75f);
    EXPECT_EQ(map.asked.back().first, 0);
    EXPECT_THAT(ColumnsOf(0), ElementsAre(2, 3));
}

TEST_F(QuadDrawer, AQuadHalfOutsideSqueezesItsMapOntoTheRest) {
    LeftPart map(0.5f);
    Make(false).Draw({-4, 3, -2, 0, 1, 1, &map});
    // Four of eight columns are left, one of three rows: u = 0 to 3/4, v = 0.
    EXPECT_THAT(ColumnsOf(0), ElementsAre(0, 1));
    ASSERT_EQ(map.asked.size(), 4u);
    EXPECT_EQ(map.asked[1], (std::pair{0.25f, 0.f}));
}

TEST_F(QuadDrawer, QuadsBesideTheMapOrTurnedInsideOutAreLeftOut) {
    TQuadDrawer drawer = Make();
    for (TShadowQuad quad : {TShadowQuad{-3, -1, 0, 2},
                             {0, 2, -3, -1},
                             {8, 9, 0, 2},
                             {0, 2, 8, 9},
                             {3, 2, 0, 1},
                             {0, 1, 3, 2}})
        drawer.Draw(quad);
    EXPECT_EQ(Drawn(), 0u);
    drawer.Draw({-100000000, 100000000, -100000000, 100000000, 1, 1});
    EXPECT_EQ(Drawn(), 64u);
}

TEST_F(QuadDrawer, TheFirstQuadsGridServesAllQuadsOfAMap) {
    LeftPart map(0.5f);
    TQuadDrawer drawer = Make();
    drawer.Draw({0, 1, 0, 1, 9, 9, &map});  // a grid of 2 x 2
    EXPECT_EQ(map.asked.size(), 4u);
    drawer.Draw({0, 7, 4, 7, 9, 9, &map});
    EXPECT_EQ(map.asked.size(), 4u);
    EXPECT_THAT(ColumnsOf(4), ElementsAre(0, 1, 2, 3));
    drawer.Draw({0, 1, 0, 1, 1, 1, &map});
    EXPECT_EQ(map.asked.size(), 4u);
    LeftPart other(0.5f);
    drawer.Draw({6, 7, 0, 0, 9, 9, &other});
    EXPECT_EQ(other.asked.size(), 2u);
}

TEST_F(QuadDrawer, WithoutTheCacheEveryPixelAsks) {
    LeftPart map(2);
    TQuadDrawer drawer = Make(false);
    drawer.Draw({0, 1, 0, 1, 9, 9, &map});
    drawer.Draw({0, 1, 0, 1, 8, 8, &map});
    EXPECT_EQ(map.asked.size(), 8u);
    drawer.Draw({0, 1, 0, 1, 8, 8, &map});  // nothing is nearer
    EXPECT_EQ(map.asked.size(), 8u);
}

TEST_F(QuadDrawer, WithoutAnOwnerBufferOnlyDepthsAreDrawn) {
    TQuadDrawer drawer(depths, {}, kSize, true, 0);
    drawer.Draw({0, 1, 0, 1, 9, 9, nullptr, false, 5});
    EXPECT_EQ(Drawn(), 4u);
}
