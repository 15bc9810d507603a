// A height field as a surface: the cell under a point is known from the point, so that a hit reads
// four samples and nothing else. Face numbers, weights and normals are to the bit those of the
// field's triangles in a TTriangleSurface.
#pragma once

#include <memory>

#include "Dravin/engine/surface_hit.h"
#include "host/geom/height_field.h"

class THeightSurface {
public:
    explicit THeightSurface(std::shared_ptr<const HeightField> field) : m_field(std::move(field)) {
        const Box3& b = m_field->Bounds();
        if (!b.IsEmpty()) m_bounds = {{b.min.x, b.min.y}, {b.max.x, b.max.y}};
    }

    // The face over or under (x, y). False when none is there.
    bool CellHit(float x, float y, TSurfHit* hit) const {
        HeightTriangle t;
        TFaceRecord record;
        if (!m_field->CellAt(x, y, &t)) return false;
        size_t i = t.column, j = t.row;
        t.upper =
            IsUpper(x, y, {m_field->X(i), m_field->Y(j)}, {m_field->X(i + 1), m_field->Y(j + 1)});
        auto [a, b, c] = m_field->Corners(t);
        if (!MakeFaceRecord(a, b, c, &record)) return false;
        float z = record.HeightAt(x, y);
        if (!(z > kLowestHit)) return false;
        *hit = MakeFaceHit(record, x, y, m_field->FaceNumber(t), z);
        return true;
    }
    // The same in mapping coordinates: the face that holds (u, v), and its weights there; the
    // hit's point and normal lie in the plane of the mapping.
    bool MappingHit(float u, float v, HeightTriangle* t, TSurfHit* hit) const {
        TFaceRecord record;
        if (!m_field->CellAtMapping(u, v, t)) return false;
        size_t i = t->column, j = t->row;
        t->upper =
            IsUpper(u, v, {m_field->U(i), m_field->V(j)}, {m_field->U(i + 1), m_field->V(j + 1)});
        auto [a, b, c] = m_field->MappingCorners(*t);
        if (!m_field->Exists(*t) || !MakeFaceRecord(a, b, c, &record)) return false;
        *hit = MakeFaceHit(record, u, v, m_field->FaceNumber(*t), 0);
        return true;
    }

    // Coordinates of mapping channel 1 at a hit; zero for any other channel.
    Point3 Uvw(int channel, int32_t face, const Point3& barycentric) const {
        if (channel != 1) return {};
        auto t = m_field->MappingCorners(m_field->TriangleOf(size_t(face)));
        return t[0] * barycentric.x + t[1] * barycentric.y + t[2] * barycentric.z;
    }

    const HeightField& Field() const { return *m_field; }
    const Box2& GridBounds() const { return m_bounds; }

private:
    // Which side of the diagonal from `low` to `high`: the test of CrossesRay, so that a point on
    // it belongs to the same triangle.
    static bool IsUpper(float x, float y, Point2 low, Point2 high) {
        return (high.x - low.x) * (y - low.y) > (x - low.x) * (high.y - low.y);
    }

    std::shared_ptr<const HeightField> m_field;
    Box2 m_bounds;
};
