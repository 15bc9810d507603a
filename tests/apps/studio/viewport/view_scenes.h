// Small scenes of which it is known what a picture of them holds.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "Dravin/viewport/viewport_scene.h"
#include "host/geom/primitives.h"

// A square of 2 x 2 in the plane z = 0, with mapping over the unit square.
inline std::shared_ptr<Mesh> SquareMesh() {
    auto mesh = std::make_shared<Mesh>();
    mesh->verts = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
    mesh->faces = {Face{{0, 1, 2}}, Face{{0, 2, 3}}};
    mesh->faces[0].flags = Face::kEdge0 | Face::kEdge1;
    mesh->faces[1].flags = Face::kEdge1 | Face::kEdge2;
    MapChannel& map = mesh->MakeMap(1);
    map.verts = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    map.faces = {{0, 1, 2}, {0, 2, 3}};
    return mesh;
}

inline TViewNode MeshNode(std::shared_ptr<const Mesh> mesh, Color color, const Matrix3& toWorld) {
    TViewNode node;
    node.kind = TViewKind::kMesh;
    node.bounds = mesh->BoundingBox();
    node.mesh = std::move(mesh);
    node.paints.resize(1);
    node.paints[0].color = color;
    node.toWorld = toWorld;
    return node;
}

// Items of a unit mesh on a grid in the plane z = 0 around the origin, side x side.
inline TViewNode ItemNode(const Mesh& mesh, int side, float spacing, float size, Color color,
                          bool showsDots = false) {
    auto scatter = std::make_shared<TViewScatter>();
    TViewPrototype shown;
    shown.sample = std::make_shared<const TDravinMeshSample>(std::make_shared<Mesh>(mesh),
                                                             Matrix3(), Interval::Forever());
    shown.bounds = shown.sample->Size().bounds;
    for (int i = 0; i < 8; ++i) shown.radius = std::max(shown.radius, Length(shown.bounds[i]));
    shown.palette = {1};
    shown.paints.resize(1);
    shown.paints[0].color = shown.paints[0].meanColor = color;
    shown.shape = ShapeOf(shown.sample, {1});
    scatter->prototypes = {shown};
    scatter->palette = {{1, 1, 1}, color};
    scatter->showsDots = showsDots, scatter->largeDots = false;
    auto content = std::make_shared<TViewItems>();
    TViewCell cell;
    for (int k = 0; k < side * side; ++k) {
        int i = int(int64_t(k) * 7919 % (side * side));  // a prime: in no order of their places
        TViewItem item;
        item.toObject = Matrix3::Scaling({size, size, size});
        item.toObject.row[3] = {(float(i % side) - float(side - 1) / 2) * spacing,
                                (float(i / side) - float(side - 1) / 2) * spacing, 0};
        item.item = uint32_t(i);
        cell.bounds += item.toObject.BoxTransform(shown.bounds);
        content->items.push_back(item);
    }
    cell.count = uint32_t(side * side), cell.meanRadius = size * 0.87f;
    content->cells = {cell};
    scatter->content = std::move(content);
    TViewNode node;
    node.kind = TViewKind::kScatter;
    node.numIds = uint32_t(side * side) + 1;
    node.bounds = cell.bounds;
    node.scatter = std::move(scatter);
    return node;
}

inline std::shared_ptr<const TViewportScene> SceneOf(std::vector<TViewNode> nodes) {
    return std::make_shared<const TViewportScene>(std::move(nodes));
}
