// Smooth normals of a height field, worked out where they are asked for.
//
// A corner's normal is the mean of the normals of the faces around it, weighted by their angles
// there. On a grid all of it follows from the differences of heights: the cross product of two
// sides is the same at all corners of a face, and their dot products have one or two terms. The six
// shares of each of three corners go through the arithmetic together, in vector lanes.
#include <cmath>

#include "host/geom/height_field.h"

namespace {

// The heights of 4 x 4 samples around a cell, NaN beyond the field.
struct Window {
    float h[4][4];
    float dx, dy;
};

// Corners of the cell above and to the right of sample (i, j) of a window.
struct Cell {
    float a, b, c, d;
    Cell(const Window& w, int i, int j)
        : a(w.h[j][i]), b(w.h[j][i + 1]), c(w.h[j + 1][i + 1]), d(w.h[j + 1][i]) {}
};

// What the faces around three samples give to their normals.
struct Shares {
    static constexpr int kFaces = 6, kCount = 3 * kFaces;
    // How the face rises along its sides in x and y, and the dot product of its sides there.
    float riseX[kCount], riseY[kCount], dot[kCount];

    void Set(int i, float x, float y, float product) {
        riseX[i] = x, riseY[i] = y, dot[i] = product;
    }
    // The faces around sample (i, j) of the window as shares [first, first + 6).
    void SetAround(const Window& w, int i, int j, int first) {
        float xx = w.dx * w.dx, yy = w.dy * w.dy;
        Cell p(w, i - 1, j - 1), q(w, i, j - 1), r(w, i - 1, j), s(w, i, j);
        Set(first, p.b - p.a, p.c - p.b, yy + (p.a - p.c) * (p.b - p.c));
        Set(first + 1, p.c - p.d, p.d - p.a, xx + (p.d - p.c) * (p.a - p.c));
        Set(first + 2, q.c - q.d, q.d - q.a, (q.c - q.d) * (q.a - q.d));
        Set(first + 3, r.b - r.a, r.c - r.b, (r.a - r.b) * (r.c - r.b));
        Set(first + 4, s.b - s.a, s.c - s.b, xx + (s.b - s.a) * (s.c - s.a));
        Set(first + 5, s.c - s.d, s.d - s.a, yy + (s.c - s.a) * (s.d - s.a));
    }

    // The three normals.
    std::array<Point3, 3> Sum(const Window& w) const {
        float x[kCount], y[kCount], weight[kCount];
        float z = w.dx * w.dy;
        for (int i = 0; i < kCount; ++i) {
            x[i] = -riseX[i] * w.dy, y[i] = -riseY[i] * w.dx;
            // The angle of (dot, length): Abramowitz and Stegun 1964, 4.4.49, good to 1e-5.
            float length = std::sqrt(x[i] * x[i] + y[i] * y[i] + z * z);
            float away = std::fabs(dot[i]);
            float high = away > length ? away : length, low = away > length ? length : away;
            float t = low / high, s = t * t;
            float angle =
                t * (0.9998660f +
                     s * (-0.3302995f + s * (0.1801410f + s * (-0.0851330f + s * 0.0208351f))));
            angle = away < length ? 1.57079633f - angle : angle;
            angle = dot[i] < 0 ? 3.14159265f - angle : angle;
            weight[i] = angle / length;
        }
        std::array<Point3, 3> normals;
        for (int i = 0; i < kCount; ++i)
            if (weight[i] >= 0)  // no hole
                normals[size_t(i / kFaces)] += Point3{x[i], y[i], z} * weight[i];
        for (Point3& n : normals) n = Normalize(n);
        return normals;
    }
};

}  // namespace

std::array<Point3, 3> HeightField::CornerNormals(const HeightTriangle& t) const {
    Window w;
    w.dx = m_size.x / float(m_columns - 1), w.dy = m_size.y / float(m_rows - 1);
    bool isInner = t.column > 0 && t.row > 0 && t.column + 2 < m_columns && t.row + 2 < m_rows;
    for (size_t j = 0; j < 4; ++j)
        for (size_t i = 0; i < 4; ++i) {
            size_t column = t.column + i - 1, row = t.row + j - 1;  // wraps below 0
            bool isInside = isInner || (column < m_columns && row < m_rows);
            w.h[j][i] = isInside ? Height(column, row) : std::numeric_limits<float>::quiet_NaN();
        }
    Shares shares;
    shares.SetAround(w, t.upper ? 2 : 1, t.upper ? 2 : 1, 0);
    shares.SetAround(w, t.upper ? 1 : 2, t.upper ? 2 : 1, Shares::kFaces);
    shares.SetAround(w, t.upper ? 1 : 2, t.upper ? 1 : 2, 2 * Shares::kFaces);
    return shares.Sum(w);
}
