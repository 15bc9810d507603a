// Texture maps: a colour at a place of a texture.
//
// Evaluation is const and thread safe once Update has run for the time in question.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "host/math/color.h"
#include "host/math/point.h"
#include "host/scene/reference.h"

// Where a map is asked. The caller picks the mapping coordinates (of the map's channel, or a grid's
// own), before tiling, rotation and offset; the map applies these itself.
struct TexPoint {
    Point3 uvw;
    Point3 position;  // of the shaded point, object space; what three-dimensional maps read
};

class Texmap : public ReferenceTarget {
public:
    std::string name;
    int channel = 1;      // mapping channel that the map asks for when a renderer shades
    Point2 tiling{1, 1};  // texture coordinates are multiplied by it, then turned, then shifted
    Point2 offset{0, 0};

    // Turns tiled coordinates about their origin, counter-clockwise.
    void SetRotation(float degrees);
    float RotationDegrees() const { return m_rotationDegrees; }

    // The coordinates after tiling, rotation and offset.
    Point3 Place(const Point3& uvw) const {
        float u = uvw.x * tiling.x, v = uvw.y * tiling.y;
        if (m_rotationDegrees != 0) {
            float turned = u * m_cos - v * m_sin;
            v = u * m_sin + v * m_cos;
            u = turned;
        }
        return {u + offset.x, v + offset.y, uvw.z};
    }

    // Prepares the map for time t (loads images). False with a reason in `error` when it cannot.
    virtual bool Update(TimeValue t, std::string* error) { return true; }

    // Colour with alpha at p. Needs Update.
    virtual AColor EvalColor(const TexPoint& p) const = 0;
    // Colours at many places at once; the same values as EvalColor, out.size() == points.size().
    virtual void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
        for (size_t i = 0; i < points.size(); ++i) out[i] = EvalColor(points[i]);
    }
    // File of the image behind this map, empty when there is none (exporters keep it as a texture).
    virtual std::string ImageFile() const { return {}; }

    std::string ClassName() const override { return "Texmap"; }

private:
    float m_rotationDegrees = 0, m_sin = 0, m_cos = 1;
};
