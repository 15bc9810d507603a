// A scene node: a named place in the hierarchy that shows an object.
//
// Transforms are row-vector matrices. The local transform is relative to the parent; a node whose
// object has a target keeps its position and turns its -Z axis towards the target. The object
// offset (scale, then rotation, then translation) stands between the object and the node.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/math/matrix3.h"
#include "host/scene/material.h"
#include "host/scene/object.h"

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

class INode : public ReferenceTarget {
public:
    static std::shared_ptr<INode> Create(std::string name,
                                         std::shared_ptr<Object> object = nullptr);

    bool renderable = true;
    Color wireColor{0.6f, 0.6f, 0.6f};
    int id = 0;  // the user's integer identifier
    bool selected = false;
    bool selectable = true;

    const std::string& GetName() const { return m_name; }
    void SetName(const std::string& name);

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
    // its local transform. False (nothing done) when that would make a cycle.
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

    const Matrix3& GetLocalTM() const { return m_local; }
    void SetLocalTM(const Matrix3& local);
    // Node space -> world space. A target that turns with this node, through whatever other
    // targets, does not turn it again.
    Matrix3 GetNodeTM(TimeValue t) const;
    void SetNodeTM(TimeValue t, const Matrix3& world);
    // Object space -> world space.
    Matrix3 GetObjectTM(TimeValue t) const { return m_offset.ToMatrix() * GetNodeTM(t); }
    const ObjectOffset& GetObjectOffset() const { return m_offset; }
    void SetObjectOffset(const ObjectOffset& offset);

    const std::string& GetLayer() const { return m_layer; }
    void SetLayer(const std::string& layer);
    void SetHidden(bool hidden);
    bool HiddenFlag() const { return m_hidden; }
    // Hidden by its own flag or by its layer.
    bool IsHidden() const;
    // Shown in renderings: renderable itself and by its layer.
    bool IsRenderable() const;

    // User-defined properties: name -> text.
    const std::map<std::string, std::string>& UserProperties() const { return m_properties; }
    // Null when there is none.
    const std::string* GetUserProperty(const std::string& key) const;
    void SetUserProperty(const std::string& key, const std::string& text);
    void SetUserProperty(const std::string& key, float value);

    Scene* GetScene() const { return m_scene; }  // null for a loose node

    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;
    std::string ClassName() const override { return "Node"; }

private:
    friend class NodeRestore;
    friend class Scene;
    struct Turning;
    Matrix3 WorldTM(TimeValue t, const Turning* turning) const;
    // Sends the transform message for this node and everything below it.
    void NotifyTransform();

    std::string m_name;
    Scene* m_scene = nullptr;
    INode* m_parent = nullptr;
    std::vector<std::shared_ptr<INode>> m_children;
    Reference<Object> m_object{this};
    Reference<Mtl> m_mtl{this};
    Matrix3 m_local;
    ObjectOffset m_offset;
    std::string m_layer = "0";
    bool m_hidden = false;
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
