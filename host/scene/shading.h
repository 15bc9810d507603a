// What materials and texture maps are asked at a hit, and what they answer.
//
// A renderer finds a hit and makes a ShadeContext of it; the material under it reads from there
// what it wants to know and fills a SurfaceLook. Only what is asked for is worked out. Before the
// first hit a material is brought to the time of the picture (Mtl::Update), and tells which maps it
// will ask for (ShadeNeeds), so that a renderer can prepare them: images become pyramids of
// averages, which a wide ray reads where it would otherwise see one texel of thousands.
//
// A context belongs to one hit and one thread. Materials and maps are only read while they shade,
// by any number of threads. Light is linear; display colours stand where it says so.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/math/color.h"
#include "host/math/interval.h"
#include "host/math/point.h"

class IInstanceSource;
class INode;
class Texmap;

// Why a hit is shaded: it is seen (directly or in a mirror), lies in the way of light, or lights
// others.
enum class RayKind : uint8_t { kCamera, kShadow, kIndirect };

// What a map stands for.
enum class MapUse : uint8_t {
    kColor,  // display colours, which become linear light
    kData,   // numbers, as they are
    kMask,   // opacity: luminance times alpha
};

// The maps that a material will ask for, and what else a renderer must keep for it.
struct ShadeNeeds {
    struct Map {
        const Texmap* map;
        MapUse use;
        float cutoff;  // of a mask: 1 where it reaches the cutoff, else 0; 0: as it is
    };
    std::vector<Map> maps;
    bool vertexColors = false;  // the mesh's channel 0
    // Whether light may pass through anywhere; what never lets any through is never asked.
    bool canCut = false;
    // The material tints instances by itself; else the renderer does, by their records.
    bool tintsInstances = false;

    void Add(const Texmap* map, MapUse use, float cutoff = 0) {
        if (map) maps.push_back({map, use, cutoff});
    }
};

class ShadeContext {
public:
    virtual ~ShadeContext() = default;

    virtual TimeValue Time() const = 0;
    virtual RayKind Kind() const = 0;

    // What was hit. The node, or null where a picture is made without a scene; the source of the
    // instance and the instance's number in it, or null and 0 on a node's own mesh.
    virtual const INode* Node() const = 0;
    virtual const IInstanceSource* Source() const { return nullptr; }
    virtual uint32_t Instance() const { return 0; }
    // The face as its mesh counts them, the weights of its second and third corner, and its
    // material id.
    virtual uint32_t FaceIndex() const = 0;
    virtual Point2 Weights() const = 0;
    virtual int MaterialId() const = 0;

    // In the space of the mesh as its object (or its prototype) gives it.
    virtual Point3 ObjectPosition() const = 0;
    virtual Point3 WorldPosition() const = 0;
    // World space, unit length: of the face's plane, and interpolated over its corners. Both as the
    // mesh has them, whichever side is seen.
    virtual Point3 FaceNormal() const = 0;
    virtual Point3 Normal() const = 0;
    // World space: how the place moves with u and v of a mapping channel; false where it has none.
    virtual bool Tangents(int channel, Point3* alongU, Point3* alongV) const = 0;

    // Mapping coordinates of a channel; zeros where the mesh has none.
    virtual Point3 Uvw(int channel) const = 0;
    // Channel 0 of the mesh as linear light; white where there is none. Needs vertexColors.
    virtual Color VertexColor() const = 0;

    // Values of maps that the material told of, averaged over the width of the ray where the
    // renderer can: linear light, plain numbers, a share in 0..1.
    virtual Color LinearColor(const Texmap& map) const = 0;
    virtual Color Data(const Texmap& map) const = 0;
    virtual float Mask(const Texmap& map, float cutoff) const = 0;
};

// What a surface does with light, at one place. Linear.
struct SurfaceLook {
    Color diffuse{0.5f, 0.5f, 0.5f};  // share of the light that it scatters
    float translucency = 0;           // 0..1: share of that which leaves on the other side
    float reflectivity = 0;           // 0..1: strength of a water-like mirror
    float ripple = 0;                 // slope of small waves on it
    // A glossy layer: what it reflects seen from straight above, black for none, and how rough it
    // is, 0..1 (its microfacets' slope is the square).
    Color specular{0, 0, 0};
    float roughness = 1;
    Color emission{0, 0, 0};  // radiance of its own
    // World space, unit length. The renderer puts the interpolated one on the viewer's side here;
    // materials may bend it.
    Point3 normal;
};
