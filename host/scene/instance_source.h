// The one way in which renderers and exporters take instances from an object.
//
// A source has prototypes (a mesh with its material, in a space of its own) and instances, each a
// placed copy of one prototype. Instances are asked for in ranges and written into the caller's
// buffer, so that nobody ever holds a second copy of millions of records. A source is read-only
// while it is being read; ranges may be read from several threads at once.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/geom/mesh.h"
#include "host/math/color.h"
#include "host/math/interval.h"

class INode;
class Mtl;

struct InstanceRecord {
    Matrix3 transform;       // prototype space -> world space; may mirror
    uint32_t prototype = 0;  // index into the source's prototypes
    int32_t id = 0;          // stable number of the instance (its place in the item list)
    Color tint;              // colour that tints the instance, and how much of it, 0..1
    float tintBlend = 0;
};

// What else an instance is, for shading and for renderers that want to know; not read in bulk.
struct InstanceDetails {
    uint32_t seed = 0;
    std::array<float, 3> randoms{};    // its own random values, 0..1
    TimeValue frame = 0;               // scene time of the geometry that it shows
    std::vector<bool> hiddenElements;  // of the prototype's whole mesh; empty: it shows all
};

class IInstanceSource {
public:
    virtual ~IInstanceSource() = default;

    virtual std::string SourceName() const = 0;
    // The node whose object it is; null without a scene.
    virtual const INode* SourceNode() const { return nullptr; }

    // Why not all instances could be made, with what helps; empty where they were. Whoever shows or
    // writes the source must ask.
    virtual std::string Refusal() const { return {}; }

    virtual size_t NumPrototypes() const = 0;
    virtual std::string PrototypeName(size_t prototype) const = 0;
    // Never null while the source lives; may be empty (then its instances show nothing).
    virtual const Mesh* PrototypeMesh(size_t prototype) const = 0;
    // What its instances show, material overrides included. Null: the host's default grey.
    virtual Mtl* PrototypeMtl(size_t prototype) const = 0;
    // The same, where faces of a prototype show different materials.
    virtual Mtl* FaceMtl(size_t prototype, size_t face) const { return PrototypeMtl(prototype); }
    // The tint of an instance's face, where its record has none for all of them: one instance that
    // shows many items. False: the record's counts. Asked at hits: fast, any thread.
    virtual bool FaceTint(uint32_t instance, size_t face, Color* tint, float* blend) const {
        return false;
    }
    // The mesh of prototype 0 where it is the whole source in one piece, which shadow types may
    // change for a while (host/scene/shadow_type.h); null for all others.
    virtual Mesh* ChangeableMesh() const { return nullptr; }

    virtual size_t NumInstances() const = 0;
    // Writes instances first .. first + out.size() - 1, which must exist.
    virtual void GetInstances(size_t first, std::span<InstanceRecord> out) const = 0;
    // The caller has its own copy of what it wants of them: what a source made to answer may go,
    // and is made again where somebody asks once more.
    virtual void InstancesRead() const {}
    virtual InstanceDetails GetDetails(size_t instance) const { return {}; }
    // Details and interfaces will be asked for at hits: what takes time is done now.
    virtual void PrepareShading() const {}
    // What else the source can do, under a number that those who know of it agree on; null when it
    // cannot. Asked at hits: fast, any thread.
    virtual const void* GetInterface(uint32_t number) const { return nullptr; }
};
