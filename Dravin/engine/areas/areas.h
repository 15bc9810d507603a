// Where items may grow: include regions and what cuts holes into them.
//
// Rows of the area list come as shapes in object space with their settings. BuildAreas lays them
// into the plane of the distribution: every outermost curve of an including row starts a group of
// its own, and the curves nested in it join that group, where the even-odd rule turns them into
// holes and islands. Excluding rows make groups of the same kind; one acts on the include groups
// that stand before it in the list. Groups never cancel each other.
//
// TAreaTest answers for one include group, point by point or a row of points at a time. Everything
// here is read-only once built and shared by threads.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/engine/areas/footprint_area.h"
#include "Dravin/engine/areas/poly_area.h"
#include "Dravin/engine/falloff_curve.h"
#include "Dravin/engine/grid.h"
#include "Dravin/engine/map_sampler.h"
#include "Dravin/engine/transforms.h"
#include "host/geom/poly_line.h"

// Widths and ranges at or below it are off.
inline constexpr float kSmallestFalloff = 0.0001f;

// What items of an area may land on.
struct TSurfaceFilter {
    std::vector<uint8_t> surfaces;  // one flag a surface of the input; empty: the topmost of all
    // By material id of faces; ids behind the last have none. Empty: any. A surface whose topmost
    // face has another id is passed over as a whole.
    std::vector<uint8_t> materials;

    bool HasSurface(size_t s) const { return surfaces.empty() || surfaces[s]; }
    bool HasMaterial(int id) const {
        return materials.empty() || (size_t(id) < materials.size() && materials[size_t(id)]);
    }
};

// Settings of one row of the area list, shared by everything that is made of it.
struct TAreaSettings {
    int order = 0;  // position in the list; -1 for ground that no row stands for
    bool exclude = false;
    float bandWidth = 10;               // half-width of the bands of open lines
    TGridArea grid;                     // size and threshold of the map, percent
    const IMapSampler* map = nullptr;   // instead of the object's texture; null: none
    float densityFalloffPercent = 100;  // of the ranges of TAreaFalloffs
    float scaleFalloffPercent = 100;
    bool invertFalloff = false;
    std::optional<std::string> geometry;  // ids of the rows that may be used; none: all
    TItemArea item;
    TSurfaceFilter surfaces;  // that items may land on

    bool alwaysFades = false;  // footprints fade whatever the width

    bool HasFalloffBand() const { return alwaysFades || bandWidth > kSmallestFalloff; }
};

// A row with its outlines.
struct TAreaRow {
    TAreaSettings settings;
    PolyShape shape;         // object space
    bool forceOpen = false;  // closed lines count as bands, too
    bool oneGroup = false;   // all lines make one group, nested or not (outline of a surface)
    std::shared_ptr<const TFootprintArea> footprint;  // instead of the shape
};

// Regions that share a parity: what is inside an odd number of them is inside the group.
struct TAreaGroup {
    TAreaSettings settings;
    std::vector<TPolyArea> areas;
    std::shared_ptr<const TFootprintArea> footprint;  // instead of the areas, in object space
    Matrix3 toObject;                                 // from the distribution frame
    Box3 bounds;                                      // distribution frame

    double Measure() const;
    bool Inside(Point2 p) const;
    // The nearest border of all areas; the limit and no place when none is nearer than it. cursors:
    // one an area.
    TPolyArea::TBorder NearestBorder(Point2 p, float limit, TSegmentCursor* cursors) const;

private:
    Point2 InObject(Point2 p) const {
        Point3 q = Point3{p.x, p.y, 0} * toObject;
        return {q.x, q.y};
    }
};

struct TAreas {
    std::vector<TAreaGroup> include, exclude;  // in the order of the list
    size_t numExcludeAreas = 0;                // curves in the exclude groups
};

// toFrame: from object space to the distribution frame. Points that are not finite, or out
// of all reach (kLargestFlatCoordinate), are left out.
TAreas BuildAreas(std::span<const TAreaRow> rows, const Matrix3& toFrame);

// For each line the index of the innermost closed line that it lies in, -1 for none; only closed
// lines nest.
std::vector<int> NestingParents(const PolyShape& shape);

// Falloffs at area borders; a curve that is null switches its falloff off.
struct TAreaFalloffs {
    const FalloffCurve* densityCurve = nullptr;
    const FalloffCurve* scaleCurve = nullptr;
    float densityInclude = 0, densityExclude = 0;  // ranges
    float scaleInclude = 0, scaleExclude = 0;
    bool heightOnly = false;     // the scale falloff changes only the item's height
    bool effectsActive = false;  // effect programs read the distances

    bool Any() const { return densityCurve || scaleCurve; }
};

// Distances of a point to the borders around it.
struct TAreaDistances {
    float include = kNoDistance, exclude = kNoDistance;
    Point2 includeNearest, excludeNearest;
    const TAreaSettings* excludeArea = nullptr;  // the nearest one
};

// One include group together with the exclude groups that act on it.
class TAreaTest {
public:
    // group: null for ground without outline, where every point is included and settings are those
    // of `ground`. All arguments outlive the test.
    TAreaTest(const TAreas& areas, const TAreaGroup* group, const TAreaSettings& ground);

    const TAreaSettings& Settings() const { return *m_settings; }
    bool Includes(Point2 p) const { return !m_group || m_group->Inside(p); }
    bool Excludes(Point2 p) const;
    bool Passes(Point2 p) const { return Includes(p) && !Excludes(p); }
    // cursors: of a caller whose points are neighbours; empty at first, for this test only. They
    // save time and change nothing.
    TAreaDistances Distances(Point2 p, std::vector<TSegmentCursor>& cursors) const;
    // Whether a row's test leaves footprints to be asked point by point.
    bool HasFootprints() const;
    // Whether every point passes.
    bool IsOpen() const { return !m_group && m_excludes.empty(); }

    // The test along one row of points with rising x.
    class Row {
    public:
        explicit Row(const TAreaTest& test) : m_test(test) {}
        void Start(float y);
        // Whether (x, y) passes; x must not fall from call to call.
        bool Passes(float x) {
            if (x >= m_nextChange) Advance(x);
            return m_passes;
        }
        // No point left of this passes, as far as is known; the largest float when none is left.
        float NextInside() const;

    private:
        struct Crossings {
            std::vector<float> x;
            size_t passed = 0;
            bool IsInside(float at);
            // The crossing at which the answer changes; the largest float when none is left.
            float Next() const;
        };
        void Advance(float x);
        void MergeExcludes(float y);

        const TAreaTest& m_test;
        Crossings m_include, m_exclude;
        bool m_passes = false;  // up to the next change
        float m_nextChange = 0;
        std::vector<std::pair<float, float>> m_intervals;
        std::vector<float> m_group;
    };

private:
    const TAreaGroup* m_group;
    const TAreaSettings* m_settings;
    std::vector<const TAreaGroup*> m_excludes;
    size_t m_numAreas = 0;  // of the group and the excludes
};

// Whether a falloff drops an item; r is its draw.
bool IncludeFalloffRejects(const TAreaFalloffs& falloffs, const TAreaSettings& area,
                           const TAreaDistances& distances, float r);
bool ExcludeFalloffRejects(const TAreaFalloffs& falloffs, const TAreaDistances& distances, float r);
// Factor on an item's scale, in [0, 1]. The scale curve exists.
float AreaScaleFalloff(const TAreaFalloffs& falloffs, const TAreaSettings& area,
                       const TAreaDistances& distances);
