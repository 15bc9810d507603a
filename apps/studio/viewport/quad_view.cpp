#include "apps/studio/viewport/quad_view.h"

#include <QGridLayout>

QuadView::QuadView(QWidget* parent, bool avoidsOpenGl)
    : QWidget(parent), m_grid(new QGridLayout(this)) {
    constexpr ViewSide kSides[] = {ViewSide::kTop, ViewSide::kFront, ViewSide::kLeft,
                                   ViewSide::kUser};
    constexpr int kGap = 2;
    m_grid->setContentsMargins(0, 0, 0, 0);
    m_grid->setSpacing(kGap);
    for (size_t i = 0; i < m_views.size(); ++i) {
        m_views[i] = new ViewportWidget(this, avoidsOpenGl);
        m_views[i]->Navigation().SetSide(kSides[i]);
        m_views[i]->onActivated = [this, i] { m_active = i; };
        m_views[i]->onMaximize = [this, i] {
            m_active = i;
            SetLayout(m_layout == QuadLayout::kOne ? m_before : QuadLayout::kOne);
        };
    }
    Arrange();
}

void QuadView::SetLayout(QuadLayout layout) {
    if (m_layout != QuadLayout::kOne) m_before = m_layout;
    m_layout = layout;
    Arrange();
}

void QuadView::ShowScene(std::shared_ptr<const TViewportScene> scene) {
    m_scene = std::move(scene);
    // Views that nobody sees draw nothing.
    for (ViewportWidget* view : m_views)
        if (!view->isHidden()) view->ShowScene(m_scene);
}

void QuadView::ForEachView(const std::function<void(ViewportWidget&)>& body) {
    for (ViewportWidget* view : m_views) body(*view);
}

void QuadView::Arrange() {
    for (ViewportWidget* view : m_views) m_grid->removeWidget(view);
    size_t other = m_active == 3 ? 0 : 3;
    for (size_t i = 0; i < m_views.size(); ++i) {
        bool isShown = m_layout == QuadLayout::kFour || i == m_active ||
                       (m_layout == QuadLayout::kTwo && i == other);
        if (m_layout == QuadLayout::kFour)
            m_grid->addWidget(m_views[i], int(i / 2), int(i % 2));
        else if (isShown)
            m_grid->addWidget(m_views[i], 0, i == m_active ? 1 : 0);
        m_views[i]->setVisible(isShown);
        if (isShown && m_scene && m_views[i]->Given() != m_scene) m_views[i]->ShowScene(m_scene);
    }
    m_views[m_active]->setFocus();
}
