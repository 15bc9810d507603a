#include "Dravin/build/footprint_input.h"

#include <algorithm>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "host/scene/instance_source.h"
#include "host/scene/node.h"

namespace {

void AddTriangles(const Mesh& mesh, const Matrix3& toWorld, const TFootprintRequest& request,
                  TFootprint& footprint) {
    std::vector<std::array<Point3, 3>> world;
    for (const Face& face : mesh.faces) {
        std::array<Point3, 3> corners;
        bool known = std::all_of(face.v.begin(), face.v.end(),
                                 [&](uint32_t v) { return v < mesh.verts.size(); });
        if (!known) continue;
        for (size_t k = 0; k < 3; ++k) corners[k] = mesh.verts[face.v[k]] * toWorld;
        if (!IsFinite(corners[0]) || !IsFinite(corners[1]) || !IsFinite(corners[2])) continue;
        if (request.top)
            AppendSliced(corners, *request.top, world);
        else
            world.push_back(corners);
    }
    for (std::array<Point3, 3>& corners : world) {
        for (Point3& p : corners) p = p * request.worldToObject;
        footprint.points.insert(footprint.points.end(), corners.begin(), corners.end());
        footprint.triangles.push_back(corners);
    }
}

// A frozen object covers what its view shows.
bool IsFrozen(const TDravin& other, const TFootprintRequest& request) {
    return !request.render && other.IsFrozen(request.time);
}

bool IsCurrent(const TDravin& other, const TFootprintRequest& request) {
    const TDravinBuild& build = other.Build();
    if (!build.Input()) return false;
    return IsFrozen(other, request) ||
           (build.Validity().Contains(request.time) && build.IsRender() == request.render);
}

void AddItemMeshes(const TDravinBuild& build, const TFootprintRequest& request,
                   TFootprint& footprint) {
    std::unique_ptr<IInstanceSource> source = build.MakeInstanceSource();
    std::vector<InstanceRecord> records(source->NumInstances());
    source->GetInstances(0, records);
    TFootprintRequest whole = request;
    whole.top.reset();
    for (const InstanceRecord& record : records)
        AddTriangles(*source->PrototypeMesh(record.prototype), record.transform, whole, footprint);
}

}  // namespace

std::vector<TPlacedMesh> PlacedMeshes(INode& head, TimeValue time, Interval* valid) {
    std::vector<TPlacedMesh> meshes;
    auto add = [&](INode* node) {
        Object* object = node->GetObjectRef();
        std::shared_ptr<const Mesh> mesh = object ? object->GetRenderMesh(time) : nullptr;
        if (!mesh) return;
        *valid &= object->ObjectValidity(time);
        meshes.push_back({std::move(mesh), node->GetObjectTM(time)});
    };
    if (head.IsGroupHead())
        VisitNodes(&head, add);
    else
        add(&head);
    return meshes;
}

TFootprint ObjectFootprint(std::span<const TPlacedMesh> meshes, const TFootprintRequest& request) {
    TFootprint footprint;
    float s = request.scale;
    for (const TPlacedMesh& placed : meshes)
        AddTriangles(*placed.mesh, Matrix3::Scaling({s, s, s}) * placed.toWorld, request,
                     footprint);
    return footprint;
}

void BringUpToDate(TDravin& other, const TFootprintRequest& request, Interval* valid) {
    TDravinBuild& build = other.Build();
    if (!IsCurrent(other, request)) {
        TBuildFlags flags;
        flags.noMesh = true;
        flags.render = request.render;
        build.BuildMesh(request.time, flags);
    }
    if (!IsFrozen(other, request)) *valid &= build.Validity();
}

TFootprint ItemsFootprint(const TDravin& other, const Matrix3& place,
                          const TFootprintRequest& request) {
    const TDravinBuild& build = other.Build();
    TFootprint footprint;
    TDravinItem item;
    for (size_t i = 0; i < build.Items().Count(); ++i) {
        build.Items().ReadStored(i, &item, 0);
        if (item.discarded) continue;
        float outer = request.itemMeshes ? item.outerRadius : item.boundaryRadius;
        float r = request.scale * outer;
        for (float dx : {-r, r})
            for (float dy : {-r, r})
                footprint.points.push_back((item.position + Point3{dx, dy, 0}) * place);
        if (!request.itemMeshes) footprint.discs.push_back({item.position * place, r});
    }
    if (request.itemMeshes) {
        std::vector<Point3> points = footprint.points;
        AddItemMeshes(build, request, footprint);
        footprint.points = std::move(points);
    }
    return footprint;
}
