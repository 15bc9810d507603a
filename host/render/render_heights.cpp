#include "host/render/render_heights.h"

#include <cmath>

namespace {

template <class T>
T Mean(const std::array<T, 3>& corners, float u, float v) {
    return corners[0] * (1 - u - v) + corners[1] * u + corners[2] * v;
}

}  // namespace

RenderHeights::RenderHeights(const HeightField& field, const Mtl* mtl, const Matrix3& transform,
                             RenderMaterials& materials)
    : m_field(field),
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

Point3 RenderHeights::FaceNormal(const HeightTriangle& t) const {
    auto [a, b, c] = m_field.Corners(t);
    return NormalToWorld(CrossProd(b - a, c - a));
}

Point3 RenderHeights::Normal(const HeightTriangle& t, float u, float v) const {
    std::array<Point3, 3> corners = m_field.CornerNormals(t);
    for (Point3& n : corners) n = NormalToWorld(n);
    return Normalize(Mean(corners, u, v));
}

Point3 RenderHeights::Position(const HeightTriangle& t, float u, float v) const {
    return Mean(m_field.Corners(t), u, v) * m_transform;
}

Point2 RenderHeights::Uv(const HeightTriangle& t, float u, float v) const {
    if (!IsMapped()) return {};
    Point3 uvw = Mean(m_field.MappingCorners(t), u, v);
    return {uvw.x, uvw.y};
}

float RenderHeights::UvDensity(const HeightTriangle& t) const {
    if (!IsMapped()) return 0;
    auto [a, b, c] = m_field.Corners(t);
    Point3 e1 = m_transform.VectorTransform(b - a), e2 = m_transform.VectorTransform(c - a);
    float area = Length(CrossProd(e1, e2));
    auto [p, q, r] = m_field.MappingCorners(t);
    float uvArea = std::fabs(CrossProd(q - p, r - p).z);
    return area > 0 ? std::sqrt(uvArea / area) : 0;
}

float RenderHeights::Opacity(const HeightTriangle& t, float u, float v, float width) const {
    const RenderMaterial& material = Material();
    if (!material.opacityMap) return material.opacity;
    return material.opacity *
           material.opacityMap->LookUpMask(Uv(t, u, v), width * UvDensity(t), Position(t, u, v));
}
