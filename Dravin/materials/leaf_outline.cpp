#include "Dravin/materials/leaf_outline.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace {

constexpr float kUnitsPerLength = 1000;

// Wide enough for the square of a difference times a difference of coordinates up to kMostExact.
__extension__ using Exact = __int128;
constexpr int64_t kMostExact = int64_t{1} << 40;

// a / b towards zero.
Exact Quotient(Exact a, Exact b) { return a / b; }
long double Quotient(long double a, long double b) { return std::trunc(a / b); }

// The square of the distance from p to the segment a-b, its foot on a whole number.
template <class Wide>
Wide SquaredDistance(const OutlinePoint& p, const OutlinePoint& a, const OutlinePoint& b) {
    Wide abx = Wide(b.x) - Wide(a.x), aby = Wide(b.y) - Wide(a.y);
    Wide x = Wide(p.x) - Wide(a.x), y = Wide(p.y) - Wide(a.y);
    Wide dot = x * abx + y * aby, square = abx * abx + aby * aby;
    if (dot >= 1 && dot >= square) {
        x -= abx, y -= aby;
    } else if (dot >= 1) {
        x -= Quotient(abx * dot, square);
        y -= Quotient(aby * dot, square);
    }
    return x * x + y * y;
}

// Flags of the points that stay.
template <class Wide>
std::vector<char> KeptPoints(const OutlinePath& path, int64_t tolerance) {
    std::vector<char> kept(path.size());
    kept.front() = kept.back() = true;
    Wide limit = Wide(tolerance) * Wide(tolerance);
    std::vector<std::pair<size_t, size_t>> segments{{0, path.size() - 1}};
    while (!segments.empty()) {
        auto [a, b] = segments.back();
        segments.pop_back();
        size_t furthest = a;
        Wide most = 0;
        for (size_t i = a + 1; i < b; ++i) {
            Wide distance = SquaredDistance<Wide>(path[i], path[a], path[b]);
            if (distance > most) most = distance, furthest = i;
        }
        if (!(most > limit)) continue;
        kept[furthest] = true;
        segments.push_back({a, furthest});
        segments.push_back({furthest, b});
    }
    return kept;
}

bool FitsExact(const OutlinePath& path) {
    auto fits = [](int64_t v) { return v >= -kMostExact && v <= kMostExact; };
    return std::all_of(path.begin(), path.end(),
                       [&](const OutlinePoint& p) { return fits(p.x) && fits(p.y); });
}

OutlinePath ToPath(const PolyLine& line) {
    OutlinePath path;
    path.reserve(line.points.size());
    for (const Point3& p : line.points) path.push_back({OutlineUnits(p.x), OutlineUnits(p.y)});
    return path;
}

PolyLine ToLine(const OutlinePath& path) {
    PolyLine line;
    line.closed = true;
    auto length = [](int64_t units) { return float(double(units) / double(kUnitsPerLength)); };
    for (const OutlinePoint& p : path) line.points.push_back({length(p.x), length(p.y), 0});
    return line;
}

}  // namespace

int64_t OutlineUnits(float length) {
    float units = length * kUnitsPerLength;
    constexpr float kTooMany = 9223372036854775808.0f;  // 2^63
    if (units >= kTooMany) return std::numeric_limits<int64_t>::max();
    if (units <= -kTooMany) return std::numeric_limits<int64_t>::min();
    return std::isnan(units) ? 0 : int64_t(units);
}

OutlinePath SimplifiedPath(const OutlinePath& path, int64_t tolerance) {
    if (path.size() <= 3) return path;
    // Coordinates so far out have gaps of whole scene units anyway.
    std::vector<char> kept = FitsExact(path) ? KeptPoints<Exact>(path, tolerance)
                                             : KeptPoints<long double>(path, tolerance);
    OutlinePath left;
    for (size_t i = 0; i < path.size(); ++i)
        if (kept[i]) left.push_back(path[i]);
    return left;
}

PolyShape LeafOutline(const PolyShape& shape, float distance) {
    int64_t tolerance = OutlineUnits(distance);
    PolyShape outline;
    for (const PolyLine& line : shape.lines) {
        OutlinePath path = SimplifiedPath(ToPath(line), tolerance);
        if (path.size() >= 3) outline.lines.push_back(ToLine(path));
    }
    return outline;
}
