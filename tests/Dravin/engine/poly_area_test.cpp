#include "Dravin/engine/areas/poly_area.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"

namespace {

// A ring of n corners whose radius wobbles: concave, edges of all directions.
std::vector<Point2> Star(size_t n, TNuRandom& random) {
    std::vector<Point2> corners;
    for (size_t i = 0; i < n; ++i) {
        double angle = 2 * 3.14159265358979 * double(i) / double(n);
        float r = 50 + 40 * random.Random();
        corners.push_back({r * float(std::cos(angle)), r * float(std::sin(angle))});
    }
    return corners;
}

Point2 AnyPoint(TNuRandom& random) {
    return {random.Random() * 200 - 100, random.Random() * 200 - 100};
}

bool InsideOneByOne(const std::vector<Point2>& c, Point2 p) {
    bool inside = false;
    for (size_t i = 0; i < c.size(); ++i) {
        Point2 a = c[i], b = c[(i + 1) % c.size()];
        bool spans = (a.y <= p.y && p.y < b.y) || (b.y <= p.y && p.y < a.y);
        if (spans && a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y) > p.x) inside = !inside;
    }
    return inside;
}

double DistanceToSegment(Point2 a, Point2 b, Point2 p) {
    double dx = double(b.x) - a.x, dy = double(b.y) - a.y, l2 = dx * dx + dy * dy;
    double t = l2 > 0 ? ((double(p.x) - a.x) * dx + (double(p.y) - a.y) * dy) / l2 : 0;
    t = std::min(1.0, std::max(0.0, t));
    return std::hypot(a.x + t * dx - p.x, a.y + t * dy - p.y);
}

bool OddCrossings(const TPolyArea& area, Point2 p) {
    std::vector<float> crossings;
    area.AppendRowCrossings(p.y, crossings);
    size_t right = 0;
    for (float x : crossings) right += x > p.x;
    return right % 2 == 1;
}

}  // namespace

TEST(PolyArea, ARowThroughACornerCountsItOnce) {
    // A diamond: the row y = 0 meets its left and right corner, which join two edges each.
    std::vector<Point2> diamond = {{-2, 0}, {0, -2}, {2, 0}, {0, 2}};
    TPolyArea area = TPolyArea::Polygon(diamond);
    EXPECT_TRUE(area.Inside({0, 0}));
    EXPECT_FALSE(area.Inside({-3, 0}));
    EXPECT_FALSE(area.Inside({3, 0}));
    // Rows through the lowest and the highest corner: closed below, open above.
    EXPECT_FALSE(area.Inside({-1, -2}));
    EXPECT_FALSE(area.Inside({-1, 2}));
}

TEST(PolyArea, ThousandsOfEdgesAnswerAsOneAtATime) {
    TNuRandom random(7);
    std::vector<Point2> corners = Star(3000, random);
    TPolyArea area = TPolyArea::Polygon(corners);
    for (int i = 0; i < 1000; ++i) {
        // Every fourth point stands on the row of a corner.
        Point2 p = AnyPoint(random);
        if (i % 4 == 0) p.y = corners[size_t(i) * 3].y;
        bool inside = InsideOneByOne(corners, p);
        ASSERT_EQ(area.Inside(p), inside) << p.x << " " << p.y;
        ASSERT_EQ(OddCrossings(area, p), inside) << p.x << " " << p.y;
    }
}

TEST(PolyArea, TheNearestBorderIsTheMinimumOverAllEdges) {
    TNuRandom random(8);
    std::vector<Point2> corners = Star(2000, random);
    TPolyArea area = TPolyArea::Polygon(corners);
    for (int i = 0; i < 300; ++i) {
        Point2 p = AnyPoint(random);
        double expected = 1e9;
        for (size_t e = 0; e < corners.size(); ++e)
            expected = std::min(
                expected, DistanceToSegment(corners[e], corners[(e + 1) % corners.size()], p));
        TPolyArea::TBorder border = area.NearestBorder(p);
        ASSERT_NEAR(border.distance, expected, 1e-4);
        ASSERT_NEAR(std::hypot(border.nearest.x - p.x, border.nearest.y - p.y), expected, 1e-4);
    }
}

TEST(PolyArea, MeasureIsTheEnclosedSurface) {
    std::vector<Point2> square = {{0, 0}, {0, 3}, {4, 3}, {4, 0}};  // clockwise
    EXPECT_EQ(TPolyArea::Polygon(square).Measure(), 12);
    std::vector<Point2> line = {{0, 0}, {10, 0}, {10, 0}, {10, 5}};
    EXPECT_FLOAT_EQ(float(TPolyArea::Band(line, false, 2).Measure()), 60);  // 4 wide, 15 long
}

TEST(PolyArea, NothingIsInsideLessThanATriangle) {
    EXPECT_TRUE(TPolyArea::Polygon({}).IsEmpty());
    std::vector<Point2> one = {{1, 1}}, two = {{0, 0}, {5, 5}};
    EXPECT_FALSE(TPolyArea::Polygon(one).Inside({1, 1}));
    EXPECT_FALSE(TPolyArea::Polygon(two).Inside({2, 2}));
    EXPECT_FALSE(TPolyArea::Band(one, false, 2).Inside({1, 1}));
}

TEST(PolyArea, ABandIsTheUnionOfItsRectangles) {
    std::vector<Point2> bend = {{0, 0}, {10, 0}, {10, 10}};
    TPolyArea band = TPolyArea::Band(bend, false, 1);
    EXPECT_TRUE(band.Inside({5, 0.9f}));
    EXPECT_FALSE(band.Inside({5, 1.1f}));
    EXPECT_FALSE(band.Inside({-0.1f, 0}));      // no cap at the end
    EXPECT_TRUE(band.Inside({9.5f, 0.5f}));     // in both rectangles
    EXPECT_FALSE(band.Inside({10.5f, -0.5f}));  // the outer wedge of the bend
    EXPECT_EQ(band.Bounds().max.y, 10);
    EXPECT_EQ(band.Bounds().max.x, 11);
    EXPECT_EQ(band.Bounds().min.y, -1);
}

TEST(PolyArea, RowsOfABandAgreeWithItsPoints) {
    TNuRandom random(9);
    std::vector<Point2> line;
    for (int i = 0; i < 200; ++i) line.push_back(AnyPoint(random));
    TPolyArea band = TPolyArea::Band(line, true, 1.5f);
    int inside = 0;
    for (int i = 0; i < 2000; ++i) {
        Point2 p = AnyPoint(random);
        inside += band.Inside(p);
        ASSERT_EQ(OddCrossings(band, p), band.Inside(p)) << p.x << " " << p.y;
    }
    EXPECT_GT(inside, 500);
}

TEST(PolyArea, BordersInsideABandAreItsSidesAndItsEnds) {
    std::vector<Point2> straight = {{0, 0}, {10, 0}, {20, 0}};
    TPolyArea band = TPolyArea::Band(straight, false, 3);
    TPolyArea::TBorder middle = band.NearestBorder({10, 1});
    EXPECT_FLOAT_EQ(middle.distance, 2);  // the seam of the two rectangles is no border
    EXPECT_EQ(middle.nearest, (Point2{10, 3}));
    EXPECT_FLOAT_EQ(band.NearestBorder({1, 0}).distance, 1);
    EXPECT_FLOAT_EQ(band.NearestBorder({19.5f, 0}).distance, 0.5f);
    EXPECT_FLOAT_EQ(band.NearestBorder({5, 7}).distance, 4);
    EXPECT_FLOAT_EQ(band.NearestBorder({-3, 7}).distance, 5);  // to the corner (0, 3)
}

TEST(PolyArea, FarFromTheOriginItStillAnswers) {
    std::vector<Point2> square = {
        {1e6f, 1e6f}, {1e6f + 10, 1e6f}, {1e6f + 10, 1e6f + 10}, {1e6f, 1e6f + 10}};
    TPolyArea area = TPolyArea::Polygon(square);
    EXPECT_TRUE(area.Inside({1e6f + 5, 1e6f + 5}));
    EXPECT_FLOAT_EQ(area.NearestBorder({1e6f + 5, 1e6f + 2}).distance, 2);
    EXPECT_FALSE(area.Inside({0, 0}));
}

TEST(PolyArea, EveryPointOfACellAgreesWithItsEdges) {
    // Rows and columns of points through an outline with long, short, flat and steep edges.
    TNuRandom random(10);
    for (float offset : {0.0f, 3000.0f, 2e6f}) {
        std::vector<Point2> corners = Star(400, random);
        corners.insert(corners.end(), {{120, 0}, {120, 0}, {-130, 0.001f}, {0, -140}});
        for (Point2& p : corners) p = p + Point2{offset, -offset};
        TPolyArea area = TPolyArea::Polygon(corners);
        for (int i = 0; i < 4000; ++i) {
            Point2 p = AnyPoint(random) + Point2{offset, -offset};
            if (i % 3 == 0) p.y = corners[size_t(i) % corners.size()].y;
            if (i % 5 == 0) p.x = corners[size_t(i) % corners.size()].x;
            ASSERT_EQ(area.Inside(p), InsideOneByOne(corners, p)) << p.x << " " << p.y;
        }
    }
}

TEST(PolyArea, EdgesThatAllCrossEveryRowStillAnswer) {
    // A zigzag whose edges all run from bottom to top.
    std::vector<Point2> zigzag;
    for (int i = 0; i < 2000; ++i) zigzag.push_back({float(i) * 0.1f, i % 2 ? 100.0f : -100.0f});
    TPolyArea area = TPolyArea::Polygon(zigzag);
    TNuRandom random(11);
    for (int i = 0; i < 1000; ++i) {
        Point2 p = AnyPoint(random) * 1.5f + Point2{100, 0};
        ASSERT_EQ(area.Inside(p), InsideOneByOne(zigzag, p)) << p.x << " " << p.y;
    }
}

TEST(PolyArea, ABorderOutOfReachIsNeverTheNearest) {
    TNuRandom random(12);
    std::vector<Point2> corners = Star(50, random);
    TPolyArea area = TPolyArea::Polygon(corners);
    int beyond = 0;
    for (int i = 0; i < 1000; ++i) {
        Point2 p = AnyPoint(random) * 4;
        float reach = random.Random() * 300;
        bool within = area.BorderMayBeWithin(p, reach);
        EXPECT_TRUE(within || area.NearestBorder(p).distance > reach) << p.x << " " << p.y;
        beyond += !within;
    }
    EXPECT_GT(beyond, 100);
}

TEST(PolyArea, ABandOfEndlessWidthIsEmpty) {
    std::vector<Point2> line = {{0, 0}, {10, 0}};
    for (float width : {std::numeric_limits<float>::infinity(), 1e30f})
        EXPECT_TRUE(TPolyArea::Band(line, false, width).IsEmpty()) << width;
}
