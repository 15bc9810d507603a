#include "apps/studio/tools/snap_places.h"

#include <cmath>
#include <tuple>

SnapPlaces::SnapPlaces(const TViewportScene& scene, const EditTarget& target) {
    EditTarget::MoveTest isMoved = target.Moved();
    for (const TViewNode& node : scene.Nodes()) {
        if (isMoved(node, nullptr)) continue;
        m_places.push_back(node.toWorld.GetTrans());
        if (node.kind == TViewKind::kLines)
            for (const PolyLine& line : node.lines.lines)
                for (const Point3& p : line.points) m_places.push_back(p * node.toWorld);
        if (!node.scatter) continue;
        for (const TViewItem& item : node.scatter->Items())
            if (!isMoved(node, &item)) m_places.push_back(item.toObject.GetTrans() * node.toWorld);
    }
    for (const TargetMarks::Mark& mark : target.Marks().points)
        if (!mark.isSelected && !mark.isHandle) m_places.push_back(mark.place);
}

std::optional<Point3> SnapPlaces::Near(const TViewportCamera& camera, float x, float y,
                                       float reach) const {
    std::optional<Point3> nearest;
    auto least = std::tuple(reach, -1e30f);
    for (const Point3& place : m_places) {
        TScreenPoint at;
        if (!camera.Project(place, &at)) continue;
        float dx = std::abs(at.x - x), dy = std::abs(at.y - y);
        if (dx > reach || dy > reach) continue;
        auto distance = std::tuple(std::hypot(dx, dy), -at.nearness);
        if (distance < least) least = distance, nearest = place;
    }
    return nearest;
}
