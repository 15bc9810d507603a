// What holds for every scene: items stand where areas, surfaces, rules and cameras let them, none
// overlap after collisions, and neither threads nor rows that are switched off change one bit.
//
// The judge knows scenes from how they were made (RandomScene) and tests points and pairs one by
// one in double precision; it shares no code with the engine.
#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/item_fields.h"
#include "host/base/log.h"
#include "tests/Dravin/build/random_scene.h"

namespace {

constexpr uint32_t kScenes = 400;
constexpr double kDegrees = 0.017453292519943295;

// --- places
// -----------------------------------------------------------------------------------------

enum Where { kIn, kOut, kUnsure };

double ToSegment(Point2 a, Point2 b, double x, double y) {
    double dx = double(b.x) - a.x, dy = double(b.y) - a.y, l2 = dx * dx + dy * dy;
    double t = l2 > 0 ? ((x - a.x) * dx + (y - a.y) * dy) / l2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    return std::hypot(a.x + t * dx - x, a.y + t * dy - y);
}

Where InPolygon(const KnownRegion& region, double x, double y) {
    bool inside = false;
    double nearest = 1e30;
    for (size_t i = 0; i < region.points.size(); ++i) {
        Point2 a = region.points[i], b = region.points[(i + 1) % region.points.size()];
        nearest = std::min(nearest, ToSegment(a, b, x, y));
        if ((a.y <= y) != (b.y <= y) &&
            a.x + (double(b.x) - a.x) * (y - a.y) / (double(b.y) - a.y) > x)
            inside = !inside;
    }
    return nearest < region.blur ? kUnsure : inside ? kIn : kOut;
}

// A rectangle along every segment; inside one of them is inside.
Where InBand(const KnownRegion& region, double x, double y) {
    Where where = kOut;
    size_t count = region.points.size() - (region.closed ? 0 : 1);
    for (size_t i = 0; i < count; ++i) {
        Point2 a = region.points[i], b = region.points[(i + 1) % region.points.size()];
        double dx = double(b.x) - a.x, dy = double(b.y) - a.y, length = std::hypot(dx, dy);
        double along = ((x - a.x) * dx + (y - a.y) * dy) / length;
        double across = std::abs((x - a.x) * dy - (y - a.y) * dx) / length;
        double depth = std::min({along, length - along, region.size - across});
        if (depth > region.blur) return kIn;
        if (depth > -region.blur) where = kUnsure;
    }
    return where;
}

Where InRegion(const KnownRegion& region, double x, double y) {
    if (region.kind == KnownRegion::kPolygon) return InPolygon(region, x, y);
    if (region.kind == KnownRegion::kBand) return InBand(region, x, y);
    double depth = region.size - std::hypot(x - region.points[0].x, y - region.points[0].y);
    return depth > region.blur ? kIn : depth < -region.blur ? kOut : kUnsure;
}

Where InGroup(const KnownGroup& group, double x, double y) {
    bool inside = false;
    for (const KnownRegion& region : group.regions) {
        Where where = InRegion(region, x, y);
        if (where == kUnsure) return kUnsure;
        inside ^= where == kIn;
    }
    return inside ? kIn : kOut;
}

// --- judge
// ------------------------------------------------------------------------------------------

class Judge {
public:
    explicit Judge(const RandomScene& scene)
        : m_scene(scene), m_input(*scene.object->Build().Input()) {
        m_toWorld = scene.node->GetObjectTM(0);
    }

    bool ScattersOverPlane() const {
        return m_input.distributionMode == kDistImage && m_input.surfaceMode == kSurfaceXY;
    }
    bool StandsOnSurfaces() const {
        if (m_scene.surfaces.empty()) return false;
        if (m_input.distributionMode == kDistImage) return true;
        return m_input.surfaceMode == kSurfaceXY && m_input.linkToSurface;
    }

    // Whether some including area covers the item's place of birth, and no excluding one behind it
    // in the list does.
    bool MayGrow(const TDravinItem& item) const {
        Point3 born = item.storedPosition * m_toWorld;
        bool anyInclude = false;
        for (const KnownGroup& group : m_scene.groups) {
            if (group.exclude) continue;
            anyInclude = true;
            if (InGroup(group, born.x, born.y) != kOut && !IsExcluded(born, group.order) &&
                KeepsFromBorder(group, born, item.boundaryRadius))
                return true;
        }
        return !anyInclude && !IsExcluded(born, -1);
    }

    // Whether the item lies on a face whose altitude and slope the rules allow.
    bool ObeysSurfaces(const TDravinItem& item) const {
        Point3 place = item.position * m_toWorld;
        return std::any_of(m_scene.surfaces.begin(), m_scene.surfaces.end(),
                           [&](const KnownSurface& s) { return FaceAllows(s, item, place); });
    }

    bool IsSeen(const TDravinItem& item) const {
        const KnownCamera& camera = *m_scene.limit;
        Point3 p = item.position * m_toWorld * Inverse(camera.toWorld);
        // The sides run from the apex behind the camera to the corners of the far plane.
        double half = std::tan(camera.fovDegrees * kDegrees / 2) * camera.far;
        half += half * camera.widenPercent * 0.01;
        double share = (camera.apexBehind - p.z) / (camera.apexBehind + double(camera.far));
        double room = 1e-3 * (1 + std::abs(p.z));
        return -p.z <= camera.far + room && std::abs(p.x) <= share * half + room &&
               std::abs(p.y) <= share * half / camera.aspect + room;
    }

private:
    bool IsExcluded(const Point3& p, int order) const {
        return std::any_of(m_scene.groups.begin(), m_scene.groups.end(), [&](const KnownGroup& g) {
            return g.exclude && g.order > order && InGroup(g, p.x, p.y) == kIn;
        });
    }

    // Items that a boundary check discards reach over a border of their own area.
    static bool KeepsFromBorder(const KnownGroup& group, const Point3& p, double radius) {
        if (group.boundaryCheck != 1) return true;
        for (const KnownRegion& r : group.regions)
            for (size_t i = 0; r.kind == KnownRegion::kPolygon && i < r.points.size(); ++i)
                if (ToSegment(r.points[i], r.points[(i + 1) % r.points.size()], p.x, p.y) <
                    radius - r.blur)
                    return false;
        return true;
    }

    // Objects of scenes are turned about z only: slopes are the same in the world.
    bool FaceAllows(const KnownSurface& surface, const TDravinItem& item,
                    const Point3& place) const {
        for (const Face& face : surface.mesh->faces) {
            Point3 a = surface.mesh->verts[face.v[0]] * surface.toWorld;
            Point3 b = surface.mesh->verts[face.v[1]] * surface.toWorld;
            Point3 c = surface.mesh->verts[face.v[2]] * surface.toWorld;
            Point3 normal = Normalize(CrossProd(b - a, c - a));
            if (!LiesOn(a, b, c, normal, place)) continue;
            if (RulesAllow(item.position.z, std::acos(std::clamp(normal.z, -1.0f, 1.0f))))
                return true;
        }
        return false;
    }
    static bool LiesOn(const Point3& a, const Point3& b, const Point3& c, const Point3& normal,
                       const Point3& p) {
        constexpr float kRoom = 2e-3f;
        if (!(std::abs(DotProd(normal, p - a)) < kRoom)) return false;
        auto left = [&](const Point3& from, const Point3& to) {
            Point3 inward = CrossProd(normal, Normalize(to - from));
            return DotProd(inward, p - from) > -kRoom;
        };
        return left(a, b) && left(b, c) && left(c, a);
    }
    bool RulesAllow(double altitude, double slope) const {
        const TRangeRule &a = m_input.altitude, &s = m_input.slope;
        bool altitudeFits = !a.limited || (altitude > a.min - 1e-3 && altitude < a.max + 1e-3);
        bool slopeFits = !s.limited || (slope > s.min - 1e-3 && slope < s.max + 1e-3);
        return altitudeFits && slopeFits;
    }

    const RandomScene& m_scene;
    const TBuildInput& m_input;
    Matrix3 m_toWorld;
};

// --- builds
// -----------------------------------------------------------------------------------------

std::vector<TDravinItem> Build(RandomScene& scene, int threads = 1) {
    TBuildFlags flags;
    flags.noMesh = true;
    flags.forceThreads = threads;
    scene.object->Build().BuildMesh(0, flags);
    const TDravinItemList& list = scene.object->Build().Items();
    std::vector<TDravinItem> items;
    for (size_t i = 0; i < list.Count(); ++i) items.push_back(list.Item(i));
    return items;
}

// The bits of all fields of all items.
std::string BitsOf(const std::vector<TDravinItem>& items) {
    std::string bits;
    float floats[64];
    int32_t ints[64];
    for (const TDravinItem& item : items)
        for (const ItemField& field : ItemFields()) {
            if (field.getText) bits += field.getText(item);
            size_t size = sizeof(float) * size_t(field.NumValues());
            if (field.getFloats) field.getFloats(item, floats);
            if (field.getInts) field.getInts(item, ints);
            if (field.getFloats) bits.append(reinterpret_cast<const char*>(floats), size);
            if (field.getInts) bits.append(reinterpret_cast<const char*>(ints), size);
        }
    return bits;
}

std::string BitsOfScene(uint32_t seed, bool disabledFirst, bool disabledLast) {
    SeedChoices choices(seed);
    RandomScene scene(choices, false, disabledFirst);
    if (disabledLast) scene.AddDisabledArea();
    return BitsOf(Build(scene));
}

size_t CountOverlaps(const std::vector<TDravinItem>& items) {
    size_t overlaps = 0;
    auto center = [](const TDravinItem& i) { return i.position + Point3{0, 0, i.collisionHeight}; };
    for (size_t a = 0; a < items.size(); ++a)
        for (size_t b = 0; b < a; ++b) {
            double reach = double(items[a].collisionRadius) + items[b].collisionRadius;
            overlaps += Length(center(items[a]) - center(items[b])) < reach * (1 - 1e-5);
        }
    return overlaps;
}

bool HaveExtent(const std::vector<TDravinItem>& items) {
    Box3 box;
    for (const TDravinItem& item : items) box += item.position;
    return box.Width().x > 0 && box.Width().y > 0;
}

class RandomScenes : public testing::Test {
protected:
    LogSink oldSink;
    void SetUp() override {
        oldSink = SetLogSink([](LogKind, const std::string&) {});
    }
    void TearDown() override { SetLogSink(oldSink); }
};

}  // namespace

TEST_F(RandomScenes, ItemsGrowInsideTheirAreasOnly) {
    size_t judged = 0, withAreas = 0;
    for (uint32_t seed = 1; seed <= kScenes; ++seed) {
        SeedChoices choices(seed);
        RandomScene scene(choices, false);
        std::vector<TDravinItem> items = Build(scene);
        if (!scene.object->Build().Input() || !Judge(scene).ScattersOverPlane()) continue;
        Judge judge(scene);
        for (const TDravinItem& item : items)
            ASSERT_TRUE(judge.MayGrow(item))
                << "scene " << seed << ", born at " << item.storedPosition.x << ", "
                << item.storedPosition.y << " of " << items.size();
        judged += items.size();
        withAreas += !items.empty() && !scene.groups.empty();
    }
    EXPECT_GT(judged, 50000u);
    EXPECT_GT(withAreas, 100u);
}

TEST_F(RandomScenes, ItemsStandOnSurfacesThatTheRulesAllow) {
    size_t judged = 0, limited = 0;
    for (uint32_t seed = 1; seed <= kScenes; ++seed) {
        SeedChoices choices(seed);
        RandomScene scene(choices, false);
        std::vector<TDravinItem> items = Build(scene);
        if (!scene.object->Build().Input() || !Judge(scene).StandsOnSurfaces()) continue;
        Judge judge(scene);
        for (size_t i = 0; i < items.size(); i += 7)
            ASSERT_TRUE(judge.ObeysSurfaces(items[i]))
                << "scene " << seed << ", at " << items[i].position.x << ", " << items[i].position.y
                << ", " << items[i].position.z;
        judged += items.size();
        const TBuildInput& input = *scene.object->Build().Input();
        limited += !items.empty() && (input.altitude.limited || input.slope.limited);
    }
    EXPECT_GT(judged, 30000u);
    EXPECT_GT(limited, 20u);
}

TEST_F(RandomScenes, ALimitingCameraSeesEveryItem) {
    size_t judged = 0, scenes = 0;
    for (uint32_t seed = 1; seed <= 2 * kScenes; ++seed) {
        SeedChoices choices(seed);
        RandomScene scene(choices, false);
        if (!scene.limit) continue;
        std::vector<TDravinItem> items = Build(scene);
        for (const TDravinItem& item : items)
            ASSERT_TRUE(Judge(scene).IsSeen(item)) << "scene " << seed;
        judged += items.size();
        ++scenes;
    }
    EXPECT_GT(judged, 5000u);
    EXPECT_GT(scenes, 50u);
}

TEST_F(RandomScenes, NoItemsOverlapAfterCollisions) {
    size_t removed = 0, scenes = 0;
    for (uint32_t seed = 1; seed <= kScenes; ++seed) {
        SeedChoices choices(seed);
        RandomScene scene(choices, false);
        scene.Set("collision", true);
        std::vector<TDravinItem> items = Build(scene);
        if (!HaveExtent(items)) continue;
        ASSERT_EQ(CountOverlaps(items), 0u) << "scene " << seed;
        removed += size_t(scene.object->Build().Statistics().discardedCount);
        ++scenes;
    }
    EXPECT_GT(removed, 20000u);
    EXPECT_GT(scenes, 150u);
}

TEST_F(RandomScenes, ThreadsChangeNoBit) {
    size_t judged = 0;
    for (uint32_t seed = 1; seed <= kScenes; seed += 3) {
        SeedChoices choices(seed);
        RandomScene scene(choices, false);
        std::string one = BitsOf(Build(scene));
        for (int threads : {2, 3, 8, 16})
            ASSERT_TRUE(BitsOf(Build(scene, threads)) == one) << "scene " << seed;
        judged += !one.empty();
    }
    EXPECT_GT(judged, 60u);
}

TEST_F(RandomScenes, RowsThatAreSwitchedOffChangeNoBit) {
    size_t judged = 0;
    for (uint32_t seed = 2; seed <= kScenes; seed += 3) {
        std::string plain = BitsOfScene(seed, false, false);
        ASSERT_TRUE(BitsOfScene(seed, true, false) == plain) << "scene " << seed;
        ASSERT_TRUE(BitsOfScene(seed, false, true) == plain) << "scene " << seed;
        judged += !plain.empty();
    }
    EXPECT_GT(judged, 60u);
}
