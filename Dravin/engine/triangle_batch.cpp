// Hits of many places at once: the same comparisons as CellHit, in loops of one kind each, without
// branches that depend on where the faces happen to lie.
#include <array>
#include <bit>
#include <cstring>

#include "Dravin/engine/triangle_surface.h"

namespace {

constexpr size_t kPlaces = 256;        // in a batch
constexpr size_t kRoom = 4 * kPlaces;  // for faces that wait for their test
constexpr uint32_t kUsualFaces = 3;    // whose box holds a place

// No byte uses its highest bit: set in the place's, it is what a byte of the box may borrow from,
// and it is gone where the box's byte is larger. Bits of the eight boxes that hold the place.
uint32_t BoxesThatHold(const TCellBox* boxes, const TCellBox& place) {
    static_assert(sizeof(TCellBox) == 4);
    constexpr uint64_t kHighest = 0x8080808080808080u, kOfOne = 0x80808080u;
    uint64_t p = (std::bit_cast<uint32_t>(place) * uint64_t{0x100000001u}) | kHighest;
    uint32_t held = 0;
    for (uint32_t i = 0; i < 8; i += 2) {
        uint64_t two;
        std::memcpy(&two, boxes + i, sizeof two);
        uint64_t lent = (p - two) & kHighest;
        held |= uint32_t((lent & 0xFFFFFFFFu) == kOfOne) << i;
        held |= uint32_t(lent >> 32 == kOfOne) << (i + 1);
    }
    return held;
}

}  // namespace

// Places on their way to their hits.
class TPlaceBatch {
public:
    explicit TPlaceBatch(const TTriangleSurface& surface) : m_s(surface) {}

    // As many as kPlaces.
    void Hit(std::span<const Point2> places, std::span<TSurfHit> hits) {
        std::fill_n(m_face.begin(), places.size(), -1);
        std::fill_n(m_z.begin(), places.size(), kLowestHit);
        for (size_t i = 0; i < places.size(); ++i) CollectFaces(places, i);
        TestFaces(places);
        for (size_t i = 0; i < places.size(); ++i)
            if (m_face[i] >= 0)
                hits[i] = m_s.MakeHit(places[i].x, places[i].y, uint32_t(m_face[i]), m_z[i]);
            else
                hits[i].face = -1;
    }

private:
    static constexpr uint32_t kSteps = TTriangleSurface::kStepsInCell;

    // The entries of place i's cell whose box holds it.
    void CollectFaces(std::span<const Point2> places, size_t i) {
        Point2 p = places[i];
        const Box2& b = m_s.m_bounds;
        if (!(p.x >= b.min.x && p.x <= b.max.x && p.y >= b.min.y && p.y <= b.max.y)) return;
        size_t x = m_s.StepX(p.x), y = m_s.StepY(p.y);
        size_t cell = y / kSteps * m_s.m_nx + x / kSteps;
        auto inX = uint8_t(x % kSteps), inY = uint8_t(y % kSteps);
        TCellBox place{inX, uint8_t(kSteps - 1 - inX), inY, uint8_t(kSteps - 1 - inY)};
        uint32_t entry = m_s.m_cellStart[cell], end = m_s.m_cellStart[cell + 1];
        do {
            if (m_waiting + 8 > kRoom) TestFaces(places);
            uint32_t held = BoxesThatHold(&m_s.m_cellBoxes[entry], place);
            if (end - entry < 8) held &= (1u << (end - entry)) - 1;
            for (uint32_t k = 0; k < kUsualFaces; ++k) held = Collect(held, entry, i);
            while (held != 0) held = Collect(held, entry, i);
            entry += 8;
        } while (entry < end);
    }
    // The first of the entries that bits stand for, if there is one; the bits without it.
    uint32_t Collect(uint32_t held, uint32_t first, size_t i) {
        m_entry[m_waiting] = first + uint32_t(std::countr_zero(held | 0x80000000u));
        m_place[m_waiting] = uint16_t(i);
        m_waiting += held != 0;
        return held & (held - 1);
    }

    // Faces of a place wait in their order, and so it is the first of equally high ones that
    // counts.
    void TestFaces(std::span<const Point2> places) {
        size_t covering = 0;
        for (size_t k = 0; k < m_waiting; ++k) {
            Point2 p = places[m_place[k]];
            uint32_t face = m_s.m_cellFaces[m_entry[k]];
            const TFaceRecord& record = m_s.m_records[face];
            m_place[covering] = m_place[k];
            m_covering[covering] = face;
            m_height[covering] = record.HeightAt(p.x, p.y);
            covering += record.Covers(p.x, p.y);
        }
        for (size_t k = 0; k < covering; ++k) {
            size_t i = m_place[k];
            bool higher = m_height[k] > m_z[i];
            m_z[i] = higher ? m_height[k] : m_z[i];
            m_face[i] = higher ? int32_t(m_covering[k]) : m_face[i];
        }
        m_waiting = 0;
    }

    const TTriangleSurface& m_s;
    size_t m_waiting = 0;
    // Collecting writes one entry behind those that are there. Entries wait with their places,
    // then the faces that cover them.
    std::array<uint32_t, kRoom + 1> m_entry, m_covering;
    std::array<uint16_t, kRoom + 1> m_place;
    std::array<float, kRoom + 1> m_height;
    std::array<int32_t, kPlaces> m_face;
    std::array<float, kPlaces> m_z;
};

void TTriangleSurface::TopHits(std::span<const Point2> places, std::span<TSurfHit> hits) const {
    TPlaceBatch batch(*this);
    for (size_t first = 0; first < places.size(); first += kPlaces) {
        size_t count = std::min(kPlaces, places.size() - first);
        batch.Hit(places.subspan(first, count), hits.subspan(first, count));
    }
}
