#include "host/geom/spline_edit.h"

#include <algorithm>
#include <vector>

namespace {

BezierKnot* KnotOf(BezierShape& shape, size_t number) {
    std::optional<KnotPlace> place = FindKnot(shape, number);
    return place ? &shape.splines[place->spline].knots[place->knot] : nullptr;
}

Point3 Between(const Point3& a, const Point3& b, float t) { return a + (b - a) * t; }

bool IsStraight(const BezierKnot& a, const BezierKnot& b) {
    return a.out == Point3{} && b.in == Point3{};
}

// The neighbour before or behind a knot; null at an open end.
const BezierKnot* Neighbour(const BezierSpline& spline, size_t knot, int side) {
    size_t count = spline.knots.size();
    bool isEnd = side < 0 ? knot == 0 : knot + 1 == count;
    if (isEnd && !spline.closed) return nullptr;
    return &spline.knots[(knot + count + size_t(side < 0 ? count - 1 : 1)) % count];
}

}  // namespace

size_t NumKnots(const BezierShape& shape) {
    size_t count = 0;
    for (const BezierSpline& spline : shape.splines) count += spline.knots.size();
    return count;
}

std::optional<KnotPlace> FindKnot(const BezierShape& shape, size_t number) {
    for (size_t s = 0; s < shape.splines.size(); ++s) {
        size_t count = shape.splines[s].knots.size();
        if (number < count) return KnotPlace{s, number};
        number -= count;
    }
    return std::nullopt;
}

Point3 PlaceOf(const BezierShape& shape, const SplinePoint& point) {
    std::optional<KnotPlace> place = FindKnot(shape, point.knot);
    if (!place) return {};
    const BezierKnot& knot = shape.splines[place->spline].knots[place->knot];
    if (point.part == SplinePart::kIn) return knot.p + knot.in;
    return point.part == SplinePart::kOut ? knot.p + knot.out : knot.p;
}

Point3 SegmentPoint(const BezierKnot& a, const BezierKnot& b, float t) {
    return IsStraight(a, b) ? Between(a.p, b.p, t) : BezierPoint(a, b, t);
}

bool IsSmooth(const BezierKnot& knot) {
    constexpr float kOpposite = -0.9999f;  // cosine
    float in = Length(knot.in), out = Length(knot.out);
    return in > 0 && out > 0 && DotProd(knot.in, knot.out) <= kOpposite * in * out;
}

void MovePoint(BezierShape& shape, const SplinePoint& point, const Point3& to) {
    BezierKnot* knot = KnotOf(shape, point.knot);
    if (!knot) return;
    if (point.part == SplinePart::kKnot) {
        knot->p = to;
        return;
    }
    bool isIn = point.part == SplinePart::kIn, isSmooth = IsSmooth(*knot);
    Point3 &moved = isIn ? knot->in : knot->out, &twin = isIn ? knot->out : knot->in;
    moved = to - knot->p;
    if (float length = Length(moved); isSmooth && length > 0)
        twin = moved * (-Length(twin) / length);
}

// De Casteljau: the halves of the curve are curves.
std::optional<size_t> InsertKnot(BezierShape& shape, size_t number, float t) {
    std::optional<KnotPlace> place = FindKnot(shape, number);
    if (!place || !(t > 0 && t < 1)) return std::nullopt;
    BezierSpline& spline = shape.splines[place->spline];
    size_t next = (place->knot + 1) % spline.knots.size();
    if (next == 0 && (!spline.closed || spline.knots.size() < 2)) return std::nullopt;
    BezierKnot &a = spline.knots[place->knot], &b = spline.knots[next], middle;
    if (IsStraight(a, b)) {
        middle.p = SegmentPoint(a, b, t);
    } else {
        Point3 p0 = a.p, p1 = a.p + a.out, p2 = b.p + b.in, p3 = b.p;
        Point3 p01 = Between(p0, p1, t), p12 = Between(p1, p2, t), p23 = Between(p2, p3, t);
        Point3 left = Between(p01, p12, t), right = Between(p12, p23, t);
        middle.p = Between(left, right, t);
        middle.in = left - middle.p, middle.out = right - middle.p;
        a.out = p01 - a.p, b.in = p23 - b.p;
    }
    spline.knots.insert(spline.knots.begin() + long(place->knot) + 1, middle);
    return number + 1;
}

void DeleteKnots(BezierShape& shape, std::span<const size_t> knots) {
    size_t number = 0;
    for (BezierSpline& spline : shape.splines) {
        std::vector<BezierKnot> left;
        for (const BezierKnot& knot : spline.knots)
            if (std::find(knots.begin(), knots.end(), number++) == knots.end())
                left.push_back(knot);
        spline.knots = std::move(left);
        if (spline.knots.size() < 3) spline.closed = false;
    }
    std::erase_if(shape.splines, [](const BezierSpline& s) { return s.knots.size() < 2; });
}

void MakeSmooth(BezierShape& shape, size_t number) {
    std::optional<KnotPlace> place = FindKnot(shape, number);
    if (!place) return;
    BezierSpline& spline = shape.splines[place->spline];
    BezierKnot& knot = spline.knots[place->knot];
    const BezierKnot* before = Neighbour(spline, place->knot, -1);
    const BezierKnot* behind = Neighbour(spline, place->knot, 1);
    Point3 along = (behind ? behind->p : knot.p) - (before ? before->p : knot.p);
    float length = Length(along);
    knot.in = knot.out = {};
    if (!(length > 0)) return;
    along = along / length;
    if (before) knot.in = along * (-Length(knot.p - before->p) / 3);
    if (behind) knot.out = along * (Length(behind->p - knot.p) / 3);
}

void MakeCorner(BezierShape& shape, size_t number) {
    if (BezierKnot* knot = KnotOf(shape, number)) knot->in = knot->out = {};
}

bool SetClosed(BezierShape& shape, size_t number, bool isClosed) {
    std::optional<KnotPlace> place = FindKnot(shape, number);
    if (!place) return false;
    BezierSpline& spline = shape.splines[place->spline];
    if (spline.closed == isClosed || (isClosed && spline.knots.size() < 3)) return false;
    spline.closed = isClosed;
    return true;
}
