// Texture maps: a colour at a place of a texture.
//
// Evaluation is const and thread safe once Update has run for the time in question.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "host/math/color.h"
#include "host/math/point.h"
#include "host/params/clone_map.h"
#include "host/params/property.h"
#include "host/scene/shading.h"

// Where a map is asked. The caller picks the mapping coordinates (of the map's channel, or a grid's
// own), before tiling, rotation and offset; the map applies these itself.
struct TexPoint {
    Point3 uvw;
    Point3 position;  // of the shaded point, object space; what three-dimensional maps read
};

class Texmap : public ReferenceTarget {
public:
    Property<std::string> name{this};
    // Mapping channel that the map asks for when a renderer shades.
    Property<int> channel{this, 1};
    // Texture coordinates are multiplied by the tiling, then turned, then shifted.
    Property<Point2> tiling{this, {1, 1}};
    Property<Point2> offset{this, {0, 0}};

    // Turns tiled coordinates about their origin, counter-clockwise.
    void SetRotation(float degrees);
    float RotationDegrees() const { return m_turn->degrees; }

    // The coordinates after tiling, rotation and offset.
    Point3 Place(const Point3& uvw) const {
        float u = uvw.x * tiling->x, v = uvw.y * tiling->y;
        if (m_turn->degrees != 0) {
            float turned = u * m_turn->cos - v * m_turn->sin;
            v = u * m_turn->sin + v * m_turn->cos;
            u = turned;
        }
        return {u + offset->x, v + offset->y, uvw.z};
    }

    // Prepares the map for time t (loads images). False with a reason in `error` when it cannot.
    virtual bool Update(TimeValue t, std::string* error) { return true; }

    // Colour with alpha at p. Needs Update.
    virtual AColor EvalColor(const TexPoint& p) const = 0;
    // Colours at many places at once; the same values as EvalColor, out.size() == points.size().
    virtual void EvalColors(std::span<const TexPoint> points, std::span<AColor> out) const {
        for (size_t i = 0; i < points.size(); ++i) out[i] = EvalColor(points[i]);
    }
    // Colour with alpha at a hit. Maps that look at more than a place of a texture (the item that
    // was hit) answer here; the others are asked at the coordinates of their channel.
    virtual AColor Eval(const ShadeContext& sc) const {
        return EvalColor({sc.Uvw(channel), sc.ObjectPosition()});
    }
    // What Eval will ask a context for, beside the map itself.
    virtual void TellNeeds(ShadeNeeds* needs) const {}
    // File of the image behind this map, empty when there is none (exporters keep it as a texture).
    virtual std::string ImageFile() const { return {}; }

    ClassInfo Class() const override { return {{}, SuperClass::kTexmap, "Texmap"}; }

protected:
    // What all maps have, into a copy.
    void CopyPlacing(Texmap& copy) const {
        copy.name = name;
        copy.channel = channel;
        copy.tiling = tiling;
        copy.offset = offset;
        copy.m_turn = m_turn;
    }

private:
    struct Turn {
        float degrees = 0, sin = 0, cos = 1;
        friend bool operator==(const Turn&, const Turn&) = default;
    };
    Property<Turn> m_turn{this};
};
