#include "apps/studio/panels/command_panel.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "Dravin/dravin.h"
#include "apps/studio/panels/controls.h"
#include "apps/studio/panels/row_list.h"
#include "apps/studio/studio_session.h"
#include "host/scene/scene.h"

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

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
    RolloutWidget(StudioSession& session, const TRollout& rollout)
        : m_session(session), m_rollout(rollout) {
        m_title = new QToolButton;
        m_title->setObjectName("rollout");
        m_title->setText(Text(rollout.Title()));
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
        connect(m_title, &QToolButton::clicked, this, [this](bool on) { m_isOpen = on, Lay(); });
        m_isOpen = rollout.StartsOpen();
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
        m_session.Look([this](Scene& scene) { Show(m_session.Panel(scene)); });
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
        if (source.list) column->addWidget(group.list = new RowList(m_session, *source.list));
        for (TParamKey key : source.params) {
            group.controls.push_back(MakeParamControl(m_session, key));
            column->addWidget(group.controls.back());
        }
        if (!source.buttons.empty())
            column->addWidget(group.buttons = MakeButtonRow(m_session, source.buttons, {}));
        return group;
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
            group.box->setVisible(isAnyHere && group.isShown);
            isAny |= isAnyHere && group.isShown;
        }
        bool isSeen = isFiltered ? isAny : m_isOpen;
        m_body->setVisible(isSeen);
        setVisible(!isFiltered || isAny);
        m_title->setChecked(isSeen);
        m_title->setArrowType(isSeen ? Qt::DownArrow : Qt::RightArrow);
    }

    StudioSession& m_session;
    const TRollout& m_rollout;
    QToolButton* m_title;
    QWidget* m_body;
    std::vector<Group> m_groups;
    QStringList m_words;
    bool m_isOpen = false;
};

CommandPanel::CommandPanel(StudioSession& session, QWidget* parent)
    : QWidget(parent), m_session(session) {
    m_title = new QLabel;
    m_title->setContentsMargins(8, 4, 8, 0);
    m_filter = new QLineEdit;
    m_filter->setPlaceholderText("Filter parameters");
    m_filter->setAccessibleName("Filter parameters");
    m_filter->setClearButtonEnabled(true);
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& t) { SetFilter(t); });
    auto* inside = new QWidget;
    auto* rows = new QVBoxLayout(inside);
    rows->setContentsMargins(4, 4, 4, 4);
    rows->setSpacing(2);
    for (const TRollout& rollout : DravinRollouts()) {
        m_rollouts.push_back(new RolloutWidget(session, rollout));
        rows->addWidget(m_rollouts.back());
    }
    rows->addStretch(1);
    m_scroll = new QScrollArea;
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidget(inside);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(m_title);
    auto* filterRow = new QHBoxLayout;
    filterRow->setContentsMargins(8, 0, 8, 0);
    filterRow->addWidget(m_filter);
    column->addLayout(filterRow);
    column->addWidget(m_scroll, 1);
    column->addStretch();
    setMinimumWidth(320);
}

void CommandPanel::Show(Scene& scene) {
    TPanel panel = m_session.Panel(scene);
    QStringList names;
    for (INode* node : scene.Nodes())
        if (panel.Holds(*node)) names.push_back(Text(node->GetName()));
    m_title->setText(names.isEmpty() ? QString("Select a scatter object, or create one")
                                     : names.join(", "));
    m_filter->setVisible(!panel.IsEmpty());
    m_scroll->setVisible(!panel.IsEmpty());
    for (RolloutWidget* rollout : m_rollouts) {
        rollout->setEnabled(!panel.IsEmpty());
        rollout->Show(panel);
    }
}

void CommandPanel::SetFilter(const QString& words) {
    if (m_filter->text() != words) return m_filter->setText(words);
    for (RolloutWidget* rollout : m_rollouts)
        rollout->SetFilter(words.split(' ', Qt::SkipEmptyParts));
}

void CommandPanel::OpenRollout(DravinBlockId block, bool open) {
    for (RolloutWidget* rollout : m_rollouts)
        if (rollout->Rollout().block == block) rollout->SetOpen(open);
}

ParamControl* CommandPanel::ControlOf(TParamKey key) {
    for (RolloutWidget* rollout : m_rollouts)
        if (rollout->Rollout().block == key.block) return rollout->Control(key);
    return nullptr;
}

void CommandPanel::JumpTo(TParamKey key) {
    m_filter->clear();
    OpenRollout(key.block, true);
    ParamControl* control = ControlOf(key);
    if (!control) return;
    layout()->activate();
    m_scroll->widget()->layout()->activate();
    m_scroll->ensureWidgetVisible(control);
    control->Editor()->setFocus(Qt::ShortcutFocusReason);
}
