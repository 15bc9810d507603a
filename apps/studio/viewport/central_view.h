// The view of the scene in the middle of the window.
#pragma once

#include <memory>

class QWidget;
class TViewportScene;

class ICentralView {
public:
    virtual ~ICentralView() = default;
    virtual QWidget* Widget() = 0;
    virtual void ShowScene(std::shared_ptr<const TViewportScene> scene) = 0;
    virtual void FrameAll() = 0;
};

// Owned by its widget's parent.
ICentralView* MakeCentralView(QWidget* parent);
