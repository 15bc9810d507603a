// What a node shows: geometry, shapes, cameras, lights, particle systems and helpers.
//
// An object lives in its own space; nodes place it, several nodes may share one. Its fields are
// properties: they tell when they change and can be undone.
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
#include "host/params/property.h"
#include "host/params/reference_list.h"

class IInstanceSource;
class INode;
class Mtl;
class ShadowType;

class Object : public ReferenceTarget {
public:
    // What the object shows at time t, after its modifiers: itself where it has none.
    virtual std::shared_ptr<Object> Evaluated(TimeValue t, Interval* valid);
    // How long what this object shows at time t stays the same; contains t.
    virtual Interval ObjectValidity(TimeValue t) const { return Interval::Forever(); }
    // The mesh at time t, object space; null when this is no geometry object.
    virtual std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) { return nullptr; }
    // The terrain that this object keeps as an image, object space; null for all others. Whoever
    // can do with it asks here first: the same surface takes twenty times the memory as a mesh.
    virtual std::shared_ptr<const HeightField> GetHeightField(TimeValue t) { return nullptr; }
    // Memory that its geometry takes, roughly, in bytes.
    virtual size_t GeometryBytes() const { return 0; }
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

    ClassInfo Class() const override { return {{}, SuperClass::kGeomObject, "Object"}; }
    bool Passes(ClassTest test) const override;
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
    std::string animation;     // of the file, by name; empty: its first

    friend bool operator==(const FileOrigin&, const FileOrigin&) = default;
};
struct PrimitiveOrigin {
    std::string kind;  // "plane", "box", "sphere", "cone", "cylinder"
    float width = 10, length = 10, height = 10, radius = 5;
    int segments = 0;  // 0: the kind's default

    friend bool operator==(const PrimitiveOrigin&, const PrimitiveOrigin&) = default;
};
using MeshOrigin = std::variant<std::monostate, FileOrigin, PrimitiveOrigin>;

// A mesh that deforms over time.
class IMeshAnimation {
public:
    virtual ~IMeshAnimation() = default;
    // The mesh at time t, never null and never changed afterwards; `valid`, where given, is
    // narrowed to how long it stays the same. One thread.
    virtual std::shared_ptr<const Mesh> MeshAt(TimeValue t, Interval* valid) = 0;
};

class TriObject : public Object {
public:
    TriObject();
    explicit TriObject(std::shared_ptr<const Mesh> mesh);
    TriObject(std::shared_ptr<const Mesh> mesh, const MeshOrigin& meshOrigin);

    Property<MeshOrigin> origin{this};
    RefProperty<Mtl> fileMaterial{this};  // that came with the mesh's file
    bool HasFile() const { return std::holds_alternative<FileOrigin>(origin.Get()); }

    Mtl* DefaultMtl() const override;
    const std::shared_ptr<const Mesh>& GetMesh() const { return m_mesh; }
    // Replaces the mesh, which then comes from no file and rests. Never null. Can be undone.
    void SetMesh(std::shared_ptr<const Mesh> mesh);

    // Animated meshes: `GetMesh` is how the mesh rests. Null: it never moves.
    const std::shared_ptr<IMeshAnimation>& Animation() const { return m_animation; }
    void SetAnimation(std::shared_ptr<IMeshAnimation> animation);

    Interval ObjectValidity(TimeValue t) const override;
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override {
        return m_animation ? m_animation->MeshAt(t, nullptr) : m_mesh;
    }
    bool IsGeomObject() const override { return true; }
    size_t GeometryBytes() const override { return m_mesh->BytesHeld(); }
    static constexpr ClassInfo kClass{{0x3d1c0010, 0x52a7}, SuperClass::kGeomObject, "Mesh"};
    ClassInfo Class() const override { return kClass; }
    // The material, which files leave to the mesh's own file.
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> mtl) override;
    bool IsSlotStored(int) const override { return !HasFile(); }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override { return i == 0 ? "Material" : ""; }
    // The copy shares the mesh, which nobody changes.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    std::shared_ptr<const Mesh> m_mesh;
    std::shared_ptr<IMeshAnimation> m_animation;
};

// A spline, kept as Bezier splines. Splines given by points have knots with zero handles, so that
// all their segments are straight.
class ShapeObject : public Object {
public:
    Property<BezierShape> shape{this};

    // The curves as polylines, object space.
    PolyShape GetPolyShape(TimeValue t) const { return MakePolyShape(shape); }

    bool IsShape() const override { return true; }
    static constexpr ClassInfo kClass{{0x3d1c0011, 0x52a7}, SuperClass::kShape, "Spline"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

class CameraObject : public Object {
public:
    AnimatedProperty<float> fovDegrees{this, 45};                // horizontal
    Property<float> envNear{this, 0.0f}, envFar{this, 1000.0f};  // environment ranges
    RefProperty<INode> target{this};

    bool IsCamera() const override { return true; }
    INode* GetTargetNode() const override;
    Interval ObjectValidity(TimeValue t) const override;
    static constexpr ClassInfo kClass{{0x3d1c0012, 0x52a7}, SuperClass::kCamera, "Camera"};
    ClassInfo Class() const override { return kClass; }
    // The target.
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> node) override;
    int NumSubs() const override { return 1; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Field of view" : ""; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

enum class LightKind { kDirectional, kPoint, kSpot };

// Shines along its local -Z (directional, spot) or all around.
class LightObject : public Object {
public:
    Property<LightKind> kind{this, LightKind::kDirectional};
    AnimatedProperty<Color> color{this, {1, 1, 1}};
    AnimatedProperty<float> intensity{this, 1};
    Property<bool> shadows{this, true};
    RefProperty<INode> target{this};
    // Nodes that cast no shadows of this light or, where it includes them, the only ones that do.
    Property<bool> includesShadowNodes{this, false};
    int NumShadowNodes() const { return m_shadowNodes.Count(); }
    INode* GetShadowNode(int i) const;
    // Null entries count for nothing. Tells, and can be undone.
    void SetShadowNodes(std::vector<std::shared_ptr<INode>> nodes);
    // Whether a node, null for geometry of none, casts shadows of this light.
    bool LetsCastShadows(const INode* node) const;
    // How it casts shadows where a renderer draws them into maps; null: a default map.
    RefProperty<ShadowType> shadowType{this};

    bool IsLight() const override { return true; }
    INode* GetTargetNode() const override;
    Interval ObjectValidity(TimeValue t) const override;
    static constexpr ClassInfo kClass{{0x3d1c0013, 0x52a7}, SuperClass::kLight, "Light"};
    ClassInfo Class() const override { return kClass; }
    // The target, the shadow type, the nodes of the shadow list.
    int NumRefs() const override { return 2 + NumShadowNodes(); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    void SetNumRefs(int count) override { m_shadowNodes.MakeSlots(std::max(0, count - 2)); }
    int NumSubs() const override { return 3; }
    ReferenceTarget* SubAnim(int i) const override;
    std::string SubAnimName(int i) const override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    ReferenceList<INode> m_shadowNodes{this};
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
    friend bool operator==(const Particle&, const Particle&) = default;
};

class ParticleObject : public Object {
public:
    Property<std::vector<Particle>> particles{this};

    // Event nodes that particles point at. The same node keeps its index; another one comes last,
    // which tells, and can be undone.
    int AddEvent(std::shared_ptr<INode> node);
    int NumEvents() const { return m_events.Count(); }
    INode* GetEvent(int i) const;  // null for -1

    bool IsParticleSystem() const override { return true; }
    static constexpr ClassInfo kClass{{0x3d1c0014, 0x52a7}, SuperClass::kParticles, "Particles"};
    ClassInfo Class() const override { return kClass; }
    // The event nodes.
    int NumRefs() const override { return NumEvents(); }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> node) override;
    void SetNumRefs(int count) override { m_events.MakeSlots(count); }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    ReferenceList<INode> m_events{this};
};

class DummyObject : public Object {
public:
    static constexpr ClassInfo kClass{{0x3d1c0015, 0x52a7}, SuperClass::kHelper, "Dummy"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};

// Head of a group; the members are the children of its node.
class GroupObject : public Object {
public:
    static constexpr ClassInfo kClass{{0x3d1c0016, 0x52a7}, SuperClass::kHelper, "Group"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;
};
