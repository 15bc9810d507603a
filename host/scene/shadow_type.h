// Shadows of lights for renderers that do not trace rays.
//
// A light may name a shadow type; without one a default shadow map serves it. Before a picture the
// renderer asks the type for a generator (or several: one a piece of what the picture shows, one a
// side of a point light), updates it, and asks it at every shaded place how much light arrives. A
// generator draws what casts shadows through the renderer, which alone knows its geometry.
//
// A map looks along the -Z of its light space. Pixel (0, 0) is its upper left; x grows with the
// light's x, y against the light's y. Depths are lengths along the view, smaller is nearer. One
// thread updates a generator; any number may sample it afterwards.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "host/math/color.h"
#include "host/math/interval.h"
#include "host/math/matrix3.h"
#include "host/params/reference.h"

class INode;
class LightObject;
class ShadeContext;
enum class LightKind;
struct Mesh;

// Whether a node, null for geometry of none, casts shadows of a light, null for a light of no
// scene.
bool CastsShadowOf(const LightObject* light, const INode* node);

// What a map sees: its place, and how lengths become pixels.
struct ShadowView {
    Matrix3 worldToLight;
    bool isPerspective = false;
    int size = 0;  // pixels along a side
    // Pixels per length; with perspective, per length at distance 1.
    float scale = 1;
    // Whose shadows: what it lets cast none is not drawn. Null: a light of no scene.
    const LightObject* light = nullptr;

    // Where the light's axis meets the map.
    float CenterX() const { return float(size / 2); }
    float CenterY() const { return float(size - size / 2); }
};

// A mesh that a picture shows as a whole and that shadow types may change while they update, as
// long as they put back what was there.
struct RenderInstance {
    const INode* node = nullptr;
    Mesh* mesh = nullptr;  // of the renderer
    uint32_t id = 0;       // of the node, among all that the picture shows
};

// A picture in the making, as shadow types see it.
class IShadowScene {
public:
    virtual ~IShadowScene() = default;

    // The meshes that may be changed.
    virtual std::span<const RenderInstance> Instances() const = 0;
    // The id that a node has in Instances; 0xFFFFFFFF for any other.
    virtual uint32_t IdOf(const INode* node) const = 0;
    // Draws all that casts shadows into size * size depths, row by row, which hold what they are to
    // be compared with: places that are nearer replace it.
    virtual void DrawDepth(const ShadowView& view, std::span<float> depths) const = 0;
    // Bytes that buffers may still take.
    virtual uint64_t MemoryLeft() const = 0;
    // Hears how much of a step is done; false: stop.
    virtual bool Progress(size_t done, size_t total) = 0;
    // A problem for the user.
    virtual void Tell(const std::string& problem) = 0;
};

struct LightDesc {
    LightKind kind{};
};

class ShadowGenerator {
public:
    struct Request {
        TimeValue time = 0;
        IShadowScene* scene = nullptr;  // never null; need not outlive the call
        Matrix3 lightToWorld;           // its scale does not count
        float aspect = 1;               // of a map's sides; maps are square
        // Directional lights: half the side of the square that the map covers. Others: the angle
        // that it covers, in radians, below pi.
        float param = 1;
        float clipDistance = 0;  // 0: none; places further away are never shadowed
    };
    virtual ~ShadowGenerator() = default;

    // Makes the map. 1 for success; without a buffer (its size is 0, or too much) the light casts
    // no shadows, which the scene is told, and that is success too. 0: the update failed.
    virtual int Update(const Request& request) = 0;
    virtual int UpdateViewDepParams(const Matrix3& worldToCamera) { return 1; }
    virtual void FreeBuffer() = 0;

    // How much light arrives, 0..1, at a place of the map: x and y in pixels, z its depth; slopes:
    // how z grows from pixel to pixel on the surface there.
    virtual float Sample(const ShadeContext& sc, float x, float y, float z, float xSlope,
                         float ySlope) const = 0;
    // The same at a surface that is known by its normal alone.
    virtual float Sample(const ShadeContext& sc, const Point3& normal, Color* color) const = 0;
    // Whether the one pixel at x, y sees depth z (1) or not (0).
    virtual float QuickSample(int x, int y, float z) const = 0;
    // The mean over a square of `range` pixels.
    virtual float FiltSample(float x, float y, float z, float range) const = 0;
    // The mean along a line in the map.
    virtual float LineSample(const Point3& from, const Point3& to) const = 0;

    // Pixels along a side, and the depths row by row; null without a buffer.
    virtual int Size() const = 0;
    virtual float* Buffer() = 0;
};

class ShadowType : public ReferenceTarget {
public:
    // Never null. The type must outlive the generator.
    virtual std::unique_ptr<ShadowGenerator> CreateShadowGenerator(const LightObject* light,
                                                                   const LightDesc& about,
                                                                   uint32_t flags) = 0;
    // Pixels along a side at time t.
    virtual int MapSize(TimeValue t) const = 0;

    ClassInfo Class() const override { return {{}, SuperClass::kShadowType, "ShadowType"}; }
};
