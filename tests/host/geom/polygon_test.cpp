#include "host/geom/polygon.h"

#include <cmath>

#include <gtest/gtest.h>

namespace {

// Sum of the signed areas above the plane of z; equals the polygon's for a proper triangulation in
// which no triangle lies outside or is turned round.
float SignedArea(std::span<const Point3> p, const std::vector<Triple>& triangles, bool absolute) {
    float sum = 0;
    for (const Triple& t : triangles) {
        float z = CrossProd(p[t[1]] - p[t[0]], p[t[2]] - p[t[0]]).z / 2;
        sum += absolute ? std::abs(z) : z;
    }
    return sum;
}

}  // namespace

TEST(Polygon, QuadIsAFanWithHiddenDiagonal) {
    std::vector<Point3> p{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    std::vector<Triple> triangles;
    TriangulatePolygon(p, triangles);
    ASSERT_EQ(triangles, (std::vector<Triple>{{0, 1, 2}, {0, 2, 3}}));
    EXPECT_EQ(PolygonEdgeFlags(triangles[0], 4), Face::kEdge0 | Face::kEdge1);
    EXPECT_EQ(PolygonEdgeFlags(triangles[1], 4), Face::kEdge1 | Face::kEdge2);
    EXPECT_EQ(PolygonEdgeFlags({0, 1, 2}, 3), Face::kAllEdges);
}

TEST(Polygon, ConcaveShapesAreCutInside) {
    std::vector<std::vector<Point3>> shapes{
        {{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {3, 1, 0}},  // arrow head
        {{2, 1, 0}, {0, 0, 0}, {4, 0, 0}, {4, 4, 0}},  // reflex start
        {{0, 0, 0}, {3, 0, 0}, {3, 3, 0}, {2, 3, 0}, {2, 1, 0}, {1, 1, 0}, {1, 3, 0}, {0, 3, 0}}};
    for (const auto& p : shapes) {
        std::vector<Triple> triangles, fan;
        TriangulatePolygon(p, triangles);
        ASSERT_EQ(triangles.size(), p.size() - 2);
        for (uint32_t i = 1; i + 1 < p.size(); ++i) fan.push_back({0, i, i + 1});
        float area = SignedArea(p, fan, false);
        EXPECT_FLOAT_EQ(SignedArea(p, triangles, true), area);
        EXPECT_FLOAT_EQ(SignedArea(p, triangles, false), area);
    }
}

TEST(Polygon, DegenerateAndCrossingPolygonsEnd) {
    std::vector<std::vector<Point3>> shapes{
        std::vector<Point3>(6),
        {{0, 0, 0}, {2, 2, 0}, {2, 0, 0}, {0, 2, 0}, {-1, 5, 0}},
        {{0, 0, 0}, {1, 0, 0}, {NAN, 0, 0}, {0, 1, 0}}};
    for (const auto& p : shapes) {
        std::vector<Triple> triangles;
        TriangulatePolygon(p, triangles);
        EXPECT_EQ(triangles.size(), p.size() - 2);
    }
}

TEST(Polygon, ManyCornersBecomeAFan) {
    std::vector<Point3> p;
    for (int i = 0; i < 200000; ++i) p.push_back({float(i), float(i % 2), 0});
    std::vector<Triple> triangles;
    TriangulatePolygon(p, triangles);
    EXPECT_EQ(triangles.size(), p.size() - 2);
    EXPECT_EQ(triangles[7], (Triple{0, 8, 9}));
}
