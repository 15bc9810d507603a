#include "apps/studio/panels/command_panel.h"

#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

#include "Dravin/dravin.h"
#include "Dravin/panels/class_rollouts.h"
#include "apps/studio/panels/rollout_stack.h"
#include "apps/studio/studio_session.h"
#include "host/scene/scene.h"

namespace {

constexpr int kMaxNames = 4;  // in the title

QString Text(const std::string& text) { return QString::fromStdString(text); }

QString TitleOf(const std::vector<INode*>& nodes) {
    if (nodes.empty()) return "Select an object, or create one";
    QStringList names;
    for (size_t i = 0; i < nodes.size() && i < kMaxNames; ++i)
        names.push_back(Text(nodes[i]->GetName()));
    if (nodes.size() > kMaxNames)
        names.push_back(QString("and %1 more").arg(nodes.size() - kMaxNames));
    return names.join(", ");
}

// The things at a place of what is shown; none while that is made up of other classes.
TPanel PanelAt(StudioSession& session, Scene& scene, const std::vector<ClassId>& classes,
               size_t place) {
    if (classes[place] == TDravin::kClass.id) return session.Panel(scene);
    TPanelStack stack = session.Shown(scene);
    return {scene, stack.classes == classes ? stack.things[place] : TPanel::Things()};
}

}  // namespace

CommandPanel::CommandPanel(StudioSession& session, QWidget* parent)
    : QWidget(parent), m_session(session) {
    m_title = new QLabel;
    m_title->setContentsMargins(8, 4, 8, 0);
    m_title->setWordWrap(true);
    m_filter = new QLineEdit;
    m_filter->setPlaceholderText("Filter parameters");
    m_filter->setAccessibleName("Filter parameters");
    m_filter->setClearButtonEnabled(true);
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& t) { SetFilter(t); });
    auto* inside = new QWidget;
    auto* pages = new QVBoxLayout(inside);
    pages->setContentsMargins(0, 0, 0, 0);
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
    MakePage({TDravin::kClass.id, INode::kClass.id},
             {{TDravin::kClass.name, {DravinRollouts().begin(), DravinRollouts().end()}},
              {INode::kClass.name, RolloutsOf(*INode::Create("node"))}});
}

RolloutStack* CommandPanel::MakePage(const Classes& classes, const std::vector<Part>& parts) {
    std::vector<RolloutSection> sections;
    for (size_t place = 0; place < classes.size(); ++place)
        sections.push_back({{m_session,
                             [&session = m_session, classes, place](Scene& scene) {
                                 return PanelAt(session, scene, classes, place);
                             },
                             {}},
                            parts[place].rollouts,
                            parts[place].name});
    auto* page = new RolloutStack(std::move(sections));
    page->SetFilter(m_filter->text().split(' ', Qt::SkipEmptyParts));
    page->hide();
    m_scroll->widget()->layout()->addWidget(page);
    return m_pages[classes] = page;
}

RolloutStack* CommandPanel::PageOf(const TPanelStack& stack) {
    if (stack.nodes.empty()) return nullptr;
    if (auto page = m_pages.find(stack.classes); page != m_pages.end()) return page->second;
    std::vector<Part> parts;
    for (const TPanel::Things& things : stack.things)
        parts.push_back({things.at(0)->ClassName(), RolloutsOf(*things.at(0))});
    return MakePage(stack.classes, parts);
}

RolloutStack& CommandPanel::ScatterPage() {
    return *m_pages.at({TDravin::kClass.id, INode::kClass.id});
}

void CommandPanel::Show(Scene& scene) {
    TPanelStack stack = m_session.Shown(scene);
    m_title->setText(TitleOf(stack.nodes));
    RolloutStack* page = PageOf(stack);
    if (page != m_page) {
        if (m_page) m_page->hide();
        if (page) page->show();
        m_page = page;
    }
    m_filter->setVisible(page != nullptr);
    m_scroll->setVisible(page != nullptr);
    if (page) page->Show(scene);
}

void CommandPanel::SetFilter(const QString& words) {
    if (m_filter->text() != words) return m_filter->setText(words);
    for (auto& [classes, page] : m_pages) page->SetFilter(words.split(' ', Qt::SkipEmptyParts));
}

void CommandPanel::OpenRollout(const ParamBlockDesc2& table, bool open) {
    if (!m_page || !m_page->Open(table, open)) ScatterPage().Open(table, open);
}

ParamControl* CommandPanel::ControlOf(TParamKey key) {
    ParamControl* control = m_page ? m_page->ControlOf(key) : nullptr;
    return control ? control : ScatterPage().ControlOf(key);
}

void CommandPanel::JumpTo(TParamKey key) {
    m_filter->clear();
    OpenRollout(*key.table, true);
    ParamControl* control = ControlOf(key);
    if (!control || !control->isVisibleTo(this)) return;
    layout()->activate();
    m_scroll->widget()->layout()->activate();
    m_scroll->ensureWidgetVisible(control);
    control->Editor()->setFocus(Qt::ShortcutFocusReason);
}
