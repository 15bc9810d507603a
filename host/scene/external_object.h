// An object of another scene file, shown here as it stands there.
//
// What it shows follows the object in the other file when the scene is opened again; it cannot be
// changed here. Objects that come from one file share its scene, which lives as long as any of
// them; a scatter object is built there, as in its own scene. One thread.
#pragma once

#include "host/scene/object.h"

class Scene;

// Where the object stands, kept so that a scene can be written as it was read.
struct ExternalOrigin {
    std::string file;    // a path
    std::string object;  // name of a node in it
    friend bool operator==(const ExternalOrigin&, const ExternalOrigin&) = default;
};

class ExternalObject : public Object {
public:
    ExternalObject() = default;
    // node: of `scene`; its object and material are shown, not its place.
    ExternalObject(ExternalOrigin origin, std::shared_ptr<Scene> scene, INode& node);

    const ExternalOrigin& Origin() const { return m_origin; }
    // Another object; as the constructor. Tells; cannot be undone.
    void Show(ExternalOrigin origin, std::shared_ptr<Scene> scene, INode& node);
    void ShowSameAs(const ExternalObject& other);
    // Null where it shows nothing.
    Object* Source() const { return m_source.Get(); }
    // The scene that the object stands in, shared by all that come from it.
    const std::shared_ptr<Scene>& SourceScene() const { return m_scene; }

    // Why a node cannot be shown from another scene; empty where it can.
    static std::string Refusal(const INode& node);

    std::shared_ptr<Object> Evaluated(TimeValue t, Interval* valid) override;
    Interval ObjectValidity(TimeValue t) const override;
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override;
    std::shared_ptr<const HeightField> GetHeightField(TimeValue t) override;
    std::string MeshRefusal() const override { return m_source ? m_source->MeshRefusal() : ""; }
    bool IsGeomObject() const override { return m_source && m_source->IsGeomObject(); }
    bool IsShape() const override { return m_source && m_source->IsShape(); }
    // What the node in the other scene shows.
    Mtl* DefaultMtl() const override;

    static constexpr ClassInfo kClass{{0x92AAB38C, 0}, SuperClass::kGeomObject, "External Object"};
    ClassInfo Class() const override { return kClass; }
    // The object and the node in the other scene, which are named by the origin alone: files hold
    // neither, and nobody else fills the slots.
    int NumRefs() const override { return 2; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    bool IsSlotStored(int) const override { return false; }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return i == 0 ? m_source.Get() : nullptr; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Object" : ""; }
    // The copy shares the other scene.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    void Put(ExternalOrigin origin, std::shared_ptr<Scene> scene, std::shared_ptr<INode> node,
             std::shared_ptr<Object> source);

    ExternalOrigin m_origin;
    std::shared_ptr<Scene> m_scene;  // before what refers into it
    Reference<Object> m_source{this};
    Reference<INode> m_node{this};
};
