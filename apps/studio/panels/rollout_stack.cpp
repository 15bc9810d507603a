#include "apps/studio/panels/rollout_stack.h"

#include <QLabel>
#include <QPointer>
#include <QToolButton>
#include <QVBoxLayout>

#include "Dravin/config/settings.h"
#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/panels/row_list.h"
#include "host/base/log.h"
#include "host/scene/scene.h"

namespace {

bool Matches(TParamKey key, const QStringList& words) {
    QString all = Text(HelpOf(key.Def()) + " " + CaptionOf(key.Def()));
    for (const QString& word : words)
        if (!all.contains(word, Qt::CaseInsensitive)) return false;
    return true;
}

}  // namespace

// One rollout: a title that opens and closes it, and its controls, made when they are first seen.
class RolloutWidget : public QWidget {
public:
    // name: of the settings that keep whether it is open.
    // parent: without one it would be a window for a moment.
    RolloutWidget(const PanelScope& scope, TRollout rollout, std::string name, QWidget* parent)
        : QWidget(parent), m_scope(scope), m_rollout(std::move(rollout)), m_name(std::move(name)) {
        m_title = new QToolButton;
        m_title->setObjectName("rollout");
        m_title->setText(Text(m_rollout.title));
        m_title->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        m_title->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        m_title->setCheckable(true);
        m_title->setFocusPolicy(Qt::StrongFocus);
        m_body = new QWidget;
        auto* column = new QVBoxLayout(this);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(0);
        column->addWidget(m_title);
        column->addWidget(m_body);
        connect(m_title, &QToolButton::clicked, this, [this](bool on) {
            SetOpen(on);
            KeepOpen();
        });
        m_isOpen = DravinSettings().ReadInt(SettingsKey(), m_name, m_rollout.startsOpen) != 0;
        Lay();
    }

    const TRollout& Rollout() const { return m_rollout; }
    void SetOpen(bool open) { m_isOpen = open, Lay(); }
    void SetFilter(const QStringList& words) { m_words = words, Lay(); }

    void Show(const TPanel& panel) {
        for (Group& group : m_groups) {
            group.isShown = panel.IsShown(*group.source);
            if (group.list) group.list->Show(panel);
            for (ParamControl* control : group.controls) control->Show(panel);
        }
        if (!m_groups.empty()) Lay();
    }
    ParamControl* Control(TParamKey key) {
        Make();
        for (Group& group : m_groups)
            for (ParamControl* control : group.controls)
                if (control->Key() == key) return control;
        return nullptr;
    }

private:
    struct Group {
        const TPanelGroup* source;
        QWidget* box;
        RowList* list = nullptr;
        QWidget* buttons = nullptr;
        std::vector<ParamControl*> controls = {};
        std::vector<QLabel*> texts = {};
        bool isShown = true;
    };

    void Make() {
        if (!m_groups.empty()) return;
        auto* column = new QVBoxLayout(m_body);
        column->setContentsMargins(8, 4, 8, 12);
        column->setSpacing(4);
        for (const TPanelGroup& source : m_rollout.groups) {
            m_groups.push_back(MakeGroup(source));
            column->addWidget(m_groups.back().box);
        }
        m_scope.session.Look([self = QPointer<RolloutWidget>(this)](Scene& scene) {
            if (self) self->Show(self->m_scope.panel(scene));
        });
    }
    Group MakeGroup(const TPanelGroup& source) {
        Group group{&source, new QWidget};
        auto* column = new QVBoxLayout(group.box);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(4);
        if (!source.title.empty()) {
            auto* title = new QLabel(Text(source.title));
            title->setObjectName("group");
            column->addWidget(title);
        }
        if (source.list) column->addWidget(group.list = new RowList(m_scope, *source.list));
        for (TParamKey key : source.params) {
            group.controls.push_back(MakeParamControl(m_scope, key));
            column->addWidget(group.controls.back());
        }
        for (const TPanelText& text : source.texts) group.texts.push_back(AddText(text, column));
        if (!source.buttons.empty())
            column->addWidget(group.buttons = MakeButtonRow(m_scope, source.buttons, {}));
        return group;
    }

    static QLabel* AddText(const TPanelText& text, QVBoxLayout* column) {
        auto* label = new QLabel(Text(text.text + (text.value.empty() ? "" : ": " + text.value)));
        column->addWidget(label);
        return label;
    }

    static std::string SettingsKey() { return std::string(kSettingsKey) + "\\Rollouts"; }
    void KeepOpen() const {
        std::string error;
        if (!DravinSettings().Write(SettingsKey(), m_name, m_isOpen ? "1" : "0", &error))
            LogWarning("Which rollouts are open is not kept: " + error);
    }

    // What is open, belongs to the mode and passes the filter is seen.
    void Lay() {
        bool isFiltered = !m_words.isEmpty(), isAny = false;
        if (m_isOpen || isFiltered) Make();
        for (Group& group : m_groups) {
            bool isAnyHere = !isFiltered;
            for (ParamControl* control : group.controls) {
                bool passes = !isFiltered || Matches(control->Key(), m_words);
                control->setVisible(passes);
                isAnyHere |= passes;
            }
            if (group.list) group.list->setVisible(!isFiltered);
            if (group.buttons) group.buttons->setVisible(!isFiltered);
            for (QLabel* text : group.texts) text->setVisible(!isFiltered);
            group.box->setVisible(isAnyHere && group.isShown);
            isAny |= isAnyHere && group.isShown;
        }
        bool isSeen = isFiltered ? isAny : m_isOpen;
        m_body->setVisible(isSeen);
        setVisible(!isFiltered || isAny);
        m_title->setChecked(isSeen);
        m_title->setArrowType(isSeen ? Qt::DownArrow : Qt::RightArrow);
    }

    PanelScope m_scope;
    TRollout m_rollout;
    std::string m_name;
    QToolButton* m_title;
    QWidget* m_body;
    std::vector<Group> m_groups;
    QStringList m_words;
    bool m_isOpen = false;
};

RolloutStack::RolloutStack(std::vector<RolloutSection> sections, QWidget* parent)
    : QWidget(parent) {
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->setSpacing(2);
    for (RolloutSection& section : sections) {
        Section& made = m_sections.emplace_back(Section{section.scope.panel, {}});
        for (TRollout& rollout : section.rollouts) {
            std::string name = section.name + " " + rollout.title;
            made.rollouts.push_back(
                new RolloutWidget(section.scope, std::move(rollout), std::move(name), this));
            rows->addWidget(made.rollouts.back());
        }
    }
    rows->addStretch(1);
}

void RolloutStack::Show(Scene& scene) {
    for (Section& section : m_sections) {
        TPanel panel = section.panel(scene);
        for (RolloutWidget* rollout : section.rollouts) {
            rollout->setEnabled(!panel.IsEmpty());
            if (!panel.IsEmpty()) rollout->Show(panel);
        }
    }
}

void RolloutStack::SetFilter(const QStringList& words) {
    for (Section& section : m_sections)
        for (RolloutWidget* rollout : section.rollouts) rollout->SetFilter(words);
}

bool RolloutStack::Open(const ParamBlockDesc2& table, bool open) {
    bool isAny = false;
    for (Section& section : m_sections)
        for (RolloutWidget* rollout : section.rollouts)
            if (rollout->Rollout().table == &table) rollout->SetOpen(open), isAny = true;
    return isAny;
}

ParamControl* RolloutStack::ControlOf(TParamKey key) {
    for (Section& section : m_sections)
        for (RolloutWidget* rollout : section.rollouts)
            if (rollout->Rollout().table == key.table)
                if (ParamControl* control = rollout->Control(key)) return control;
    return nullptr;
}
