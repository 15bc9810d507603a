// The rollouts of the selected scatter objects, one below the other, with a box that filters them.
#pragma once

#include <vector>

#include <QWidget>

#include "Dravin/panels/rollouts.h"

class ParamControl;
class QLabel;
class QLineEdit;
class QScrollArea;
class RolloutWidget;
class Scene;
class StudioSession;

class CommandPanel : public QWidget {
public:
    explicit CommandPanel(StudioSession& session, QWidget* parent = nullptr);

    // What the controls show, from the scene as it is.
    void Show(Scene& scene);
    // Opens the parameter's rollout, scrolls to its control and gives it the focus.
    void JumpTo(TParamKey key);
    // Only what has all of these words in its name, label or help; empty: everything.
    void SetFilter(const QString& words);
    void OpenRollout(DravinBlockId block, bool open);
    ParamControl* ControlOf(TParamKey key);

private:
    StudioSession& m_session;
    QLabel* m_title;
    QLineEdit* m_filter;
    QScrollArea* m_scroll;
    std::vector<RolloutWidget*> m_rollouts;
};
