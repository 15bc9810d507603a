#include "host/script/mesh_scripts.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "host/geom/mesh_tools.h"
#include "host/scene/material.h"
#include "host/scene/scene.h"
#include "host/script/script_system.h"

namespace {

constexpr size_t kMostMaterials = size_t(std::numeric_limits<uint16_t>::max()) + 1;

std::shared_ptr<Mtl> Share(Mtl* mtl) {
    return mtl ? std::static_pointer_cast<Mtl>(mtl->shared_from_this()) : nullptr;
}

// The mesh that a node shows at its scene's time, null for none.
std::shared_ptr<const Mesh> ShownMesh(const INode& node) {
    TimeValue now = node.GetScene()->GetTime();
    ObjectState state = node.EvalWorldState(now);
    return state.object ? state.object->GetRenderMesh(now) : nullptr;
}

ScriptResult NoMesh(const INode& node) {
    return ScriptError(fmt::format("\"{}\" shows no mesh", node.GetName()));
}

ScriptResult ConvertToMesh(INode& node) {
    std::shared_ptr<const Mesh> mesh = ShownMesh(node);
    if (!mesh) return NoMesh(node);
    if (!node.GetMtl()) node.SetMtl(Share(node.GetShownMtl()));
    node.SetObjectRef(std::make_shared<TriObject>(mesh));
    return {};
}

// Materials of joined meshes, in the order of their first use.
class JoinedMaterials {
public:
    // Gives the faces the ids of their materials here.
    void Take(Mesh& mesh, Mtl* material) {
        constexpr int kUnknown = -1;
        std::vector<int> ids(kMostMaterials, kUnknown);  // by those before
        for (Face& face : mesh.faces) {
            int& id = ids[face.matID];
            if (id == kUnknown)
                id = IdOf(Share(material ? material->MtlOfId(face.matID) : nullptr));
            face.matID = uint16_t(id);
        }
    }
    bool AreTooMany() const { return m_materials.size() > kMostMaterials; }
    // All in one; null where no face has a material.
    std::shared_ptr<Mtl> Join() const {
        if (m_materials.size() == 1) return m_materials[0];
        auto all = std::make_shared<MultiMtl>();
        for (const auto& material : m_materials) all->Append(material);
        return all;
    }

private:
    int IdOf(std::shared_ptr<Mtl> material) {
        auto at = std::find(m_materials.begin(), m_materials.end(), material);
        if (at == m_materials.end()) at = m_materials.insert(at, std::move(material));
        return int(at - m_materials.begin());
    }

    std::vector<std::shared_ptr<Mtl>> m_materials;
};

ScriptResult Attach(INode& node, INode& source) {
    if (&node == &source) return ScriptError("a node cannot be attached to itself");
    auto* object = dynamic_cast<TriObject*>(node.GetObjectRef());
    if (!object) return ScriptError(fmt::format("\"{}\" is no mesh", node.GetName()));
    std::shared_ptr<const Mesh> other = ShownMesh(source);
    if (!other) return NoMesh(source);
    TimeValue now = node.GetScene()->GetTime();
    Mesh joined = *object->GetMesh();
    Mesh added = TransformedMesh(*other, source.GetObjectTM(now) * Inverse(node.GetObjectTM(now)));
    JoinedMaterials materials;
    materials.Take(joined, node.GetShownMtl());
    materials.Take(added, source.GetShownMtl());
    if (materials.AreTooMany())
        return ScriptError(fmt::format("more than {} materials in one mesh", kMostMaterials));
    FillMissingColors(joined, added);
    AppendMesh(joined, added);
    object->SetMesh(std::make_shared<const Mesh>(std::move(joined)));
    node.SetMtl(materials.Join());
    node.GetScene()->DeleteNode(source);
    return {};
}

ScriptResult PivotToBase(INode& node) {
    std::shared_ptr<const Mesh> mesh = ShownMesh(node);
    if (!mesh) return NoMesh(node);
    TimeValue now = node.GetScene()->GetTime();
    Matrix3 toWorld = node.GetObjectTM(now), place = node.GetNodeTM(now);
    Box3 box;
    for (const Point3& p : mesh->verts) box += p * toWorld;
    if (box.IsEmpty()) return {};
    std::vector<std::pair<INode*, Matrix3>> children;
    for (int i = 0; i < node.NumberOfChildren(); ++i)
        children.push_back({node.GetChildNode(i), node.GetChildNode(i)->GetNodeTM(now)});
    Point3 pivot{box.Center().x, box.Center().y, box.min.z};
    ObjectOffset offset = node.GetObjectOffset();
    offset.position += Inverse(place).VectorTransform(place.GetTrans() - pivot);
    node.SetObjectOffset(offset);
    place.SetTrans(pivot);
    node.SetNodeTM(now, place);
    for (auto& [child, world] : children) child->SetNodeTM(now, world);
    return {};
}

}  // namespace

void RegisterMeshScripts(ScriptSystem& scripts, NodeOfName find) {
    // Runs change(node, …) on the nodes in these places.
    auto on = [find](auto change, auto... places) {
        return [find, change, places...](const ScriptArguments& arguments) -> ScriptResult {
            for (size_t place : {size_t(places)...})
                if (!find(arguments.Text(place)))
                    return ScriptError(
                        fmt::format("no node is named \"{}\"", arguments.Text(place)));
            return change(*find(arguments.Text(places))...);
        };
    };
    scripts.Register("convertToMesh $'%s'", on(ConvertToMesh, 0));
    scripts.Register(
        "meshop.attach $'%s' $'%s' attachMat:#IDToMat condenseMat:true deleteSourceNode:true",
        on(Attach, 0, 1));
    scripts.Register("$'%s'.pivot = [$'%s'.center.x,$'%s'.center.y,$'%s'.min.z]",
                     [find, pivot = on(PivotToBase, 0)](const ScriptArguments& arguments) {
                         for (size_t place : {1, 2, 3})
                             if (arguments.Text(place) != arguments.Text(0))
                                 return ScriptError("a pivot comes to the node's own base only");
                         return pivot(arguments);
                     });
}
