// The effects editor: the program of one effect with colours, completion, the fault underlined and
// what its lines compute, and the effect's parameters beside it.
//
// While the text is wrong, the last good program stays in the scene. With "Live" on, a program that
// compiles is applied after a pause of typing; what is typed until Ctrl-Enter or another change is
// one undo step. A text that is not applied when the window closes is kept for its next opening.
// What the lines compute is shown for a fresh item, or for one that is picked in a view.
#pragma once

#include <map>
#include <memory>

#include <QWidget>

#include "Dravin/commands/effect_check.h"
#include "Dravin/engine/item_id.h"
#include "apps/studio/studio_session.h"
#include "apps/studio/tools/view_tools.h"

class CodeEdit;
class EffectParameterPanel;
class QLabel;
class QLineEdit;
class QTimer;
class QToolButton;
class TDravin;

class EffectEditor : public QWidget {
public:
    EffectEditor(StudioSession& session, ViewTools& tools, QWidget* parent);
    ~EffectEditor() override;

    // Shows the effect of that id of a node's object, as the scene has it.
    void Show(Scene& scene, INode& node, TDravin& object, const std::string& effectId);
    // The effect is open no more.
    void Forget();
    // Stores the program, as an undo step of its own; a wrong one is shown instead.
    void Apply();

    CodeEdit& Code() { return *m_code; }
    EffectParameterPanel& Parameters() { return *m_parameters; }
    const std::optional<TProgramFault>& Fault() const { return m_fault; }
    QString StatusText() const;
    QToolButton* Button(const char* name) const { return m_buttons.at(name); }
    // The item whose values are shown; none: a fresh one's.
    const std::optional<TItemId>& PickedItem() const { return m_item; }

    // Called when the user closes the window.
    std::function<void()> onClose;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void MakeButtons();
    void MakeFindBar();
    QToolButton* AddButton(const char* name, const char* text, const char* tip, QKeySequence keys,
                           std::function<void()> run);
    void Check();
    void Store(bool mayMerge);
    void ShowStatus(const QString& text, bool isFault);
    void MakeValueButtons();
    void ShowValues();
    void PickItem(bool on);
    void TakeItem(const ViewTools::MetItem& met);
    void StudyItem();

    StudioSession& m_session;
    ViewTools& m_tools;
    CodeEdit* m_code;
    EffectParameterPanel* m_parameters;
    QLabel *m_status, *m_help;
    QWidget *m_bar, *m_findBar;
    QLineEdit *m_find, *m_replace;
    std::map<std::string, QToolButton*> m_buttons;
    QTimer *m_checkSoon, *m_applySoon;

    NodeHandle m_node = 0;
    std::string m_effectId, m_stored;  // the program that the scene has
    std::vector<TEffectVariable> m_variables;
    std::optional<TProgramFault> m_fault;
    std::map<std::string, QString> m_drafts;  // by effect
    // The last undo step is of this window's typing, which may go on in it.
    bool m_mayMerge = false, m_isOwnChange = false;
    // The picked item, and how the effect found it in a build.
    struct Study;
    std::optional<TItemId> m_item;
    std::shared_ptr<Study> m_study;  // the last one
    bool m_isStudying = false, m_studyAgain = false;
    Connection m_changed, m_built;
};
