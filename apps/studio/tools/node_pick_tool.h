// Choosing a node by a click in a view, for whoever wished it: a right click or Escape gives up.
#pragma once

#include <memory>

#include "apps/studio/node_pick.h"
#include "apps/studio/studio_session.h"
#include "apps/studio/viewport/viewport_widget.h"

class NodePickTool : public IViewTool {
public:
    explicit NodePickTool(StudioSession& session) : m_session(session) {}

    const NodePick* Wish() const { return m_wish.get(); }
    // Null: none any more. Whoever wished before hears that it has ended.
    void Begin(std::shared_ptr<NodePick> wish);
    // A click: the nearest node below it that may be picked.
    void TakePick(const ViewportPick& pick);

    std::function<void()> onChanged;  // there is another wish, or none

    bool Press(ViewportWidget&, QPointF, Qt::KeyboardModifiers) override { return false; }
    void Drag(ViewportWidget&, QPointF, Qt::KeyboardModifiers) override {}
    void Release(ViewportWidget&) override {}
    void Cancel(ViewportWidget&) override {}
    void Hover(ViewportWidget&, QPointF) override {}
    bool Key(ViewportWidget& view, int key, Qt::KeyboardModifiers modifiers) override;

private:
    StudioSession& m_session;
    std::shared_ptr<NodePick> m_wish;
};
