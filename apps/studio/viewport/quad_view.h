// One, two or four viewports of the same scene.
#pragma once

#include <array>
#include <functional>

#include "apps/studio/viewport/viewport_widget.h"

class QGridLayout;

enum class QuadLayout { kOne, kTwo, kFour };

// Top, front, left and perspective. The active view has the focus, or had it last; Alt-W shows it
// alone and back.
class QuadView : public QWidget {
public:
    explicit QuadView(QWidget* parent = nullptr, bool avoidsOpenGl = false);

    void SetLayout(QuadLayout layout);
    QuadLayout Layout() const { return m_layout; }
    void ShowScene(std::shared_ptr<const TViewportScene> scene);
    ViewportWidget& View(size_t i) { return *m_views[i]; }
    size_t NumViews() const { return m_views.size(); }
    ViewportWidget& ActiveView() { return *m_views[m_active]; }
    // Told for each of the views: callbacks are set there, once.
    void ForEachView(const std::function<void(ViewportWidget&)>& body);

private:
    void Arrange();

    QGridLayout* m_grid;
    std::array<ViewportWidget*, 4> m_views;
    std::shared_ptr<const TViewportScene> m_scene;
    size_t m_active = 3;
    QuadLayout m_layout = QuadLayout::kOne, m_before = QuadLayout::kFour;
};
