#include "host/render/render_heights.h"

#include <cmath>

RenderHeights::RenderHeights(const HeightField& field, Mtl* mtl, const Matrix3& transform,
                             RenderMaterials& materials, const INode* node)
    : m_field(field),
      m_node(node),
      m_materials(materials),
      m_material(materials.Add(mtl, 0)),
      m_cellsX(uint32_t(field.NumColumns() - 1)),
      m_transform(transform),
      m_inverse(Inverse(transform)) {}

bool RenderHeights::CanBeShown(const Matrix3& transform) {
    float volume = std::fabs(transform.Determinant());
    return volume > 0 && std::isfinite(volume) && IsFinite(transform.GetTrans());
}

// In double precision, whose rounding is far below that of the matrix.
HeightRay RenderHeights::MoveRay(const Point3& origin, const Point3& direction, float near,
                                 float far) const {
    HeightRay ray;
    const Matrix3& m = m_inverse;
    for (int i = 0; i < 3; ++i) {
        double d = 0, o = 0;
        for (int k = 0; k < 3; ++k) {
            d += double(direction[k]) * m.row[k][i];
            o += (double(origin[k]) - m_transform.row[3][k]) * m.row[k][i];
        }
        ray.direction[size_t(i)] = d, ray.origin[size_t(i)] = o;
    }
    ray.near = near, ray.far = far;
    return ray;
}

// By the inverse transpose.
Point3 RenderHeights::NormalToWorld(const Point3& n) const {
    const Matrix3& m = m_inverse;
    return Normalize({DotProd(m.row[0], n), DotProd(m.row[1], n), DotProd(m.row[2], n)});
}

std::array<Point3, 3> RenderHeights::Corners(const HeightTriangle& t) const {
    std::array<Point3, 3> corners = m_field.Corners(t);
    for (Point3& p : corners) p = p * m_transform;
    return corners;
}

Point3 RenderHeights::FaceNormal(const HeightTriangle& t) const {
    auto [a, b, c] = m_field.Corners(t);
    return NormalToWorld(CrossProd(b - a, c - a));
}

Point3 RenderHeights::Normal(const HeightTriangle& t, float u, float v) const {
    std::array<Point3, 3> corners = m_field.CornerNormals(t);
    for (Point3& n : corners) n = NormalToWorld(n);
    return Normalize(corners[0] * (1 - u - v) + corners[1] * u + corners[2] * v);
}
