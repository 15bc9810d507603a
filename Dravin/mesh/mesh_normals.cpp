#include "Dravin/mesh/mesh_normals.h"

#include <algorithm>

#include "host/geom/mesh_tools.h"

namespace {

// One a corner.
std::shared_ptr<const MapChannel> SmoothNormals(const Mesh& mesh) {
    auto normals = std::make_shared<MapChannel>();
    normals->verts = VertexNormals(mesh);
    normals->faces.resize(mesh.faces.size());
    for (uint32_t f = 0; f < mesh.faces.size(); ++f)
        normals->faces[f] = {3 * f, 3 * f + 1, 3 * f + 2};
    return normals;
}

}  // namespace

void PlaceNormals(const TDravinItemList& items, TMeshMeasure& measure) {
    bool any = std::any_of(
        measure.shapes.begin(), measure.shapes.end(),
        [](const TMeshShape& shape) { return shape.mesh && !shape.mesh->normals.IsEmpty(); });
    if (!any) return;
    for (TMeshShape& shape : measure.shapes) {
        if (!shape.mesh) continue;
        if (shape.mesh->normals.IsEmpty()) shape.ownNormals = SmoothNormals(*shape.mesh);
        shape.normals = shape.ownNormals ? shape.ownNormals.get() : &shape.mesh->normals;
    }
    ForEachItem(items, [&](size_t i, const TItemColumns& columns, size_t k) {
        TItemRange& range = measure.ranges[i];
        if (!range.IsMeshed()) return;
        range.firstNormal = uint32_t(measure.numNormals);
        const ItemMarks& marks = columns.marks[k];
        measure.numNormals +=
            measure.shapes[range.shape].normals->verts.size() +
            size_t(marks.Is(ItemMarks::kVerticalShadow) + marks.Is(ItemMarks::kHorizontalShadow));
    });
}
