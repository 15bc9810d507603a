// Triangles to samples: clipping, coverage, and what is interpolated over a face.
//
// Corners come in homogeneous form: x and y in samples times w, and w, which is the depth where the
// view has perspective and 1 where it has none. Coverage is decided in whole
// numbers (1/256 of a sample) by edge functions (Pineda 1988), so that faces with a common edge
// neither leave a gap nor cover a sample twice. What lies across the near plane, or so far beside
// the window that those numbers would not hold it, is clipped first (Sutherland and Hodgman 1974).
// Weights of corners are linear over the face, whatever the perspective.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

// Samples [x0, x1) x [y0, y1).
struct RasterWindow {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    bool IsEmpty() const { return x0 >= x1 || y0 >= y1; }
};

struct RasterCorner {
    double x = 0, y = 0;
    float z = 0, w = 1;  // z: the depth
    float u = 0, v = 0;  // weights of the face's second and third corner
};

inline constexpr float kNearestW = 1e-4f;

namespace raster {

constexpr int kSubBits = 8;
constexpr int64_t kSub = 1 << kSubBits;
constexpr double kGuard = 1 << 20;  // samples beside the window

// A corner's distance from plane i: the near plane, then the four sides of the guard band.
inline double PlaneDistance(const RasterCorner& c, int i) {
    switch (i) {
        case 0:
            return double(c.w) - kNearestW;
        case 1:
            return c.x + kGuard * c.w;
        case 2:
            return kGuard * c.w - c.x;
        case 3:
            return c.y + kGuard * c.w;
        default:
            return kGuard * c.w - c.y;
    }
}
constexpr int kPlanes = 5;

inline bool IsInside(const RasterCorner& c) {
    return c.w >= kNearestW && std::fabs(c.x) <= kGuard * c.w && std::fabs(c.y) <= kGuard * c.w;
}

inline RasterCorner Between(const RasterCorner& a, const RasterCorner& b, double t) {
    auto mix = [t](float from, float to) { return float(from + (double(to) - from) * t); };
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, mix(a.z, b.z),
            mix(a.w, b.w),         mix(a.u, b.u),         mix(a.v, b.v)};
}

// A triangle cut by five planes has at most eight corners.
struct Polygon {
    std::array<RasterCorner, 3 + kPlanes> corners;
    int count = 0;
};

inline Polygon Clip(const RasterCorner (&triangle)[3]) {
    Polygon in;
    std::copy_n(triangle, 3, in.corners.begin());
    in.count = 3;
    for (int plane = 0; plane < kPlanes && in.count > 0; ++plane) {
        Polygon out;
        for (int i = 0; i < in.count; ++i) {
            const RasterCorner& a = in.corners[size_t(i)];
            const RasterCorner& b = in.corners[size_t((i + 1) % in.count)];
            double da = PlaneDistance(a, plane), db = PlaneDistance(b, plane);
            if (da >= 0) out.corners[size_t(out.count++)] = a;
            if ((da < 0) != (db < 0))
                out.corners[size_t(out.count++)] = Between(a, b, da / (da - db));
        }
        in = out;
    }
    return in;
}

// Samples on an edge belong to one of the two faces that share it.
struct Edge {
    int64_t stepX, stepY, value;

    // From a to b; value at the middle of sample (x, y), those inside are 0 and above.
    Edge(int64_t ax, int64_t ay, int64_t bx, int64_t by, int x, int y) {
        int64_t dx = bx - ax, dy = by - ay;
        stepX = -dy * kSub, stepY = dx * kSub;
        value = dx * (int64_t(y) * kSub + kSub / 2 - ay) - dy * (int64_t(x) * kSub + kSub / 2 - ax);
        if (!(dy > 0 || (dy == 0 && dx > 0))) --value;
    }
};

// Corners inside all planes. emit(x, y, depth, u, v) of each covered sample, rows downwards.
template <class Emit>
void Fill(const RasterCorner* corner[3], const RasterWindow& window, const Emit& emit) {
    int64_t x[3], y[3];
    float inverse[3];
    for (int i = 0; i < 3; ++i) {
        double w = 1 / double(corner[i]->w);
        x[i] = std::llrint(corner[i]->x * w * kSub);
        y[i] = std::llrint(corner[i]->y * w * kSub);
        inverse[i] = float(w);
    }
    int64_t area = (x[1] - x[0]) * (y[2] - y[0]) - (y[1] - y[0]) * (x[2] - x[0]);
    if (area == 0) return;
    int second = 1, third = 2;
    if (area < 0) std::swap(second, third), area = -area;
    auto first = [](int64_t a) { return int((a + kSub / 2 - 1) >> kSubBits); };  // middle >= a
    auto last = [](int64_t a) { return int((a - kSub / 2) >> kSubBits); };
    int x0 = std::max(window.x0, first(std::min({x[0], x[1], x[2]})));
    int x1 = std::min(window.x1 - 1, last(std::max({x[0], x[1], x[2]})));
    int y0 = std::max(window.y0, first(std::min({y[0], y[1], y[2]})));
    int y1 = std::min(window.y1 - 1, last(std::max({y[0], y[1], y[2]})));
    if (x0 > x1 || y0 > y1) return;
    Edge e0(x[second], y[second], x[third], y[third], x0, y0);
    Edge e1(x[third], y[third], x[0], y[0], x0, y0);
    Edge e2(x[0], y[0], x[second], y[second], x0, y0);
    const RasterCorner &c0 = *corner[0], &c1 = *corner[second], &c2 = *corner[third];
    float w0 = inverse[0], w1 = inverse[second], w2 = inverse[third], scale = 1 / float(area);
    for (int row = y0; row <= y1; ++row) {
        int64_t a = e0.value, b = e1.value, c = e2.value;
        for (int column = x0; column <= x1; ++column, a += e0.stepX, b += e1.stepX, c += e2.stepX) {
            if ((a | b | c) < 0) continue;
            float l1 = float(b) * scale * w1, l2 = float(c) * scale * w2;
            float l0 = std::max(0.f, 1 - float(b) * scale - float(c) * scale) * w0;
            float w = 1 / (l0 + l1 + l2);
            l0 *= w, l1 *= w, l2 *= w;
            emit(column, row, l0 * c0.z + l1 * c1.z + l2 * c2.z, l0 * c0.u + l1 * c1.u + l2 * c2.u,
                 l0 * c0.v + l1 * c1.v + l2 * c2.v);
        }
        e0.value += e0.stepY, e1.value += e1.stepY, e2.value += e2.stepY;
    }
}

}  // namespace raster

// Both sides of a face are drawn. The window's own corner is the origin of x and y.
template <class Emit>
void RasterTriangle(const RasterCorner (&triangle)[3], const RasterWindow& window,
                    const Emit& emit) {
    using namespace raster;
    if (IsInside(triangle[0]) && IsInside(triangle[1]) && IsInside(triangle[2])) {
        const RasterCorner* corners[3] = {&triangle[0], &triangle[1], &triangle[2]};
        Fill(corners, window, emit);
        return;
    }
    Polygon polygon = Clip(triangle);
    for (int i = 2; i < polygon.count; ++i) {
        const RasterCorner* corners[3] = {&polygon.corners[0], &polygon.corners[size_t(i - 1)],
                                          &polygon.corners[size_t(i)]};
        Fill(corners, window, emit);
    }
}
