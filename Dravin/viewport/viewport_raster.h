// Dots, lines and triangles of camera space as pixels.
//
// A sink takes them: `Rect()`, the pixels that it wants, and `Put(x, y, nearness, look)` for each,
// where a look says what is drawn.
#pragma once

#include <array>
#include <cmath>

#include "Dravin/viewport/splat_buffer.h"
#include "Dravin/viewport/viewport_camera.h"

struct TViewLook {
    uint32_t color = 0;  // red, green, blue in the three lowest bytes
    uint32_t id = 0;     // TViewportScene::Find
    float opacity = 1;   // share of the pixels of a fixed pattern that are drawn
    float closer = 1;    // multiplies the nearness: lines on faces lie in front of them
};

template <class Sink>
class TViewRaster {
public:
    TViewRaster(const TViewportCamera& camera, Sink& sink)
        : m_camera(camera), m_sink(sink), m_rect(sink.Rect()) {}

    // A square of `size` pixels a side around a point. Whether any of it lies in the picture.
    bool Dot(const Point3& view, int size, const TViewLook& look) {
        if (!(-view.z >= m_camera.Nearest())) return false;
        TScreenPoint p = m_camera.ToScreen(view);
        if (!(p.nearness > 0)) return false;
        float shift = float(size - 1) / 2;
        int left, top;
        if (!Pixel(p.x - shift, m_rect.left - size, m_rect.right, &left)) return false;
        if (!Pixel(p.y - shift, m_rect.top - size, m_rect.bottom, &top)) return false;
        bool isSeen = false;
        for (int y = std::max(top, m_rect.top); y < std::min(top + size, m_rect.bottom); ++y)
            for (int x = std::max(left, m_rect.left); x < std::min(left + size, m_rect.right);
                 ++x) {
                m_sink.Put(x, y, p.nearness, look);
                isSeen = true;
            }
        return isSeen;
    }
    void Line(Point3 a, Point3 b, const TViewLook& look) {
        float nearZ = -m_camera.Nearest();
        if (!(a.z <= nearZ) && !(b.z <= nearZ)) return;
        if (!(a.z <= nearZ)) a = AtDepth(a, b, nearZ);
        if (!(b.z <= nearZ)) b = AtDepth(b, a, nearZ);
        DrawLine(m_camera.ToScreen(a), m_camera.ToScreen(b), look);
    }
    void Triangle(const Point3& a, const Point3& b, const Point3& c, const TViewLook& look) {
        std::array<Point3, 4> corners;
        size_t count = 0;
        const Point3* in[3] = {&a, &b, &c};
        float nearZ = -m_camera.Nearest();
        for (int i = 0; i < 3; ++i) {
            const Point3 &p = *in[i], &q = *in[(i + 1) % 3];
            bool pIn = p.z <= nearZ, qIn = q.z <= nearZ;
            if (pIn) corners[count++] = p;
            if (pIn != qIn) corners[count++] = AtDepth(p, q, nearZ);
        }
        if (count < 3) return;
        TScreenPoint first = m_camera.ToScreen(corners[0]), last = m_camera.ToScreen(corners[1]);
        for (size_t i = 2; i < count; ++i) {
            TScreenPoint next = m_camera.ToScreen(corners[i]);
            Fill(first, last, next, look);
            last = next;
        }
    }

private:
    static Point3 AtDepth(const Point3& a, const Point3& b, float z) {
        Point3 p = a + (b - a) * ((z - a.z) / (b.z - a.z));
        p.z = z;
        return p;
    }
    // False for places out of [low, high), and for NaN.
    static bool Pixel(float at, int low, int high, int* out) {
        if (!(at >= float(low) && at < float(high))) return false;
        *out = int(std::floor(at));
        return true;
    }
    void DrawLine(const TScreenPoint& a, const TScreenPoint& b, const TViewLook& look) {
        float dx = b.x - a.x, dy = b.y - a.y, from = 0, to = 1;
        auto clip = [&](float start, float delta, float low, float high) {
            if (delta == 0) return start >= low && start < high;
            float u = (low - start) / delta, v = (high - start) / delta;
            from = std::max(from, std::min(u, v)), to = std::min(to, std::max(u, v));
            return from <= to;
        };
        if (!clip(a.x, dx, float(m_rect.left), float(m_rect.right)) ||
            !clip(a.y, dy, float(m_rect.top), float(m_rect.bottom)))
            return;
        float steps = std::ceil(std::max(std::abs(dx), std::abs(dy)) * (to - from));
        constexpr float kMostSteps = 1e6f;  // more than any picture has; NaN does not pass either
        if (!(steps <= kMostSteps)) return;
        for (int s = 0; s <= int(steps); ++s) {
            float t = steps > 0 ? from + (to - from) * (float(s) / steps) : from;
            int x, y;
            if (!Pixel(a.x + dx * t, m_rect.left, m_rect.right, &x) ||
                !Pixel(a.y + dy * t, m_rect.top, m_rect.bottom, &y))
                continue;
            float nearness = a.nearness + (b.nearness - a.nearness) * t;
            if (nearness > 0) m_sink.Put(x, y, nearness * look.closer, look);
        }
    }
    // Whether the pattern of an opacity covers the pixel.
    static bool Covers(float opacity, int x, int y) {
        static constexpr uint8_t kOrder[16] = {0, 8,  2, 10, 12, 4, 14, 6,
                                               3, 11, 1, 9,  15, 7, 13, 5};
        return opacity * 16 > float(kOrder[(y & 3) * 4 + (x & 3)]);
    }
    // Pixels whose middle lies inside or on the border.
    void Fill(const TScreenPoint& a, const TScreenPoint& b, const TScreenPoint& c,
              const TViewLook& look) {
        double abx = double(b.x) - a.x, aby = double(b.y) - a.y;
        double acx = double(c.x) - a.x, acy = double(c.y) - a.y;
        double area = abx * acy - aby * acx;
        if (!(std::abs(area) > 1e-12)) return;
        float low = std::min({a.y, b.y, c.y}), high = std::max({a.y, b.y, c.y});
        if (!(low < float(m_rect.bottom) && high >= float(m_rect.top))) return;
        int top = int(std::ceil(std::max(low - 0.5f, float(m_rect.top))));
        int bottom = int(std::floor(std::min(high - 0.5f, float(m_rect.bottom - 1))));
        double nb = (double(b.nearness) - a.nearness) / area;
        double nc = (double(c.nearness) - a.nearness) / area;
        double slope = nb * acy - nc * aby, slopeY = nc * abx - nb * acx;
        const TScreenPoint* corner[3] = {&a, &b, &c};
        constexpr double kFar = 1e9;
        for (int y = top; y <= bottom; ++y) {
            double at = y + 0.5, from = kFar, to = -kFar;
            for (int e = 0; e < 3; ++e) {
                const TScreenPoint &p = *corner[e], &q = *corner[(e + 1) % 3];
                double lowY = std::min(p.y, q.y), highY = std::max(p.y, q.y);
                if (at < lowY || at > highY || lowY == highY) continue;
                double x = p.x + (double(q.x) - p.x) * ((at - p.y) / (double(q.y) - p.y));
                from = std::min(from, x), to = std::max(to, x);
            }
            if (!(from <= to)) continue;
            int left = int(std::ceil(std::clamp(from - 0.5, double(m_rect.left), kFar)));
            int right = int(std::floor(std::clamp(to - 0.5, -kFar, double(m_rect.right - 1))));
            double row = a.nearness + slopeY * (at - a.y) - slope * a.x;
            for (int x = left; x <= right; ++x) {
                if (look.opacity < 1 && !Covers(look.opacity, x, y)) continue;
                auto nearness = float(row + slope * (x + 0.5));
                if (nearness > 0) m_sink.Put(x, y, nearness * look.closer, look);
            }
        }
    }

    const TViewportCamera& m_camera;
    Sink& m_sink;
    TPixelRect m_rect;
};
