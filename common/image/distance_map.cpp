#include "common/image/distance_map.h"

#include <algorithm>
#include <cmath>

#include "host/base/thread_pool.h"

namespace image {

namespace {

constexpr size_t kLinesPerPiece = 32;

// Scratch of one thread's lines.
struct Envelope {
    std::vector<float> values, result;
    std::vector<int> at;        // where the parabolas of the envelope stand
    std::vector<float> border;  // between neighbours

    explicit Envelope(int length)
        : values(size_t(length)),
          result(size_t(length)),
          at(size_t(length)),
          border(size_t(length) + 1) {}

    // Squared distances along a line of n values.
    void Transform(int n) {
        auto crossing = [&](int q, int p) {
            double fq = double(values[size_t(q)]) + double(q) * q;
            double fp = double(values[size_t(p)]) + double(p) * p;
            return float((fq - fp) / (2.0 * (q - p)));
        };
        int k = 0;
        at[0] = 0;
        border[0] = -kFar;
        border[1] = kFar;
        for (int q = 1; q < n; ++q) {
            float s = crossing(q, at[size_t(k)]);
            while (k > 0 && s <= border[size_t(k)]) s = crossing(q, at[size_t(--k)]);
            at[size_t(++k)] = q;
            border[size_t(k)] = s;
            border[size_t(k) + 1] = kFar;
        }
        k = 0;
        for (int q = 0; q < n; ++q) {
            while (border[size_t(k) + 1] < float(q)) ++k;
            float d = float(q - at[size_t(k)]);
            result[size_t(q)] = d * d + values[size_t(at[size_t(k)])];
        }
    }
};

// Transforms `count` lines of `length` values; at(line, i) is value i of a line.
template <class At>
void TransformLines(int count, int length, int threads, At at) {
    ParallelRanges(size_t(count), kLinesPerPiece, threads, [&](size_t first, size_t last) {
        Envelope envelope(length);
        for (int line = int(first); line < int(last); ++line) {
            for (int i = 0; i < length; ++i) envelope.values[size_t(i)] = at(line, i);
            envelope.Transform(length);
            for (int i = 0; i < length; ++i) at(line, i) = envelope.result[size_t(i)];
        }
    });
}

}  // namespace

TImage<float> DistanceMap(const TImage<uint8_t>& footprint, bool inverse, int threads) {
    TImage<float> map(footprint.Width() + 2, footprint.Height() + 2);
    for (int y = 0; y < map.Height(); ++y)
        for (int x = 0; x < map.Width(); ++x) {
            bool covered = footprint.IsInside(x - 1, y - 1) && footprint.At(x - 1, y - 1) > 128;
            map.At(x, y) = covered != inverse ? 0 : kFar;
        }
    int w = map.Width(), h = map.Height();
    TransformLines(w, h, threads, [&](int x, int y) -> float& { return map.At(x, y); });
    TransformLines(h, w, threads, [&](int y, int x) -> float& { return map.At(x, y); });
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) map.At(x, y) = std::sqrt(map.At(x, y));
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
