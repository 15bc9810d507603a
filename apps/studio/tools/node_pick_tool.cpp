#include "apps/studio/tools/node_pick_tool.h"

#include "Dravin/viewport/viewport_scene.h"

void NodePickTool::Begin(std::shared_ptr<NodePick> wish) {
    std::shared_ptr<NodePick> before = std::exchange(m_wish, std::move(wish));
    if (before && before->ended) before->ended();
    if (onChanged) onChanged();
}

void NodePickTool::TakePick(const ViewportPick& pick) {
    std::vector<NodeHandle> under;
    for (uint32_t id : pick.ids)
        if (const TViewNode* node = pick.scene->Find(id).node) under.push_back(node->handle);
    m_session.Do([this, under, wish = m_wish](Scene& scene) {
        for (NodeHandle handle : under) {
            INode* node = scene.FindHandle(handle);
            if (!node || !wish->accepts(scene, *node)) continue;
            wish->picked(scene, *node);
            if (!wish->goesOn && m_wish == wish) Begin(nullptr);
            return;
        }
        m_session.told.Send(MessageLevel::kNote, "Nothing that may be picked lies there");
    });
}

bool NodePickTool::Key(ViewportWidget&, int key, Qt::KeyboardModifiers) {
    if (key != Qt::Key_Escape || !m_wish) return false;
    return Begin(nullptr), true;
}
