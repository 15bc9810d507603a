// Items in the making: a column a field, a lane an item.
//
// The cells of a source become lanes, up to a few hundred at a time, and every step of the build
// (item_steps.h) is a loop over columns. A lane is never moved: one that a rule drops keeps its
// place and remembers which rule it was, and the lanes that are left go to the list at the end.
// Columns stay in the cache of their processor; a task owns one set of them and uses it again.
//
// Positions and directions are in the space of the scatter object, angles in radians.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "Dravin/engine/areas/areas.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item.h"
#include "Dravin/engine/specimen.h"

struct TItemDelta;

// Cells that a source gives at once, and lanes that steps work on where no cell has more.
inline constexpr size_t kCellsInBatch = 256;

// One column, aligned for vectors.
template <class T>
class TLane {
public:
    TLane() = default;
    explicit TLane(size_t size) { Resize(size); }
    // Values are not kept.
    void Resize(size_t size) {
        m_values.reset(new (std::align_val_t{64}) T[size]());
        m_size = size;
    }
    size_t Size() const { return m_size; }
    T* Data() { return m_values.get(); }
    const T* Data() const { return m_values.get(); }
    T& operator[](size_t k) { return m_values[k]; }
    const T& operator[](size_t k) const { return m_values[k]; }

private:
    struct Free {
        void operator()(T* values) const { operator delete[](values, std::align_val_t{64}); }
    };
    static_assert(std::is_trivially_destructible_v<T>);
    std::unique_ptr<T[], Free> m_values;
    size_t m_size = 0;
};

// A column of points, by component.
struct TPointLane {
    TLane<float> x, y, z;

    explicit TPointLane(size_t size) : x(size), y(size), z(size) {}
    Point3 operator[](size_t k) const { return {x[k], y[k], z[k]}; }
    void Set(size_t k, const Point3& p) { x[k] = p.x, y[k] = p.y, z[k] = p.z; }
    void Fill(const Point3& p) {
        std::fill_n(x.Data(), x.Size(), p.x);
        std::fill_n(y.Data(), y.Size(), p.y);
        std::fill_n(z.Data(), z.Size(), p.z);
    }
};

// What became of a lane: it lives, or a rule dropped it.
enum class TLaneFate : uint8_t {
    kAlive,
    kMap,
    kArea,
    kSurface,
    kAltitude,
    kSlope,
    kCamera,
    kFalloff,
    kEffect,
    kDisabled,  // its geometry is switched off; no rule counts it
    kDeleted,   // by hand; no rule counts it
    kReplaced,  // its cell is built again
};
// Counts a lane's fate in the statistics.
void CountFate(TLaneFate fate, TRejections& rejected);

struct TItemLanes {
    // groups: of the list that the items go to; columns that only some of them need stay empty.
    TItemLanes(size_t capacity, uint32_t groups, bool readsMaps);

    size_t capacity;
    size_t count = 0;

    // --- where a lane comes from
    TLane<uint32_t> cell;  // in the batch of cells
    TLane<uint32_t> seed;  // of the item; the draws add the object's
    TLane<int32_t> row;    // of the geometry list
    TLane<int16_t> element;
    TLane<uint8_t> stateFlags;
    TLane<const TSpecimen*> specimen;
    TLane<const TSpecimenElement*> source;
    TLane<TLaneFate> fate;
    TLane<const TItemOverrides*> overrides;  // what a program asked for; null: nothing
    TLane<const TItemDelta*> delta;          // its changes by hand; null: none

    // --- its draws (ItemRandoms); those that no setting asks for are not filled
    TLane<float> densityDraw;
    TPointLane randomTranslation, randomScale, rotation;
    TLane<float> random1, random2, random3;
    TLane<int32_t> randomInteger, randomSample;

    // --- place
    TPointLane position, storedPosition, normal;
    TPointLane reference;            // x axis of the source's frame
    TPointLane axisX, axisY, axisZ;  // rows of the item's frame
    TLane<float> zOffset;
    TLane<uint8_t> partial;
    std::vector<TBitArray> masks;  // of partial items; empty where there are none

    // --- on its surface
    TPointLane faceNormal;
    TLane<int32_t> face, surface;
    TLane<float> weight1, weight2;    // of the second and third corner
    std::vector<TLane<Point3>> uvws;  // kNumItemMaps columns where the build reads maps there

    // --- size
    TPointLane size;  // of the specimen, before the item's scale
    TPointLane scale, sizeFactor, externalScale, falloffScale;
    TLane<float> cameraScale, width, depth, height;
    TLane<float> collisionRadius, outerRadius, boundaryRadius, collisionHeight;

    // --- areas
    TLane<TAreaDistances> distances;  // distribution frame
    TLane<ItemBorders> borders;

    // --- looks
    TPointLane tint;
    TLane<float> tintBlend;
    TLane<uint8_t> mirrored, horizontalShadow, verticalShadow;
    TLane<int32_t> animation;
    TLane<Point2> lookAt, shadowDirection;

    // --- what it keeps of its source
    TLane<AColor> mapColor;
    TLane<Point3> mapCoordinates;
    TLane<ItemSource> from;  // where the list keeps it
    TLane<uint8_t> selected;

    // Lane k as an item before everything, of that specimen, which has an element.
    void Reset(size_t k, const TSpecimen& ofSpecimen);

    bool IsAlive(size_t k) const { return fate[k] == TLaneFate::kAlive; }
    void Drop(size_t k, TLaneFate why) { fate[k] = why; }
};

// Calls visit(k) for every lane that is left.
template <class Visit>
void ForEachAlive(const TItemLanes& lanes, const Visit& visit) {
    for (size_t k = 0; k < lanes.count; ++k)
        if (lanes.IsAlive(k)) visit(k);
}
