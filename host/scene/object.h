// What a node shows: geometry, shapes, cameras, lights, particle systems and helpers.
//
// An object lives in its own space; nodes place it, several nodes may share one. Changing a public
// field is followed by NotifyDependents(), which the caller sends once for all fields it changed.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/geom/bezier_shape.h"
#include "host/geom/height_field.h"
#include "host/geom/mesh.h"
#include "host/math/color.h"
#include "host/math/interval.h"
#include "host/scene/reference.h"

class IInstanceSource;
class Mtl;
class INode;

class Object : public ReferenceTarget {
public:
    // How long what this object shows at time t stays the same; contains t.
    virtual Interval ObjectValidity(TimeValue t) const { return Interval::Forever(); }
    // The mesh at time t, object space; null when this is no geometry object.
    virtual std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) { return nullptr; }
    // The terrain that this object keeps as an image, object space; null for all others. Whoever
    // can do with it asks here first: the same surface takes twenty times the memory as a mesh.
    virtual std::shared_ptr<const HeightField> GetHeightField(TimeValue t) { return nullptr; }
    // Why a geometry object gives no mesh, with the remedy; empty where it does.
    virtual std::string MeshRefusal() const { return {}; }

    virtual bool IsGeomObject() const { return false; }
    virtual bool IsShape() const { return false; }
    virtual bool IsCamera() const { return false; }
    virtual bool IsLight() const { return false; }
    virtual bool IsParticleSystem() const { return false; }

    // Node that the object looks at (cameras and lights), null for none.
    virtual INode* GetTargetNode() const { return nullptr; }

    // The material that the object shows where its node has none of its own; null for none.
    virtual Mtl* DefaultMtl() const { return nullptr; }

    std::string ClassName() const override { return "Object"; }
};

// The axis that points up in a model file.
enum class UpAxis { kY, kZ };

// Where a mesh came from, kept so that a scene can be written as it was read.
struct FileOrigin {
    std::string file;          // as the scene names it
    std::string object;        // object inside the file, empty for all
    std::string base;          // folder that a relative file starts from
    std::optional<UpAxis> up;  // instead of what the format says
    bool keepNumbers = false;  // lengths are scene units, whatever unit the file states
};
struct PrimitiveOrigin {
    std::string kind;  // "plane", "box", "sphere", "cone", "cylinder"
    float width = 10, length = 10, height = 10, radius = 5;
    int segments = 0;  // 0: the kind's default
};
using MeshOrigin = std::variant<std::monostate, FileOrigin, PrimitiveOrigin>;

class TriObject : public Object {
public:
    TriObject() : m_mesh(std::make_shared<Mesh>()) {}
    explicit TriObject(std::shared_ptr<const Mesh> mesh, MeshOrigin meshOrigin = {})
        : origin(std::move(meshOrigin)), m_mesh(std::move(mesh)) {}

    MeshOrigin origin;
    std::shared_ptr<Mtl> fileMaterial;  // that came with the mesh's file

    Mtl* DefaultMtl() const override { return fileMaterial.get(); }
    const std::shared_ptr<const Mesh>& GetMesh() const { return m_mesh; }
    // Replaces the mesh and tells the dependents. Never null.
    void SetMesh(std::shared_ptr<const Mesh> mesh);

    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override { return m_mesh; }
    bool IsGeomObject() const override { return true; }
    std::string ClassName() const override { return "Mesh"; }

private:
    std::shared_ptr<const Mesh> m_mesh;
};

// A spline, kept as Bezier splines. Splines given by points have knots with zero handles, so that
// all their segments are straight.
class ShapeObject : public Object {
public:
    BezierShape shape;

    // The curves as polylines, object space.
    PolyShape GetPolyShape(TimeValue t) const { return MakePolyShape(shape); }

    bool IsShape() const override { return true; }
    std::string ClassName() const override { return "Spline"; }
};

class CameraObject : public Object {
public:
    float fovDegrees = 45;             // horizontal
    float envNear = 0, envFar = 1000;  // environment ranges
    Reference<INode> target{this};

    bool IsCamera() const override { return true; }
    INode* GetTargetNode() const override;
    std::string ClassName() const override { return "Camera"; }
};

enum class LightKind { kDirectional, kPoint, kSpot };

// Shines along its local -Z (directional, spot) or all around.
class LightObject : public Object {
public:
    LightKind kind = LightKind::kDirectional;
    Color color{1, 1, 1};
    float intensity = 1;
    bool shadows = true;
    Reference<INode> target{this};

    bool IsLight() const override { return true; }
    INode* GetTargetNode() const override;
    std::string ClassName() const override { return "Light"; }
};

struct Particle {
    static constexpr TimeValue kMissing = -1;

    bool hasPosition = false;
    Point3 position;    // of the system's node
    TimeValue age = 0;  // kMissing: the particle does not exist
    Point3 rotationDegrees;
    Point3 scale{1, 1, 1};
    Point3 speed;
    int event = -1;  // index into the system's events, -1 for none

    bool Exists() const { return hasPosition && age != kMissing; }
};

class ParticleObject : public Object {
public:
    std::vector<Particle> particles;

    // Event nodes that particles point at. The same node keeps its index.
    int AddEvent(std::shared_ptr<INode> node);
    int NumEvents() const { return int(m_events.size()); }
    INode* GetEvent(int i) const;  // null for -1

    bool IsParticleSystem() const override { return true; }
    std::string ClassName() const override { return "Particles"; }

private:
    std::vector<std::unique_ptr<Reference<INode>>> m_events;
};

class DummyObject : public Object {
public:
    std::string ClassName() const override { return "Dummy"; }
};

// Head of a group; the members are the children of its node.
class GroupObject : public Object {
public:
    std::string ClassName() const override { return "Group"; }
};
