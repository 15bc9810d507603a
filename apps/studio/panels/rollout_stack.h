// Rollouts of things, one below the other: titles that open and close them, and their controls,
// which are made when they are first seen.
#pragma once

#include <vector>

#include <QWidget>

#include "apps/studio/panels/controls.h"

class RolloutWidget;

// Rollouts of one thing, or of several alike.
struct RolloutSection {
    PanelScope scope;
    std::vector<TRollout> rollouts;
    std::string name;  // of the class: the user's settings keep under it what is open
};

class RolloutStack : public QWidget {
public:
    explicit RolloutStack(std::vector<RolloutSection> sections, QWidget* parent = nullptr);

    // What the controls show, from the scene as it is. Sections of nothing are disabled, and keep
    // what they showed.
    void Show(Scene& scene);
    // Only what has all of these words in its name, label or help; none: everything.
    void SetFilter(const QStringList& words);
    // False where no rollout shows this table.
    bool Open(const ParamBlockDesc2& table, bool open);
    // Null where none of the rollouts has it.
    ParamControl* ControlOf(TParamKey key);

private:
    struct Section {
        std::function<TPanel(Scene&)> panel;
        std::vector<RolloutWidget*> rollouts;
    };
    std::vector<Section> m_sections;
};
