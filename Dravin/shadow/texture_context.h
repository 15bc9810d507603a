// A place of a texture in place of a hit: answers come from fields that the caller sets.
//
// The place counts as a thousandth of the texture wide, less than what maps average over: they
// answer for the place itself.
#pragma once

#include <algorithm>

#include "host/math/display_color.h"
#include "host/scene/texmap.h"

class TTextureContext final : public ShadeContext {
public:
    explicit TTextureContext(TimeValue time) : m_time(time) {}

    Point3 uvw;  // of every channel
    int screenX = 0, screenY = 0;

    TimeValue Time() const override { return m_time; }
    RayKind Kind() const override { return RayKind::kShadow; }
    const INode* Node() const override { return nullptr; }
    uint32_t FaceIndex() const override { return 0; }
    Point2 Weights() const override { return {}; }
    int MaterialId() const override { return 0; }
    Point3 ObjectPosition() const override { return uvw; }
    Point3 WorldPosition() const override { return uvw; }
    Point3 FaceNormal() const override { return {0, 0, 1}; }
    Point3 Normal() const override { return {0, 0, 1}; }
    bool Tangents(int, Point3*, Point3*) const override { return false; }
    Point3 Uvw(int) const override { return uvw; }
    Color VertexColor() const override { return {1, 1, 1}; }
    Color LinearColor(const Texmap& map) const override {
        return DisplayToLinear(map.Eval(*this).Rgb());
    }
    Color Data(const Texmap& map) const override { return map.Eval(*this).Rgb(); }
    float Mask(const Texmap& map, float cutoff) const override {
        AColor c = map.Eval(*this);
        float value = std::clamp(Mean(c) * c.a, 0.f, 1.f);
        return cutoff > 0 ? float(value >= cutoff) : value;
    }
    // The mean of a map's colours there, whatever its alpha: what the wrapper material takes its
    // shadow planes' opacity from, too.
    float Mono(const Texmap& map) const { return Mean(map.Eval(*this)); }

private:
    static float Mean(const AColor& c) { return (c.r + c.g + c.b) / 3; }

    TimeValue m_time;
};
