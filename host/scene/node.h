// A scene node: a named place in the hierarchy that shows an object.
//
// Every change of a node tells its dependents and can be undone. Transforms are row-vector
// matrices, constant or with keys. The local transform is relative to the parent; a node whose
// object has a target keeps its position and turns its -Z axis towards the target. The object
// offset (scale, then rotation, then translation) stands between the object and the node.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/math/matrix3.h"
#include "host/scene/layer.h"
#include "host/scene/material.h"
#include "host/scene/object.h"
#include "host/scene/transform_controller.h"

class Scene;

// The most nodes that may stand above each other.
inline constexpr int kMaxNodeDepth = 1024;

struct ObjectOffset {
    Point3 position;
    Point3 rotationDegrees;  // about X, then Y, then Z
    Point3 scale{1, 1, 1};

    Matrix3 ToMatrix() const;
    friend bool operator==(const ObjectOffset&, const ObjectOffset&) = default;
};

// What a node shows at a time.
struct ObjectState {
    std::shared_ptr<Object> object;      // after its modifiers; null for a node that shows nothing
    Matrix3 tm;                          // object space -> world space
    Interval valid = Interval::Never();  // how long both stay the same
};

// Names a node in its scene for as long as the scene lives, and in its files; 0 for none.
using NodeHandle = uint32_t;

// Whom nodes of a scene tell of what it keeps for all of them.
class INodeHome {
public:
    virtual void NodeRenamed(class INode& node, const std::string& oldName) = 0;
    // Found or made.
    virtual std::shared_ptr<Layer> ShareLayer(const std::string& name) = 0;

protected:
    ~INodeHome() = default;
};

class INode : public ReferenceTarget {
public:
    static std::shared_ptr<INode> Create(std::string name,
                                         std::shared_ptr<Object> object = nullptr);

    Property<bool> renderable{this, true};
    Property<bool> castsShadows{this, true};  // in renderings
    // Stands in the scene while it is open and comes back by itself: left out where it is written.
    bool isTransient = false;
    Property<Color> wireColor{this, {0.6f, 0.6f, 0.6f}};
    Property<int> id{this, 0};  // the user's integer identifier
    Property<bool> selectable{this, true};
    AnimatedProperty<bool> hidden{this, false};  // its own switch

    const std::string& GetName() const { return m_name; }
    void SetName(const std::string& name);

    // 0 outside scenes. A node that undo brings back has its old one.
    NodeHandle GetHandle() const { return m_handle; }

    // In the selection of its scene (Scene::Select).
    bool IsSelected() const { return m_selected; }

    // The object that the node shows at time t, where it stands, and how long so.
    ObjectState EvalWorldState(TimeValue t) const;

    Object* GetObjectRef() const { return m_object.Get(); }
    std::shared_ptr<Object> ShareObjectRef() const { return m_object.Share(); }
    void SetObjectRef(std::shared_ptr<Object> object);
    // The node's own material.
    Mtl* GetMtl() const { return m_mtl.Get(); }
    // What it shows: its own material, else that of its object; null for the default grey.
    Mtl* GetShownMtl() const {
        return m_mtl ? m_mtl.Get() : m_object ? m_object->DefaultMtl() : nullptr;
    }
    std::shared_ptr<Mtl> ShareMtl() const { return m_mtl.Share(); }
    void SetMtl(std::shared_ptr<Mtl> mtl);

    // The parent; for nodes at the top the scene's root, for the root and loose nodes null.
    INode* GetParentNode() const { return m_parent; }
    bool IsRootNode() const { return m_parent == nullptr && m_scene != nullptr; }
    int NumberOfChildren() const { return int(m_children.size()); }
    INode* GetChildNode(int i) const { return m_children[size_t(i)].get(); }
    // Makes `child` the last child. It leaves its old parent, and keeps its place in the world or
    // its local transform. False (nothing done) when that would make a cycle. Between nodes of one
    // scene it can be undone.
    bool AttachChild(std::shared_ptr<INode> child, bool keepWorld = true);
    // This node or one of its ancestors is `node`.
    bool IsBelow(const INode* node) const;
    // How many nodes stand above this one, the scene's root not counted.
    int Depth() const;

    // A group's head is a node that shows a GroupObject; members are all nodes below one.
    bool IsGroupHead() const;
    bool IsGroupMember() const { return GetGroupHead() != nullptr; }
    // The nearest head above this node, null outside groups.
    INode* GetGroupHead() const;
    // The outermost head that is this node or above it, null outside groups.
    INode* GetOutermostHead();

    // Relative to the parent.
    Matrix3 GetLocalTM(TimeValue t = 0, Interval* valid = nullptr) const {
        return m_controller ? m_controller->Eval(t, valid) : m_local;
    }
    // A constant; a controller goes.
    void SetLocalTM(const Matrix3& local);
    // The animated transform, null for a constant one.
    TransformController* GetTMController() const { return m_controller.Get(); }
    void SetTMController(std::shared_ptr<TransformController> controller);
    // Node space -> world space. A target that turns with this node, through whatever other
    // targets, does not turn it again.
    // `valid`, where given, is narrowed to how long the transform stays the same.
    Matrix3 GetNodeTM(TimeValue t, Interval* valid = nullptr) const;
    // A controller takes the transform at time t as its keys allow (TransformController::SetAt).
    void SetNodeTM(TimeValue t, const Matrix3& world);
    // Object space -> world space.
    Matrix3 GetObjectTM(TimeValue t, Interval* valid = nullptr) const {
        return m_offset.ToMatrix() * GetNodeTM(t, valid);
    }
    const ObjectOffset& GetObjectOffset() const { return m_offset; }
    void SetObjectOffset(const ObjectOffset& offset);

    const std::string& GetLayer() const { return m_layer; }
    void SetLayer(const std::string& layer);
    void SetHidden(bool isHidden) { hidden = isHidden; }
    bool HiddenFlag(TimeValue t = 0) const { return hidden.At(t); }
    // Hidden by its own switch or by its layer.
    bool IsHidden(TimeValue t = 0) const;
    // Shown in renderings: renderable itself and by its layer.
    bool IsRenderable() const;
    // Its layer shows nodes as boxes in views.
    bool IsShownAsBox() const;

    // User-defined properties: name -> text.
    const std::map<std::string, std::string>& UserProperties() const { return m_properties; }
    // Null when there is none.
    const std::string* GetUserProperty(const std::string& key) const;
    void SetUserProperty(const std::string& key, const std::string& text);
    void SetUserProperty(const std::string& key, float value);
    void RemoveUserProperty(const std::string& key);

    Scene* GetScene() const { return m_scene; }  // null for a loose node

    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;

    static constexpr ClassInfo kClass{{0x3d1c0005, 0x52a7}, SuperClass::kNode, "Node"};
    ClassInfo Class() const override { return kClass; }
    bool Passes(ClassTest test) const override;
    // The transform controller, the object, the material.
    int NumRefs() const override { return 3; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    int NumSubs() const override { return 3; }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    // A loose node with a copy of the object; its material and whatever the object refers to go
    // through the map. Children are not copied (Scene::CloneNodes does).
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    friend class NodeRestore;
    friend class Scene;
    struct Turning;
    Matrix3 WorldTM(TimeValue t, const Turning* turning, Interval* valid) const;
    // Sends the transform message for this node and everything below it.
    void NotifyTransform();
    // Both of one scene; null for a loose node.
    void StandIn(Scene* scene, INodeHome* home) { m_scene = scene, m_home = home; }
    // The plain changes, without undo.
    void PutName(const std::string& name);
    void PutLayer(const std::string& layer);
    void PutObject(std::shared_ptr<Object> object);
    void PutPlace(const Matrix3& local, std::shared_ptr<TransformController> controller);
    void PutBelow(INode& parent, size_t place);
    void PutProperty(const std::string& key, const std::optional<std::string>& text);
    void SetPlace(const Matrix3& local, std::shared_ptr<TransformController> controller);
    size_t PlaceInParent() const;

    std::string m_name;
    Scene* m_scene = nullptr;
    INodeHome* m_home = nullptr;
    INode* m_parent = nullptr;
    NodeHandle m_handle = 0;
    bool m_selected = false;
    std::vector<std::shared_ptr<INode>> m_children;
    Reference<Object> m_object{this};
    Reference<Mtl> m_mtl{this};
    Reference<TransformController> m_controller{this};
    Reference<Layer> m_sceneLayer{this};  // of that name; null outside scenes
    Matrix3 m_local;
    ObjectOffset m_offset;
    std::string m_layer = "0";
    std::map<std::string, std::string> m_properties;
};

// Rotation part of a transform at `from` whose -Z axis points at `to`, with world Z up where it
// can. The identity when both are one point.
Matrix3 LookAtRotation(const Point3& from, const Point3& to);

// The first node that shows `object`, null when none does.
INode* GetWorldNode(const Object& object);

// Depth first in child order, `node` itself first.
template <class F>
void VisitNodes(INode* node, const F& visit) {
    visit(node);
    for (int i = 0; i < node->NumberOfChildren(); ++i) VisitNodes(node->GetChildNode(i), visit);
}
