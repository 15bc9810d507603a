#include "Dravin/panels/curve_shape.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kSameLine = 1e-3f;  // sine of the angle between handles that still count as one

struct Place {
    double x, y;
};
Place Between(Place a, Place b, double t) { return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t}; }

bool HasHandles(const CurvePoint& a, const CurvePoint& b) {
    return a.outx != 0 || a.outy != 0 || b.inx != 0 || b.iny != 0;
}

// Where a segment's four corners reach x.
double ParameterAt(const Place (&c)[4], double x) {
    double low = 0, high = 1;
    for (int i = 0; i < 60; ++i) {
        double t = 0.5 * (low + high), s = 1 - t;
        double at = s * s * s * c[0].x + 3 * s * s * t * c[1].x + 3 * s * t * t * c[2].x +
                    t * t * t * c[3].x;
        (at < x ? low : high) = t;
    }
    return 0.5 * (low + high);
}

void SetOut(CurvePoint& p, Place to) { p.outx = float(to.x - p.px), p.outy = float(to.y - p.py); }
void SetIn(CurvePoint& p, Place to) { p.inx = float(to.x - p.px), p.iny = float(to.y - p.py); }

// Splits the segment a..b at x; both get the handles that keep the shape.
CurvePoint Split(CurvePoint& a, CurvePoint& b, float x) {
    CurvePoint middle;
    middle.px = x;
    if (!HasHandles(a, b)) {
        float u = b.px > a.px ? (x - a.px) / (b.px - a.px) : 0;
        middle.py = a.py + (b.py - a.py) * u;
        return middle;
    }
    const Place c[4] = {
        {a.px, a.py}, {a.px + a.outx, a.py + a.outy}, {b.px + b.inx, b.py + b.iny}, {b.px, b.py}};
    double t = ParameterAt(c, x);
    Place ab = Between(c[0], c[1], t), bc = Between(c[1], c[2], t), cd = Between(c[2], c[3], t);
    Place left = Between(ab, bc, t), right = Between(bc, cd, t), at = Between(left, right, t);
    middle.py = float(at.y);
    SetOut(a, ab);
    SetIn(b, cd);
    SetIn(middle, left);
    SetOut(middle, right);
    return middle;
}

std::vector<TCurvePreset> MakePresets() {
    auto point = [](float x, float y, float handle, float slope = 0) {
        return CurvePoint{x, y, -handle, -handle * slope, handle, handle * slope, 0};
    };
    return {{"Falling", {{.px = 0, .py = 1}, {.px = 1, .py = 0}}},
            {"Rising", {{.px = 0, .py = 0}, {.px = 1, .py = 1}}},
            {"Constant", {{.px = 0, .py = 1}, {.px = 1, .py = 1}}},
            {"Soft fall", {point(0, 1, 0.4f), point(1, 0, 0.4f)}},
            {"Soft rise", {point(0, 0, 0.4f), point(1, 1, 0.4f)}},
            {"Hill", {point(0, 0, 0.2f), point(0.5f, 1, 0.2f), point(1, 0, 0.2f)}},
            {"Valley", {point(0, 1, 0.2f), point(0.5f, 0, 0.2f), point(1, 1, 0.2f)}},
            {"Fast fall", {point(0, 1, 0.25f, -3), point(1, 0, 0.5f)}},
            {"Late fall", {point(0, 1, 0.5f), point(1, 0, 0.25f, -3)}}};
}

}  // namespace

CurvePointKind KindOfPoint(const CurvePoint& p) {
    float in = std::hypot(p.inx, p.iny), out = std::hypot(p.outx, p.outy);
    if (in == 0 && out == 0) return CurvePointKind::kCorner;
    if (in == 0 || out == 0) return CurvePointKind::kBroken;
    float sine = (p.inx * p.outy - p.iny * p.outx) / (in * out);
    float cosine = p.inx * p.outx + p.iny * p.outy;
    bool isLine = std::abs(sine) < kSameLine && cosine < 0;
    return isLine ? CurvePointKind::kSmooth : CurvePointKind::kBroken;
}

size_t InsertCurvePoint(std::vector<CurvePoint>& points, float x) {
    x = std::clamp(x, 0.0f, 1.0f);
    auto right =
        std::find_if(points.begin(), points.end(), [x](const CurvePoint& p) { return p.px >= x; });
    auto place = size_t(right - points.begin());
    if (right != points.end() && right->px == x) return place;
    if (points.empty() || right == points.begin() || right == points.end()) {
        // Beyond the ends their values hold.
        CurvePoint p;
        p.px = x;
        if (!points.empty()) p.py = right == points.end() ? points.back().py : right->py;
        points.insert(right, p);
        return place;
    }
    CurvePoint middle = Split(*(right - 1), *right, x);
    points.insert(right, middle);
    return place;
}

void MoveCurvePoints(std::vector<CurvePoint>& points, std::span<const size_t> chosen, float dx,
                     float dy, float yMax) {
    auto isChosen = [&](size_t i) {
        return std::find(chosen.begin(), chosen.end(), i) != chosen.end();
    };
    for (size_t i : chosen) {
        if (i >= points.size()) return;
        bool isEnd = i == 0 || i + 1 == points.size();
        if (isEnd) dx = 0;
        if (!isEnd && !isChosen(i - 1)) dx = std::max(dx, points[i - 1].px - points[i].px);
        if (!isEnd && !isChosen(i + 1)) dx = std::min(dx, points[i + 1].px - points[i].px);
    }
    for (size_t i : chosen) {
        points[i].px += dx;
        points[i].py = std::clamp(points[i].py + dy, 0.0f, yMax);
    }
}

void MoveCurveHandle(std::vector<CurvePoint>& points, size_t index, bool isOut, float x, float y,
                     bool breaks) {
    CurvePoint& p = points[index];
    bool turnsOther = !breaks && KindOfPoint(p) == CurvePointKind::kSmooth;
    float dx = x - p.px, dy = y - p.py;
    dx = isOut ? std::max(dx, 0.0f) : std::min(dx, 0.0f);
    (isOut ? p.outx : p.inx) = dx;
    (isOut ? p.outy : p.iny) = dy;
    float length = std::hypot(dx, dy);
    if (!turnsOther || length == 0) return;
    float& otherX = isOut ? p.inx : p.outx;
    float& otherY = isOut ? p.iny : p.outy;
    float other = std::hypot(otherX, otherY);
    otherX = -dx / length * other;
    otherY = -dy / length * other;
}

void SmoothCurvePoint(std::vector<CurvePoint>& points, size_t index) {
    CurvePoint& p = points[index];
    const CurvePoint& before = points[index > 0 ? index - 1 : index];
    const CurvePoint& behind = points[std::min(index + 1, points.size() - 1)];
    float width = behind.px - before.px;
    float slope = width > 0 ? (behind.py - before.py) / width : 0;
    // An end has its missing handle as long as the other, so that it stays smooth.
    float in = (p.px - before.px) / 3, out = (behind.px - p.px) / 3;
    if (index == 0) in = out;
    if (index + 1 == points.size()) out = in;
    p.inx = -in, p.iny = -in * slope, p.outx = out, p.outy = out * slope;
}

void StraightenCurvePoint(std::vector<CurvePoint>& points, size_t index) {
    CurvePoint& p = points[index];
    p.inx = p.iny = p.outx = p.outy = 0;
}

void StepCurvePoint(std::vector<CurvePoint>& points, size_t index) {
    if (index + 1 >= points.size()) return;
    CurvePoint& next = points[index + 1];
    points[index].outx = points[index].outy = next.inx = next.iny = 0;
    CurvePoint held;
    held.px = next.px;
    held.py = points[index].py;
    points.insert(points.begin() + long(index) + 1, held);
}

void RemoveCurvePoints(std::vector<CurvePoint>& points, std::span<const size_t> chosen) {
    std::vector<CurvePoint> kept;
    for (size_t i = 0; i < points.size(); ++i) {
        bool isEnd = i == 0 || i + 1 == points.size();
        bool goes = std::find(chosen.begin(), chosen.end(), i) != chosen.end();
        if (isEnd || !goes) kept.push_back(points[i]);
    }
    points = std::move(kept);
}

std::span<const TCurvePreset> CurvePresets() {
    static const std::vector<TCurvePreset> presets = MakePresets();
    return presets;
}

std::vector<CurvePoint> ScaledCurve(std::vector<CurvePoint> points, float factor) {
    for (CurvePoint& p : points) p.py *= factor, p.iny *= factor, p.outy *= factor;
    return points;
}
