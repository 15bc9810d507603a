// The rollouts of what is selected, one below the other, with a box that filters them.
//
// Scatter objects have the thirteen of theirs; other objects, modifiers and nodes those of their
// tables of values. What is made up alike is shown, and changed, together.
#pragma once

#include <map>
#include <vector>

#include <QWidget>

#include "Dravin/panels/panel_stack.h"
#include "apps/studio/panels/controls.h"

class QLabel;
class QLineEdit;
class QScrollArea;
class RolloutStack;

class CommandPanel : public QWidget {
public:
    explicit CommandPanel(StudioSession& session, QWidget* parent = nullptr);

    // What the controls show, from the scene as it is.
    void Show(Scene& scene);
    // Opens the parameter's rollout, scrolls to its control and gives it the focus.
    void JumpTo(TParamKey key);
    // Only what has all of these words in its name, label or help; empty: everything.
    void SetFilter(const QString& words);
    void OpenRollout(const ParamBlockDesc2& table, bool open);
    void OpenRollout(DravinBlockId block, bool open) { OpenRollout(DravinBlocks()[block], open); }
    // Of the page that is shown, else of that of scatter objects; null for none.
    ParamControl* ControlOf(TParamKey key);

private:
    using Classes = std::vector<ClassId>;
    struct Part {
        std::string name;  // of the class
        std::vector<TRollout> rollouts;
    };
    RolloutStack* MakePage(const Classes& classes, const std::vector<Part>& parts);
    RolloutStack* PageOf(const TPanelStack& stack);
    RolloutStack& ScatterPage();

    StudioSession& m_session;
    QLabel* m_title;
    QLineEdit* m_filter;
    QScrollArea* m_scroll;
    std::map<Classes, RolloutStack*> m_pages;  // by what the nodes are made up of
    RolloutStack* m_page = nullptr;            // that is shown; null: none
};
