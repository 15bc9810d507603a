#include "common/image/distance_map.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <vector>

#include "common/image/distance_windows.h"
#include "host/base/thread_pool.h"

namespace image {

namespace {

constexpr size_t kLinesPerPiece = 32;
constexpr size_t kColumnsPerPiece = 128;

using ColumnDistances = TImage<uint16_t>;

// Distances along the columns to the nearest target above or below, for columns [first, last).
void MeasureColumns(const TImage<uint8_t>& footprint, bool inverse, int first, int last,
                    ColumnDistances& map) {
    int height = map.Height();
    for (int y = 0; y < height; ++y) {
        uint16_t* row = &map.At(0, y);
        // Of the pixels of the row: the border is never covered.
        bool within = y > 0 && y < height - 1;
        int from = std::max(first, 1), to = within ? std::min(last, map.Width() - 1) : from;
        std::fill(row + first, row + last, inverse ? uint16_t{0} : kNoTarget);
        for (int x = from; x < to; ++x)
            row[x] = (footprint.At(x - 1, y - 1) > 128) != inverse ? uint16_t{0} : kNoTarget;
        if (y == 0) continue;
        const uint16_t* above = &map.At(0, y - 1);
        for (int x = first; x < last; ++x)
            row[x] = std::min(row[x], std::min(kNoTarget, uint16_t(above[x] + 1)));
    }
    for (int y = height - 2; y >= 0; --y) {
        uint16_t* row = &map.At(0, y);
        const uint16_t* below = &map.At(0, y + 1);
        for (int x = first; x < last; ++x) row[x] = std::min(row[x], uint16_t(below[x] + 1));
    }
}

// The lower envelope of parabolas along one row after the other: pixel u of a row, whose column has
// a target h^2 away, makes the parabola (x - u)^2 + h^2. Whole numbers throughout, hence exact.
class RowEnvelope {
public:
    explicit RowEnvelope(int width)
        : m_width(width), m_parabolas(size_t(width)), m_squares(size_t(width) + kChunk) {}

    void Measure(const uint16_t* columns, float* distances) {
        m_count = m_first = 0;
        for (int u = 0; u < m_width; ++u) {
            if (columns[u] == kNoTarget) continue;
            Add(u, int(columns[u]) * columns[u]);
            if (columns[u] == 0) Settle(u);
        }
        if (m_count == 0 && m_first == 0) {
            std::fill(distances, distances + m_width, std::sqrt(kFar));
            return;
        }
        Write(m_width);
        for (int x = 0; x < m_width; ++x) distances[x] = std::sqrt(float(m_squares[size_t(x)]));
    }

private:
    static constexpr int kChunk = 4;  // pixels written together

    struct Parabola {
        int at, height;  // apex
        int from;        // first pixel at which it is the lowest
        int Value(int x) const { return (x - at) * (x - at) + height; }
    };

    void Add(int u, int height) {
        Parabola added{u, height, m_first};
        while (m_count > 0) {
            const Parabola& last = m_parabolas[size_t(m_count - 1)];
            if (last.Value(last.from) <= added.Value(last.from)) break;
            --m_count;
        }
        if (m_count > 0) {
            const Parabola& last = m_parabolas[size_t(m_count - 1)];
            int sum = u * u - last.at * last.at + height - last.height;
            added.from = sum / (2 * (u - last.at)) + 1;
            if (added.from >= m_width) return;
        }
        m_parabolas[size_t(m_count++)] = added;
    }

    // A target in the row itself: nothing on its one side matters on the other.
    void Settle(int u) {
        Write(u);
        m_squares[size_t(u)] = 0;
        m_first = u + 1;
        m_parabolas[0] = {u, 0, m_first};
        m_count = 1;
    }

    // Squared distances of the pixels from m_first up to `end`. Most parabolas rule over few
    // pixels, so that all write a chunk, and the next one over what was too much.
    void Write(int end) {
        for (int k = 0; k < m_count; ++k) {
            const Parabola& p = m_parabolas[size_t(k)];
            int last = k + 1 < m_count ? std::min(m_parabolas[size_t(k + 1)].from, end) : end;
            for (int x = p.from; x < last; x += kChunk)
                for (int i = 0; i < kChunk; ++i) m_squares[size_t(x + i)] = p.Value(x + i);
        }
    }

    int m_width;
    std::vector<Parabola> m_parabolas;
    int m_count = 0;
    int m_first = 0;  // of the pixels that the parabolas share
    std::vector<int> m_squares;
};

// Rows [first, last): by windows, and by the envelope once those look too far.
void MeasureRows(const ColumnDistances& columns, int first, int last, TImage<float>& map) {
    RowWindows windows(map.Width());
    int y = first;
    while (y < last && windows.Measure(&columns.At(0, y), &map.At(0, y))) ++y;
    if (y == last) return;
    RowEnvelope envelope(map.Width());
    for (; y < last; ++y) envelope.Measure(&columns.At(0, y), &map.At(0, y));
}

}  // namespace

TImage<float> DistanceMap(const TImage<uint8_t>& footprint, bool inverse, int threads) {
    int width = footprint.Width() + 2, height = footprint.Height() + 2;
    assert(std::max(width, height) < kLongestMapSide);
    ColumnDistances columns(width, height);
    ParallelRanges(size_t(width), kColumnsPerPiece, threads, [&](size_t first, size_t last) {
        MeasureColumns(footprint, inverse, int(first), int(last), columns);
    });
    TImage<float> map(width, height);
    ParallelRanges(size_t(height), kLinesPerPiece, threads, [&](size_t first, size_t last) {
        MeasureRows(columns, int(first), int(last), map);
    });
    return map;
}

void DrawDisc(TImage<uint8_t>& image, int centerX, int centerY, int radius) {
    auto span = [&](int y, int half) {
        if (y < 0 || y >= image.Height()) return;
        int first = std::max(centerX - half, 0), last = std::min(centerX + half, image.Width() - 1);
        for (int x = first; x <= last; ++x) image.At(x, y) = 255;
    };
    int x = 0, y = radius, d = (5 - 4 * radius) / 4;
    while (true) {
        span(centerY + y, x);
        span(centerY - y, x);
        span(centerY + x, y);
        span(centerY - x, y);
        if (x >= y) return;
        ++x;
        d += d < 0 ? 2 * x + 1 : 2 * (x - --y) + 1;
    }
}

void DrawTriangle(TImage<uint8_t>& image, PixelPoint a, PixelPoint b, PixelPoint c) {
    const PixelPoint corners[] = {a, b, c};
    double low = std::min({a.y, b.y, c.y}), high = std::max({a.y, b.y, c.y});
    int first = int(std::ceil(std::clamp(low, 0.0, double(image.Height()))));
    int last = int(std::floor(std::clamp(high, -1.0, double(image.Height() - 1))));
    for (int y = first; y <= last; ++y) {
        double left = 1e30, right = -1e30;
        for (int i = 0; i < 3; ++i) {
            const PixelPoint &p = corners[i], &q = corners[(i + 1) % 3];
            if (std::min(p.y, q.y) > y || std::max(p.y, q.y) < y) continue;
            double x = p.y == q.y ? p.x : p.x + (q.x - p.x) * (y - p.y) / (q.y - p.y);
            left = std::min({left, x, p.y == q.y ? q.x : x});
            right = std::max({right, x, p.y == q.y ? q.x : x});
        }
        int from = int(std::ceil(std::clamp(left, 0.0, double(image.Width()))));
        int to = int(std::floor(std::clamp(right, -1.0, double(image.Width() - 1))));
        for (int x = from; x <= to; ++x) image.At(x, y) = 255;
    }
}

}  // namespace image
