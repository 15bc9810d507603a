#include "apps/studio/tools/paint_ground.h"

#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "apps/studio/tools/view_places.h"
#include "host/base/thread_pool.h"
#include "host/scene/node.h"

PaintGround::PaintGround(const std::vector<INode*>& surfaces, TimeValue t) {
    for (INode* node : surfaces) {
        auto array = DravinGlobals().surfaces.Get(node, kSurfaceXY, NumProcessors());
        if (!array) continue;
        Matrix3 toWorld = node->GetObjectTM(t);
        m_bounds += toWorld.BoxTransform(array->Bounds());
        m_surfaces.push_back({node->GetHandle(), std::move(array), toWorld, Inverse(toWorld)});
    }
}

std::optional<Point3> PaintGround::Under(const ViewportWidget& view, QPointF pixel) {
    if (!view.Shown()) return std::nullopt;
    if (view.Shown() != m_shown) {
        m_shown = view.Shown();
        std::vector<TViewNode> nodes;
        for (const TViewNode& node : m_shown->Nodes())
            for (const Surface& surface : m_surfaces)
                if (node.handle == surface.node) nodes.push_back(node);
        m_onlySurfaces = std::make_shared<const TViewportScene>(std::move(nodes));
    }
    return PlaceOn(*m_onlySurfaces, view, pixel, [](const TViewNode& node) {
        return node.kind == TViewKind::kMesh || node.kind == TViewKind::kTerrain ||
               node.kind == TViewKind::kScatter;
    });
}

Point3 PaintGround::Drop(const Point3& place) const {
    std::optional<Point3> top;
    for (const Surface& surface : m_surfaces) {
        Point3 local = place * surface.toSurface;
        TSurfHit hit;
        if (!surface.array->CellHit(local.x, local.y, &hit)) continue;
        Point3 on = hit.point * surface.toWorld;
        if (!top || on.z > top->z) top = on;
    }
    return top.value_or(place);
}
