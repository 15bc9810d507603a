// Scenes drawn at random, and what has to hold in every one of them.
#include <cmath>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

// Draws for the scenes themselves.
class Dice {
public:
    explicit Dice(uint32_t seed) : m_random(seed * 7919 + 1) {}
    float Between(float low, float high) { return low + (high - low) * m_random.Random(); }
    int Roll(int low, int high) { return m_random.IRandom(low, high); }
    bool Once(int in) { return Roll(1, in) == 1; }

private:
    TNuRandom m_random;
};

// A closed line of 3 to 12 corners, often crossing itself, or an open one.
TAreaRow RandomRow(Dice& dice, int order) {
    TAreaRow row;
    row.settings.order = order;
    row.settings.exclude = order > 0 && !dice.Once(3);
    row.settings.bandWidth = dice.Between(0.3f, 3);
    PolyLine line;
    line.closed = !dice.Once(4);
    Point3 middle{dice.Between(-8, 8), dice.Between(-8, 8), 0};
    for (int i = dice.Roll(line.closed ? 3 : 2, 12); i > 0; --i)
        line.points.push_back(middle + Point3{dice.Between(-7, 7), dice.Between(-7, 7), 0});
    row.shape.lines = {std::move(line)};
    return row;
}

bool InPolygon(const std::vector<Point3>& points, const Point3& p) {
    bool inside = false;
    for (size_t i = 0; i < points.size(); ++i) {
        const Point3 &a = points[i], &b = points[(i + 1) % points.size()];
        if ((a.y <= p.y && p.y < b.y) || (b.y <= p.y && p.y < a.y))
            inside ^= a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y) > p.x;
    }
    return inside;
}

// Distance from p to the segments of an open line where its foot lies on one of them.
bool InBand(const std::vector<Point3>& points, float width, const Point3& p) {
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        double dx = points[i + 1].x - points[i].x, dy = points[i + 1].y - points[i].y;
        double length = std::hypot(dx, dy);
        double along = ((p.x - points[i].x) * dx + (p.y - points[i].y) * dy) / length;
        double across = ((p.y - points[i].y) * dx - (p.x - points[i].x) * dy) / length;
        if (along >= 0 && along <= length && std::abs(across) <= width) return true;
    }
    return false;
}

bool Covers(const TAreaRow& row, const Point3& p, float grow = 0) {
    const PolyLine& line = row.shape.lines[0];
    return line.closed ? InPolygon(line.points, p)
                       : InBand(line.points, row.settings.bandWidth + grow, p);
}

bool PassesOneOf(const std::vector<TAreaRow>& rows, const Point3& p) {
    for (size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].settings.exclude || !Covers(rows[i], p, 1e-3f)) continue;
        bool cut = false;
        for (size_t e = i + 1; e < rows.size(); ++e)
            cut |= rows[e].settings.exclude && Covers(rows[e], p, -1e-3f);
        if (!cut) return true;
    }
    return false;
}

TBuildInput AreaScene(Dice& dice) {
    TBuildInput input = GroundInput();
    input.surfaces.clear();
    input.surfaceBounds = {};
    AddSurface(input, SquareMesh(-40, -40, 40, 40));
    input.grid.unitsX = input.grid.unitsY = dice.Between(3, 20);
    input.grid.offsetX = dice.Between(-5, 5);
    input.displayLimit = std::numeric_limits<int32_t>::max();
    input.threads = dice.Roll(1, 4);
    for (int i = dice.Roll(1, 5); i > 0; --i)
        input.areas.push_back(RandomRow(dice, int(input.areas.size())));
    return input;
}

void ExpectSameItems(const BuiltItems& a, const BuiltItems& b) {
    ASSERT_EQ(a.items.size(), b.items.size());
    for (size_t i = 0; i < a.items.size(); ++i) {
        ASSERT_EQ(a.items[i].position, b.items[i].position);
        ASSERT_EQ(a.items[i].seed, b.items[i].seed);
        ASSERT_EQ(a.items[i].transform, b.items[i].transform);
        ASSERT_EQ(a.items[i].scale, b.items[i].scale);
        ASSERT_EQ(a.items[i].specimenIndex, b.items[i].specimenIndex);
    }
}

class RandomScenes : public testing::TestWithParam<uint32_t> {};

TEST_P(RandomScenes, ItemsStandInsideTheirAreasAndOutsideWhatExcludes) {
    Dice dice(GetParam());
    TBuildInput input = AreaScene(dice);
    for (const TDravinItem& item : Build(input).items)
        ASSERT_TRUE(PassesOneOf(input.areas, item.position))
            << item.position.x << " " << item.position.y;
}

TEST_P(RandomScenes, EveryCellInsideAPolygonHasItsItem) {
    Dice dice(GetParam() + 1000);
    TBuildInput input = AreaScene(dice);
    std::erase_if(input.areas, [](const TAreaRow& row) { return !row.shape.lines[0].closed; });
    if (input.areas.empty() || input.areas[0].settings.exclude) return;
    size_t expected = 0;
    double cell = double(input.grid.unitsX) / 10;
    for (int y = -200; y <= 200; ++y)
        for (int x = -200; x <= 200; ++x) {
            Point3 p{float(x * cell + double(input.grid.offsetX)), float(y * cell), 0};
            for (size_t i = 0; i < input.areas.size(); ++i) {
                if (input.areas[i].settings.exclude || !Covers(input.areas[i], p)) continue;
                bool cut = false;
                for (size_t e = i + 1; e < input.areas.size(); ++e)
                    cut |= input.areas[e].settings.exclude && Covers(input.areas[e], p);
                expected += !cut;
            }
        }
    EXPECT_EQ(Build(input).items.size(), expected);
}

// A hilly surface with rules, maps and draws of all kinds.
TBuildInput RuleScene(Dice& dice) {
    TBuildInput input = AreaScene(dice);
    Matrix3 tilt = Matrix3::RotationX(dice.Between(-0.6f, 0.6f)) *
                   Matrix3::RotationY(dice.Between(-0.6f, 0.6f));
    AddSurface(input, SquareMesh(-30, -30, 30, 30, dice.Between(-5, 5)), tilt);
    if (dice.Once(3)) input.areas.clear();
    input.grid.rotationRadians = dice.Once(2) ? dice.Between(-3, 3) : 0;
    input.directionPercent = dice.Between(-100, 100);
    input.altitude = {dice.Once(2), dice.Between(-6, 0), dice.Between(0, 6)};
    input.slope = {dice.Once(2), dice.Between(0, 0.3f), dice.Between(0.3f, 1)};
    input.specimens = {CubeSpecimen(30), CubeSpecimen(60)};
    input.specimens[1].colorId = {1, 0, 0};
    input.geometry.mode = dice.Roll(0, 2);
    input.geometry.clusterSize = 4;
    TTransformSettings& t = input.transforms;
    t.seed = uint32_t(dice.Roll(0, 100000));
    t.applyTranslation = dice.Once(2);
    t.applyRotation = t.applyScale = true;
    t.rotMaxDegrees = {20, 20, 360};
    input.collisions = dice.Once(2);
    t.radiusPercent = dice.Roll(50, 400);
    return input;
}

TEST_P(RandomScenes, AltitudeAndSlopeAreKept) {
    Dice dice(GetParam() + 2000);
    TBuildInput input = RuleScene(dice);
    for (const TDravinItem& item : Build(input).items) {
        ASSERT_TRUE(IsFinite(item.position) && IsFinite(item.fullTransform.row[0]));
        if (input.slope.limited) {
            ASSERT_GE(item.surfaceSlope, input.slope.min);
            ASSERT_LE(item.surfaceSlope, input.slope.max);
        }
        if (!input.altitude.limited) continue;
        ASSERT_GE(item.position.z, input.altitude.min - 1e-4f);
        ASSERT_LE(item.position.z, input.altitude.max + 1e-4f);
    }
}

TEST_P(RandomScenes, NoTwoItemsOverlapAfterCollisions) {
    Dice dice(GetParam() + 3000);
    TBuildInput input = RuleScene(dice);
    input.collisions = true;
    BuiltItems built = Build(input);
    if (input.areas.empty()) return;
    for (size_t a = 0; a < built.items.size(); ++a)
        for (size_t b = 0; b < a; ++b) {
            const TDravinItem &p = built.items[a], &q = built.items[b];
            float reach = p.collisionRadius + q.collisionRadius;
            ASSERT_GE(LengthSquared(p.position - q.position), reach * reach * (1 - 1e-5f));
        }
}

TEST_P(RandomScenes, AnyNumberOfThreadsGivesTheSameItems) {
    Dice dice(GetParam() + 4000);
    TBuildInput input = RuleScene(dice);
    input.threads = 1;
    BuiltItems one = Build(input);
    input.threads = dice.Roll(2, 16);
    ExpectSameItems(one, Build(input));
}

TEST_P(RandomScenes, WhatTheCameraDoesNotSeeIsMissingAndNothingElse) {
    Dice dice(GetParam() + 5000);
    TBuildInput input = RuleScene(dice);
    input.collisions = false;
    TViewVolume::Shape shape;
    shape.fovRadians = dice.Between(0.2f, 2);
    shape.far = dice.Between(5, 60);
    Matrix3 place = Matrix3::RotationX(dice.Between(0, 1.5f)) *
                    Matrix3::RotationZ(dice.Between(-3, 3)) *
                    Matrix3::Translation({dice.Between(-9, 9), dice.Between(-9, 9), 12});
    input.camera.valid = input.camera.limitActive = true;
    input.camera.view = TViewVolume(shape, place);
    // A translated item, or one that drops along the axis of a tilted surface, may leave a cell
    // outside the view for a place inside; cells outside are never looked at.
    input.transforms.applyTranslation = false;
    input.surfaces.pop_back();
    input.camera.limitActive = false;
    BuiltItems all = Build(input);
    input.camera.limitActive = true;
    BuiltItems seen = Build(input);
    std::vector<uint32_t> expected, found;
    for (const TDravinItem& item : all.items)
        if (input.camera.view.Contains(item.position - item.zOffset * item.normal))
            expected.push_back(item.seed);
    for (const TDravinItem& item : seen.items) found.push_back(item.seed);
    EXPECT_EQ(found, expected);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomScenes, testing::Range(1u, 61u));

}  // namespace
