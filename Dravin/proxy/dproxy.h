// A stand-in for renderers that want real scene nodes: it hands them the mesh of another object.
//
// A source proxy shows a node's mesh sample at a time, an object proxy the scatter object's own
// mesh. Proxies stand in the scene between the beginning and the end of a render, hidden
// (TProxyObjects); renderers ask them again every frame and take their extent from the mesh.
#pragma once

#include "Dravin/dravin.h"
#include "Dravin/proxy/proxy_registry.h"
#include "host/math/box.h"
#include "host/scene/creation.h"
#include "host/scene/object.h"

class TDravinMeshSample;

class DProxy : public Object {
public:
    enum Kind : int32_t { kSourceProxy = 0, kObjectProxy = 1 };

    DProxy();
    ~DProxy() override;

    Kind kind = kSourceProxy;
    Reference<TDravin> owner{this};  // of an object proxy
    Reference<INode> source{this};   // of a source proxy
    // Ticks: the time that is shown, or what is added to the render's.
    TimeValue timeOffset = 0;
    bool isAbsoluteTime = false;

    // The mesh at the render's time t; an empty one where there is no source or owner any more.
    // What it returned is let go by the next call. An object proxy's is that of the owner's last
    // build; whoever holds it keeps it.
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override;
    // Empty: nothing that it shows may be kept.
    Interval ObjectValidity(TimeValue) const override { return Interval::Never(); }
    bool IsGeomObject() const override { return true; }

    // Unit cubes about the origin, the latter of whatever node: the extent is the mesh's.
    Box3 LocalBox() const;
    Box3 WorldBox(const INode&) const { return LocalBox(); }

    // Whether it can become an object of a class: the plain object and the triangle mesh only.
    static bool CanConvertTo(ClassId id);
    // Null for all other classes.
    std::shared_ptr<Object> ConvertTo(TimeValue t, ClassId id);

    // A user makes one with the mouse: its first point places it and ends that. point: from 0;
    // onGrid: where the construction grid lies under the mouse; transform: of the node in the
    // making, which stays where the answer is not kStop.
    static CreationAnswer Place(CreationMessage message, int point, const Point3& onGrid,
                                Matrix3* transform);

    // The render of `node` begins or ends; told to the registry.
    void RenderBegin(TimeValue t, INode& node);
    void RenderEnd(TimeValue t);

    static constexpr ClassInfo kClass{{0x3d1c0105, 0x52a7}, SuperClass::kGeomObject, "DProxy"};
    ClassInfo Class() const override { return kClass; }
    // Slot 0 keeps whatever it is given.
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    Reference<ReferenceTarget> m_slot{this};
    std::shared_ptr<const TDravinMeshSample> m_sample;
    std::shared_ptr<TProxyRegistry> m_registry;
};
