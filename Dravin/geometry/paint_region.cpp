#include "Dravin/geometry/paint_region.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include <clipper.hpp>

namespace {

constexpr int kCorners = 24;
// Clipper counts to 2^62. Everything here stays far below, so that it never refuses a path.
constexpr double kMostSteps = 0x1p60;
constexpr double kTolerance = 0.05, kReach = 1.05;  // of the simplification, radii
// Smoothing: what is left of bends that it has made, and the longest edge that it bends.
constexpr double kSmoothTolerance = 0.005, kSmoothEdge = 0.15;
constexpr int kMostPieces = 200;    // that it cuts an edge into
constexpr double kSpacing = 0.5;    // of a stroke's samples, radii
constexpr int kMostSamples = 1000;  // between two places of a hand

// Towards zero, where the fraction stays below 0.999999999999: lengths that were steps once become
// the same steps again.
int64_t ToSteps(double v) {
    constexpr double kNearlyHalf = 0.499999999999;
    return std::llround(v > 0 ? v - kNearlyHalf : v + kNearlyHalf);
}

bool IsCountable(double steps) { return std::abs(steps) < kMostSteps; }  // false for NaN

double SquaredDistance(TPaintPoint a, TPaintPoint b) {
    double dx = double(a.x) - double(b.x), dy = double(a.y) - double(b.y);
    return dx * dx + dy * dy;
}

double DistanceToChord(TPaintPoint p, TPaintPoint a, TPaintPoint b) {
    double dx = double(b.x) - double(a.x), dy = double(b.y) - double(a.y);
    double px = double(p.x) - double(a.x), py = double(p.y) - double(a.y);
    double square = dx * dx + dy * dy;
    double t = square > 0 ? std::clamp((px * dx + py * dy) / square, 0.0, 1.0) : 0;
    return std::hypot(px - t * dx, py - t * dy);
}

// Which points of a line the simplification keeps.
std::vector<bool> KeptPoints(const TPaintPolygon& polygon, double tolerance) {
    std::vector<bool> kept(polygon.size(), false);
    kept.front() = kept.back() = true;
    std::vector<std::pair<size_t, size_t>> ranges{{0, polygon.size() - 1}};
    while (!ranges.empty()) {
        auto [first, last] = ranges.back();
        ranges.pop_back();
        size_t farthest = first;
        double most = tolerance;
        for (size_t i = first + 1; i < last; ++i) {
            double distance = DistanceToChord(polygon[i], polygon[first], polygon[last]);
            if (distance > most) most = distance, farthest = i;
        }
        if (farthest == first) continue;
        kept[farthest] = true;
        ranges.push_back({first, farthest});
        ranges.push_back({farthest, last});
    }
    return kept;
}

// Where and how far outlines are made simpler, steps.
struct Simplifying {
    TPaintPoint center;
    double tolerance = 0, reach = 0;
};

void Simplify(TPaintPolygon& polygon, const Simplifying& where) {
    if (polygon.size() <= 3) return;
    std::vector<bool> kept = KeptPoints(polygon, where.tolerance);
    size_t end = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        bool isFar = where.reach > 0 &&
                     SquaredDistance(polygon[i], where.center) > where.reach * where.reach;
        if (kept[i] || isFar) polygon[end++] = polygon[i];
    }
    polygon.resize(end);
}

// --- clipping

ClipperLib::Path ToPath(const TPaintPolygon& polygon) {
    ClipperLib::Path path;
    path.reserve(polygon.size());
    for (TPaintPoint p : polygon) path.emplace_back(p.x, p.y);
    return path;
}

ClipperLib::Paths ToPaths(const std::vector<TPaintPolygon>& polygons) {
    ClipperLib::Paths paths;
    for (const TPaintPolygon& polygon : polygons) paths.push_back(ToPath(polygon));
    return paths;
}

std::vector<TPaintPolygon> FromPaths(const ClipperLib::Paths& paths) {
    std::vector<TPaintPolygon> polygons;
    for (const ClipperLib::Path& path : paths) {
        TPaintPolygon& polygon = polygons.emplace_back();
        polygon.reserve(path.size());
        for (const ClipperLib::IntPoint& p : path) polygon.push_back({p.X, p.Y});
    }
    return polygons;
}

std::vector<TPaintPolygon> Clip(const std::vector<TPaintPolygon>& polygons,
                                const TPaintPolygon& brush, TPaintMode mode) {
    using namespace ClipperLib;
    Clipper clipper;
    clipper.AddPaths(ToPaths(polygons), ptSubject, true);
    // A circle so small that its corners coincide is no polygon; then nothing happens.
    if (!clipper.AddPath(ToPath(brush), ptClip, true)) return polygons;
    Paths result;
    ClipType type = mode == TPaintMode::kPaint ? ctUnion : ctDifference;
    return clipper.Execute(type, result, pftEvenOdd) ? FromPaths(result) : polygons;
}

// The brush, about the origin.
TPaintPolygon CircleOf(double radius) {
    TPaintPolygon circle;
    for (int k = 0; k < kCorners; ++k) {
        double angle = 2 * std::numbers::pi * k / kCorners;
        circle.push_back({ToSteps(std::cos(angle) * radius), ToSteps(std::sin(angle) * radius)});
    }
    return circle;
}

// --- smoothing

// The polygon with points on its edges wherever the brush may bend them.
TPaintPolygon Divided(const TPaintPolygon& polygon, TPaintPoint center, double radius) {
    TPaintPolygon divided;
    for (size_t i = 0; i < polygon.size(); ++i) {
        TPaintPoint a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        divided.push_back(a);
        if (DistanceToChord(center, a, b) > radius) continue;
        double length = std::sqrt(SquaredDistance(a, b));
        int pieces = int(std::min(length / (kSmoothEdge * radius), double(kMostPieces))) + 1;
        for (int k = 1; k < pieces; ++k) {
            double t = double(k) / pieces;
            divided.push_back({a.x + std::llround(double(b.x - a.x) * t),
                               a.y + std::llround(double(b.y - a.y) * t)});
        }
    }
    return divided;
}

// Each point goes towards the middle of its neighbours, less the farther it is from the brush's
// middle.
void Relax(TPaintPolygon& polygon, TPaintPoint center, double radius, double strength) {
    const TPaintPolygon before = polygon;
    for (size_t i = 0; i < before.size(); ++i) {
        double distance = std::sqrt(SquaredDistance(before[i], center));
        if (distance >= radius) continue;
        double weight = strength * (1 - distance / radius);
        TPaintPoint a = before[(i + before.size() - 1) % before.size()];
        TPaintPoint b = before[(i + 1) % before.size()];
        auto toward = [&](int64_t from, int64_t left, int64_t right) {
            double middle = (double(left) - double(from) + double(right) - double(from)) / 2;
            return from + std::llround(weight * middle);
        };
        polygon[i] = {toward(before[i].x, a.x, b.x), toward(before[i].y, a.y, b.y)};
    }
}

}  // namespace

double PaintStepsPerUnit(double unitScale) { return 1000 * unitScale; }

TPaintRegion::TPaintRegion(const PolyShape& shape, double stepsPerUnit)
    : m_stepsPerUnit(stepsPerUnit) {
    for (const PolyLine& line : shape.lines) {
        auto isCountable = [&](const Point3& p) {
            return IsCountable(p.x * stepsPerUnit) && IsCountable(p.y * stepsPerUnit);
        };
        if (!line.closed || !std::all_of(line.points.begin(), line.points.end(), isCountable))
            continue;
        TPaintPolygon& polygon = m_polygons.emplace_back();
        for (const Point3& p : line.points)
            polygon.push_back({ToSteps(p.x * stepsPerUnit), ToSteps(p.y * stepsPerUnit)});
    }
}

bool TPaintRegion::Apply(TPaintMode mode, const TPaintSample& sample) {
    double radius = double(sample.radius) * m_stepsPerUnit;
    double x = sample.center.x * m_stepsPerUnit, y = sample.center.y * m_stepsPerUnit;
    if (!(sample.radius >= SmallestRadius()) || !IsCountable(radius) || !IsCountable(x) ||
        !IsCountable(y))
        return false;
    Simplifying near{{ToSteps(x), ToSteps(y)}};
    near.reach = double(ToSteps(kReach * radius));
    if (mode == TPaintMode::kSmooth) {
        near.tolerance = double(ToSteps(kSmoothTolerance * radius));
        Smooth(sample);
    } else {
        near.tolerance = double(ToSteps(kTolerance * radius));
        TPaintPolygon brush = CircleOf(radius);
        for (TPaintPoint& p : brush) p = {p.x + near.center.x, p.y + near.center.y};
        m_polygons = Clip(m_polygons, brush, mode);
    }
    for (TPaintPolygon& polygon : m_polygons) Simplify(polygon, near);
    return true;
}

void TPaintRegion::Smooth(const TPaintSample& sample) {
    TPaintPoint center{ToSteps(sample.center.x * m_stepsPerUnit),
                       ToSteps(sample.center.y * m_stepsPerUnit)};
    double radius = double(sample.radius) * m_stepsPerUnit;
    double strength = std::clamp(double(sample.strength), 0.0, 1.0);
    for (TPaintPolygon& polygon : m_polygons) {
        polygon = Divided(polygon, center, radius);
        Relax(polygon, center, radius, strength);
    }
    // Outlines may cross now.
    ClipperLib::Paths paths = ToPaths(m_polygons);
    ClipperLib::SimplifyPolygons(paths, ClipperLib::pftEvenOdd);
    m_polygons = FromPaths(paths);
}

PolyShape TPaintRegion::Shape() const {
    PolyShape shape;
    for (const TPaintPolygon& polygon : m_polygons) {
        if (polygon.size() < 3) continue;
        PolyLine& line = shape.lines.emplace_back();
        line.closed = true;
        line.points.reserve(polygon.size());
        for (TPaintPoint p : polygon)
            line.points.push_back(
                {float(double(p.x) / m_stepsPerUnit), float(double(p.y) / m_stepsPerUnit), 0});
    }
    return shape;
}

size_t TPaintRegion::Bytes() const {
    size_t bytes = sizeof(*this);
    for (const TPaintPolygon& polygon : m_polygons)
        bytes += sizeof(polygon) + polygon.capacity() * sizeof(TPaintPoint);
    return bytes;
}

bool TPaintStroke::MoveTo(const TPaintSample& to) {
    Point2 from = m_isDown ? m_last.center : to.center, way = to.center - from;
    double spacing = kSpacing * std::max(to.radius, m_region.SmallestRadius());
    double length = std::hypot(double(way.x), double(way.y));
    if (!std::isfinite(length + spacing)) return false;
    int samples = m_isDown ? int(std::min(std::ceil(length / spacing), double(kMostSamples))) : 1;
    bool touched = false;
    for (int i = 1; i <= samples; ++i) {
        float t = float(i) / float(samples);
        TPaintSample sample = to;
        sample.center = from + way * t;
        if (m_isDown) sample.radius = m_last.radius + (to.radius - m_last.radius) * t;
        touched |= m_region.Apply(m_mode, sample);
    }
    m_last = to, m_isDown = true;
    return touched;
}
