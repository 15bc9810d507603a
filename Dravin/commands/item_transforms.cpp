#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/transforms.h"
#include "host/scene/node.h"

void TItemCommands::Move(const Matrix3& partm, const Matrix3& axes, const Point3& by) {
    if (!IsEditing()) return;
    Point3 offset = (axes * Inverse(partm)).VectorTransform(by);
    ChangeItems(
        m_object, Selected(), [&](TStoredItem& item) { item.storedPosition += offset; },
        TItemRecord::kOncePerHold);
}

void TItemCommands::Rotate(const Matrix3& partm, const Matrix3& axes, const Quat& turn,
                           bool aboutCenter) {
    if (!IsEditing()) return;
    Matrix3 m = partm * Inverse(axes) * turn.ToMatrix() * axes * Inverse(partm);
    ChangeItems(
        m_object, Selected(),
        [&](TStoredItem& item) {
            item.sourceTransform = item.sourceTransform * m;
            if (aboutCenter) item.storedPosition = item.storedPosition * m;
        },
        TItemRecord::kOncePerHold);
}

void TItemCommands::Scale(const Point3& factors) {
    if (!IsEditing()) return;
    ChangeItems(
        m_object, Selected(),
        [&](TStoredItem& item) { item.sizeFactor = item.sizeFactor * factors; },
        TItemRecord::kOncePerHold);
}

std::vector<std::pair<uint32_t, Point3>> TItemCommands::Centers(TimeValue t) const {
    Matrix3 world = m_node.GetObjectTM(t);
    if (!IsEditing()) return {{0, world.GetTrans()}};
    std::vector<std::pair<uint32_t, Point3>> centers;
    for (uint32_t i : Selected())
        centers.emplace_back(i, m_object.StoredItems()[i].storedPosition * world);
    return centers;
}

std::vector<std::pair<uint32_t, Matrix3>> TItemCommands::Transforms(TimeValue t) const {
    Matrix3 world = m_node.GetObjectTM(t);
    if (!IsEditing()) return {{0, world}};
    const TDravinItemList& built = m_object.Build().Items();
    bool isBuilt = built.Count() == m_object.StoredItems().size();
    std::vector<std::pair<uint32_t, Matrix3>> transforms;
    for (uint32_t i : Selected()) {
        // Until it has been built, an item is known by its frame alone.
        const TStoredItem& item = m_object.StoredItems()[i];
        Matrix3 m = isBuilt ? built.Item(i).fullTransform : item.sourceTransform;
        m.SetTrans(item.storedPosition);
        transforms.emplace_back(i, m * world);
    }
    return transforms;
}
