#include "host/geom/height_field.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <cstring>

#include "host/base/thread_pool.h"

namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr size_t kBlockCells = size_t{1} << HeightField::kBlockBits;
constexpr size_t kRowsPerPiece = 64;

// Fewer than n bits set from the lowest on.
uint64_t BitsBelow(size_t n) { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

HugeBuffer CopyOf(std::span<const float> values) {
    HugeBuffer buffer(values.size_bytes());
    std::memcpy(buffer.Data(), values.data(), values.size_bytes());
    return buffer;
}

// Comparisons with NaN are false, so that holes change nothing.
void Widen(HeightField::Range& range, float low, float high) {
    range.low = low < range.low ? low : range.low;
    range.high = high > range.high ? high : range.high;
}

}  // namespace

HeightField::HeightField(size_t columns, size_t rows, Point2 size, HugeBuffer heights, int threads)
    : m_columns(columns),
      m_rows(rows),
      m_size(size),
      m_x(MakeAxis(columns, size.x, -0.5f)),
      m_y(MakeAxis(rows, size.y, -0.5f)),
      m_u(MakeAxis(columns, 1, 0)),
      m_v(MakeAxis(rows, 1, 0)),
      m_memory(std::move(heights)),
      m_heights(reinterpret_cast<float*>(m_memory.Data()), columns * rows) {
    assert(columns >= 2 && rows >= 2 && size.x > 0 && size.y > 0);
    assert(2 * (columns - 1) * (rows - 1) <= kMaxFaces);
    assert(m_memory.Bytes() >= m_heights.size_bytes());
    FindHoles(threads);
    NumberFaces(threads);
    MakeLevels(threads);
    MakeBounds();
}

HeightField::HeightField(size_t columns, size_t rows, Point2 size, std::span<const float> heights)
    : HeightField(columns, rows, size, CopyOf(heights)) {}

HeightField::Axis HeightField::MakeAxis(size_t count, float size, float shift) {
    Axis axis;
    axis.at.reserve(count);
    for (size_t i = 0; i < count; ++i)
        axis.at.push_back(size * (float(i) / float(count - 1) + shift));
    axis.perUnit = float(count - 1) / size;
    return axis;
}

// Leaves m_present empty when every sample is a number.
void HeightField::FindHoles(int threads) {
    std::vector<uint8_t> holes(m_rows);
    ParallelRanges(m_rows, kRowsPerPiece, threads, [&](size_t first, size_t last) {
        for (size_t j = first; j < last; ++j)
            for (float& h : m_heights.subspan(j * m_columns, m_columns))
                holes[j] |= !(std::fabs(h) < kInfinity);
    });
    if (std::find(holes.begin(), holes.end(), 1) == holes.end()) return;
    size_t words = NumWords();
    m_present.assign(words * m_rows + 1, 0);
    ParallelRanges(m_rows, kRowsPerPiece, threads, [&](size_t first, size_t last) {
        for (size_t j = first; j < last; ++j)
            for (size_t i = 0; i < m_columns; ++i) {
                float& h = m_heights[j * m_columns + i];
                bool exists = std::fabs(h) < kInfinity;
                if (!exists) h = std::numeric_limits<float>::quiet_NaN();
                m_present[j * words + i / 64] |= uint64_t{exists} << (i % 64);
            }
    });
}

HeightField::CellBits HeightField::BitsOf(size_t row, size_t word) const {
    size_t words = NumWords();
    auto at = [&](size_t j) { return m_present[j * words + word]; };
    // The sample to the right, the first of the next word included.
    auto right = [&](size_t j) {
        uint64_t next = word + 1 < words ? m_present[j * words + word + 1] : 0;
        return at(j) >> 1 | next << 63;
    };
    uint64_t ac = at(row) & right(row + 1);
    return {ac & right(row), ac & at(row + 1)};
}

void HeightField::NumberFaces(int threads) {
    size_t words = NumWords(), cellRows = m_rows - 1;
    m_numFaces = 2 * (m_columns - 1) * cellRows;
    if (m_present.empty()) return;
    m_faceStart.resize(words * cellRows + 1);
    ParallelRanges(cellRows, kRowsPerPiece, threads, [&](size_t first, size_t last) {
        for (size_t j = first; j < last; ++j)
            for (size_t w = 0; w < words; ++w) {
                CellBits bits = BitsOf(j, w);
                m_faceStart[j * words + w + 1] =
                    uint32_t(std::popcount(bits.lower) + std::popcount(bits.upper));
            }
    });
    for (size_t i = 1; i < m_faceStart.size(); ++i) m_faceStart[i] += m_faceStart[i - 1];
    m_numFaces = m_faceStart.back();
}

void HeightField::MakeLevels(int threads) {
    auto blocks = [](size_t cells) { return (cells + kBlockCells - 1) / kBlockCells; };
    constexpr Range kNothing{kInfinity, -kInfinity};
    Level& finest = m_levels.emplace_back();
    finest.columns = blocks(m_columns - 1), finest.rows = blocks(m_rows - 1);
    finest.ranges.assign(finest.columns * finest.rows, kNothing);
    ParallelFor(finest.rows, threads, [&](size_t row) {
        // Down the columns first, which goes in lanes; the samples on a border count on both sides.
        std::vector<Range> column(m_columns, kNothing);
        size_t last = std::min(row * kBlockCells + kBlockCells, m_rows - 1);
        for (size_t j = row * kBlockCells; j <= last; ++j)
            for (size_t i = 0; i < m_columns; ++i) {
                float h = m_heights[j * m_columns + i];
                Widen(column[i], h, h);
            }
        for (size_t b = 0; b < finest.columns; ++b) {
            size_t end = std::min(b * kBlockCells + kBlockCells, m_columns - 1);
            for (size_t i = b * kBlockCells; i <= end; ++i)
                Widen(finest.ranges[row * finest.columns + b], column[i].low, column[i].high);
        }
    });
    while (m_levels.back().ranges.size() > 1) {
        const Level& fine = m_levels.back();
        Level coarse{(fine.columns + 1) / 2, (fine.rows + 1) / 2, {}};
        coarse.ranges.assign(coarse.columns * coarse.rows, kNothing);
        for (size_t j = 0; j < fine.rows; ++j)
            for (size_t i = 0; i < fine.columns; ++i) {
                const Range& r = fine.ranges[j * fine.columns + i];
                Widen(coarse.ranges[j / 2 * coarse.columns + i / 2], r.low, r.high);
            }
        m_levels.push_back(std::move(coarse));
    }
}

uint64_t HeightField::UsedSamples(size_t row, size_t word) const {
    uint64_t used = 0;
    auto left = [&](size_t j) { return word > 0 ? BitsOf(j, word - 1) : CellBits{0, 0}; };
    if (row + 1 < m_rows) {
        CellBits above = BitsOf(row, word);
        used |= above.lower | above.upper | above.lower << 1 | left(row).lower >> 63;
    }
    if (row > 0) {
        CellBits below = BitsOf(row - 1, word), beside = left(row - 1);
        used |=
            below.upper | (below.lower | below.upper) << 1 | (beside.lower | beside.upper) >> 63;
    }
    return used;
}

// Calls visit(column, row) in the order of the samples.
template <class Visit>
void HeightField::ForEachUsedSample(const Visit& visit) const {
    for (size_t j = 0; j < m_rows; ++j)
        for (size_t w = 0; w < NumWords(); ++w) {
            size_t count = std::min<size_t>(64, m_columns - w * 64);
            uint64_t used = HasHoles() ? UsedSamples(j, w) : BitsBelow(count);
            if (used == ~uint64_t{0})
                for (size_t i = 0; i < 64; ++i) visit(w * 64 + i, j);
            else
                for (; used; used &= used - 1) visit(w * 64 + size_t(std::countr_zero(used)), j);
        }
}

void HeightField::MakeBounds() {
    if (!HasHoles()) {
        Range z = m_levels.back().ranges[0];
        m_bounds = {{X(0), Y(0), z.low}, {X(m_columns - 1), Y(m_rows - 1), z.high}};
        m_mappingBounds = {{0, 0}, {1, 1}};
        return;
    }
    size_t left = m_columns, right = 0, bottom = m_rows, top = 0;
    Range z{kInfinity, -kInfinity};
    ForEachUsedSample([&](size_t i, size_t j) {
        left = std::min(left, i), right = std::max(right, i);
        bottom = std::min(bottom, j), top = std::max(top, j);
        Widen(z, Height(i, j), Height(i, j));
    });
    if (z.low > z.high) return;
    m_bounds = {{X(left), Y(bottom), z.low}, {X(right), Y(top), z.high}};
    m_mappingBounds = {{U(left), V(bottom)}, {U(right), V(top)}};
}

Box3 HeightField::BoundsMoved(const Matrix3& m) const {
    Box3 box;
    ForEachUsedSample([&](size_t i, size_t j) { box += Point3{X(i), Y(j), Height(i, j)} * m; });
    return box;
}

bool HeightField::Exists(const HeightTriangle& t) const {
    if (!HasHoles()) return true;
    CellBits bits = BitsOf(t.row, t.column / 64);
    return (t.upper ? bits.upper : bits.lower) >> (t.column % 64) & 1;
}

size_t HeightField::FaceNumber(const HeightTriangle& t) const {
    if (!HasHoles()) return 2 * (t.row * (m_columns - 1) + t.column) + t.upper;
    size_t word = t.column / 64, bit = t.column % 64;
    CellBits bits = BitsOf(t.row, word);
    uint64_t before = BitsBelow(bit);
    return m_faceStart[t.row * NumWords() + word] + size_t(std::popcount(bits.lower & before)) +
           size_t(std::popcount(bits.upper & before)) + (t.upper ? bits.lower >> bit & 1 : 0);
}

HeightTriangle HeightField::TriangleOf(size_t face) const {
    assert(face < m_numFaces);
    if (!HasHoles()) {
        size_t cell = face / 2, cells = m_columns - 1;
        return {uint32_t(cell % cells), uint32_t(cell / cells), face % 2 != 0};
    }
    auto next = std::upper_bound(m_faceStart.begin(), m_faceStart.end(), uint32_t(face));
    size_t index = size_t(next - m_faceStart.begin()) - 1, left = face - m_faceStart[index];
    size_t row = index / NumWords(), word = index % NumWords();
    CellBits bits = BitsOf(row, word);
    for (uint32_t i = 0;; ++i) {
        size_t lower = bits.lower >> i & 1, upper = bits.upper >> i & 1;
        if (left < lower + upper) return {uint32_t(word * 64 + i), uint32_t(row), left >= lower};
        left -= lower + upper;
    }
}

uint64_t HeightField::BytesOfMesh() const {
    return uint64_t(m_columns) * m_rows * 2 * sizeof(Point3) +
           uint64_t(m_numFaces) * (sizeof(Face) + sizeof(Triple));
}

Mesh HeightField::MakeMesh() const {
    Mesh mesh;
    MapChannel& map = mesh.MakeMap(1);
    mesh.verts.reserve(m_columns * m_rows);
    map.verts.reserve(m_columns * m_rows);
    std::vector<uint32_t> number(HasHoles() ? m_columns * m_rows : 0);
    ForEachUsedSample([&](size_t i, size_t j) {
        if (HasHoles()) number[j * m_columns + i] = uint32_t(mesh.verts.size());
        mesh.verts.push_back({X(i), Y(j), Height(i, j)});
        map.verts.push_back({U(i), V(j), 0});
    });
    constexpr uint8_t kNoDiagonal = Face::kEdge0 | Face::kEdge1;
    mesh.faces.reserve(m_numFaces);
    auto add = [&](const HeightTriangle& t, size_t a, size_t b, size_t c) {
        if (!Exists(t)) return;
        Triple v{uint32_t(a), uint32_t(b), uint32_t(c)};
        if (HasHoles()) v = {number[a], number[b], number[c]};
        mesh.faces.push_back({v, 1, 0, kNoDiagonal});
    };
    for (uint32_t j = 0; j + 1 < m_rows; ++j)
        for (uint32_t i = 0; i + 1 < m_columns; ++i) {
            size_t a = j * m_columns + i;
            add({i, j, false}, a, a + 1, a + 1 + m_columns);
            add({i, j, true}, a + 1 + m_columns, a + m_columns, a);
        }
    map.faces.reserve(mesh.faces.size());
    for (const Face& face : mesh.faces) map.faces.push_back(face.v);
    return mesh;
}

size_t HeightField::BytesHeld() const {
    size_t bytes = m_memory.Bytes() + m_present.size() * 8 + m_faceStart.size() * 4;
    for (const Level& level : m_levels) bytes += level.ranges.size() * sizeof(Range);
    for (const Axis* axis : {&m_x, &m_y, &m_u, &m_v}) bytes += axis->at.size() * sizeof(float);
    return bytes;
}
