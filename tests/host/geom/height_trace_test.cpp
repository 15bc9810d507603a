#include "host/geom/height_trace.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/host/geom/random_heights.h"

namespace {

using Vector = std::array<double, 3>;

Vector Minus(const Vector& a, const Vector& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vector Cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector Wide(const Point3& p) { return {p.x, p.y, p.z}; }

struct Found {
    double distance;
    size_t face;
    double weight1, weight2;
};

// One triangle by Cramer's rule (Moeller and Trumbore 1997).
std::optional<Found> HitTriangle(const HeightRay& ray, const std::array<Point3, 3>& p) {
    Vector a = Wide(p[0]), e1 = Minus(Wide(p[1]), a), e2 = Minus(Wide(p[2]), a);
    Vector h = Cross(ray.direction, e2), s = Minus(ray.origin, a), q = Cross(s, e1);
    double det = Dot(e1, h), u = Dot(s, h) / det, v = Dot(ray.direction, q) / det;
    double distance = Dot(e2, q) / det;
    bool inside = u >= 0 && v >= 0 && u + v <= 1;
    if (!inside || !(distance >= ray.near && distance <= ray.far)) return std::nullopt;
    return Found{distance, 0, u, v};
}

// The nearest of all triangles, one by one.
std::optional<Found> Nearest(const HeightField& field, const HeightRay& ray) {
    std::optional<Found> best;
    for (size_t f = 0; f < field.NumFaces(); ++f)
        if (auto hit = HitTriangle(ray, field.Corners(field.TriangleOf(f))))
            if (!best || hit->distance < best->distance) best = hit, best->face = f;
    return best;
}

std::optional<HeightRayHit> First(const HeightField& field, const HeightRay& ray) {
    std::optional<HeightRayHit> found;
    TraceHeights(field, ray, [&](const HeightRayHit& hit) {
        found = hit;
        return true;
    });
    return found;
}

HeightRay RandomRay(std::mt19937& random, const HeightField& field) {
    std::uniform_real_distribution<double> unit(-1, 1);
    Point2 size = field.Size();
    HeightRay ray;
    ray.origin = {unit(random) * size.x, unit(random) * size.y, unit(random) * 12};
    ray.direction = {unit(random) * size.x, unit(random) * size.y, unit(random) * 8};
    if (random() % 8 == 0) ray.direction[0] = 0;
    if (random() % 8 == 0) ray.direction[1] = 0;
    if (random() % 8 == 0) ray.direction[2] = 0;
    if (ray.direction == Vector{}) ray.direction[2] = -1;
    return ray;
}

}  // namespace

// The two ways disagree only where a ray passes an edge within rounding, which random rays do not.
TEST(HeightTrace, AgreesWithEveryTriangle) {
    std::mt19937 random(7);
    int hits = 0, rays = 0;
    for (double holes : {0.0, 0.1})
        for (HeightField& field : std::array{RandomHeights(40, 23, {30, 20}, holes, 3),
                                             RandomHeights(5, 90, {4, 200}, holes, 4)})
            for (int i = 0; i < 3000; ++i, ++rays) {
                HeightRay ray = RandomRay(random, field);
                auto expected = Nearest(field, ray);
                auto hit = First(field, ray);
                ASSERT_EQ(bool(hit), bool(expected)) << i;
                if (!hit) continue;
                ++hits;
                EXPECT_EQ(field.FaceNumber(hit->triangle), expected->face);
                EXPECT_NEAR(hit->distance, expected->distance, 1e-9);
                EXPECT_NEAR(hit->weight1, expected->weight1, 1e-6);
                EXPECT_NEAR(hit->weight2, expected->weight2, 1e-6);
            }
    EXPECT_GT(hits, rays / 20);
}

TEST(HeightTrace, NothingSlipsThroughVerticesAndEdges) {
    HeightField field = RandomHeights(33, 33, {10, 7}, 0, 11);
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(-1, 1);
    for (uint32_t j = 1; j < 32; ++j)
        for (uint32_t i = 1; i < 32; ++i)
            for (int k = 0; k < 5; ++k) {
                // From high above, steeper than any slope, to a vertex or to the middle of a side.
                double part = k % 2 ? 0.5 : 0;
                Vector target{field.X(i), field.Y(j) + part * (field.Y(j + 1) - field.Y(j)),
                              field.Height(i, j) +
                                  part * (double(field.Height(i, j + 1)) - field.Height(i, j))};
                Vector from{unit(random), unit(random), 4000};
                HeightRay ray{from, Minus(target, from)};
                auto hit = First(field, ray);
                ASSERT_TRUE(hit);
                ASSERT_LE(hit->distance, 1 + 1e-9);
            }
}

TEST(HeightTrace, VerticalRaysHitBothSides) {
    HeightField field(2, 2, {2, 2}, std::vector<float>{0, 2, 1, 5});
    auto down = First(field, {{0.5, -0.5, 10}, {0, 0, -2}});
    ASSERT_TRUE(down);
    EXPECT_EQ(down->triangle, (HeightTriangle{0, 0, false}));
    // On a(-1, -1, 0), b(1, -1, 2), c(1, 1, 5) the weights are 1/4, 1/2, 1/4: z = 2.25.
    EXPECT_DOUBLE_EQ(down->distance, (10 - 2.25) / 2);
    EXPECT_DOUBLE_EQ(down->weight1, 0.5);
    EXPECT_DOUBLE_EQ(down->weight2, 0.25);
    EXPECT_TRUE(First(field, {{0.5, -0.5, -3}, {0, 0, 1}}));
    EXPECT_FALSE(First(field, {{0.5, -0.5, -3}, {0, 0, -1}}));
    EXPECT_FALSE(First(field, {{0.5, -0.5, 10}, {0, 0, -2}, 0, 3}));
}

TEST(HeightTrace, HolesLetRaysThrough) {
    // Without the sample in the middle of four cells only the triangles at two corners are left.
    std::vector<float> heights(9, 0);
    heights[4] = std::numeric_limits<float>::quiet_NaN();
    HeightField field(3, 3, {2, 2}, heights);
    ASSERT_EQ(field.NumFaces(), 2u);
    EXPECT_FALSE(First(field, {{0.1, 0.2, 1}, {0, 0, -1}}));
    EXPECT_FALSE(First(field, {{-0.2, 0.1, 1}, {0, 0, -1}}));
    EXPECT_TRUE(First(field, {{0.9, -0.8, 1}, {0, 0, -1}}));
    EXPECT_TRUE(First(field, {{-0.8, 0.9, -1}, {0, 0, 1}}));
    // Down through the hole and on below what is left beyond it.
    EXPECT_FALSE(First(field, {{-0.9, -0.9, 1}, {1, 0.5, -1}}));
    EXPECT_FALSE(First(field, {{0.1, 0.2, 0.1}, {1, -1.1, -0.5}}));
}

TEST(HeightTrace, RefusedHitsGoOn) {
    HeightField field = RandomHeights(60, 60, {50, 50}, 0, 21);
    HeightRay ray{{-25, -24, 0.1}, {1, 0.97, 0}};
    std::vector<double> distances;
    EXPECT_FALSE(TraceHeights(field, ray, [&](const HeightRayHit& hit) {
        distances.push_back(hit.distance);
        return false;
    }));
    EXPECT_GT(distances.size(), 4u);
    EXPECT_TRUE(std::is_sorted(distances.begin(), distances.end()));
    size_t triangles = 0;
    for (size_t f = 0; f < field.NumFaces(); ++f)
        triangles += bool(HitTriangle(ray, field.Corners(field.TriangleOf(f))));
    EXPECT_EQ(distances.size(), triangles);
}

TEST(HeightTrace, RaysThatAreNoNumbersHitNothing) {
    HeightField field = RandomHeights(20, 20, {10, 10}, 0, 1);
    for (size_t axis = 0; axis < 3; ++axis)
        for (double bad : {std::nan(""), HUGE_VAL}) {
            HeightRay place{{0, 0, 50}, {0.1, 0.1, -1}}, way = place;
            place.origin[axis] = bad, way.direction[axis] = bad;
            EXPECT_FALSE(First(field, place));
            EXPECT_FALSE(First(field, way));
        }
}

TEST(HeightTrace, PlainsAreHit) {
    HeightField field(17, 9, {100, 100}, std::vector<float>(17 * 9, 5));
    auto hit = First(field, {{3, 4, 6}, {1, 1, -1}});
    ASSERT_TRUE(hit);
    EXPECT_DOUBLE_EQ(hit->distance, 1);
    EXPECT_FALSE(First(field, {{3, 4, 6}, {1, 1, 0}}));
}
