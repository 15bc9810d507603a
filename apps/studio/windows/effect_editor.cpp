#include "apps/studio/windows/effect_editor.h"

#include <QAction>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/item_probe.h"
#include "apps/studio/flow_layout.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/code_edit.h"
#include "apps/studio/windows/effect_parameter_panel.h"
#include "host/scene/scene.h"

namespace {

constexpr int kCheckMs = 150, kApplyMs = 700;

QString Text(const std::string& text) { return QString::fromStdString(text); }

// The stored definition with another program; title, description and what it suggests stay.
std::string WithProgram(const std::string& stored, const std::string& name,
                        const std::string& program) {
    auto definition = ReadEffectDefinition(stored, nullptr);
    if (!definition) return WrapEffectProgram(program, name);
    definition->expression = program;
    return WriteEffectDefinition(*definition);
}

}  // namespace

EffectEditor::EffectEditor(StudioSession& session, ViewTools& tools, QWidget* parent)
    : QWidget(parent, Qt::Window), m_session(session), m_tools(tools) {
    setObjectName("effect_editor");
    m_code = new CodeEdit;
    m_parameters = new EffectParameterPanel(session);
    m_status = new QLabel;
    m_status->setContentsMargins(8, 4, 8, 4);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_help = new QLabel("F1 explains the word at the cursor.");
    m_help->setWordWrap(true);
    m_help->setMargin(8);
    m_help->setMinimumHeight(64);
    m_help->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_bar = new QWidget;
    MakeFindBar();
    auto* side = new QWidget;
    auto* rows = new QVBoxLayout(side);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(m_parameters, 1);
    rows->addWidget(m_help);
    auto* halves = new QSplitter;
    halves->addWidget(m_code);
    halves->addWidget(side);
    halves->setStretchFactor(0, 1);
    halves->setSizes({640, 320});
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_bar);
    column->addWidget(m_findBar);
    column->addWidget(halves, 1);
    column->addWidget(m_status);
    m_checkSoon = new QTimer(this);
    m_checkSoon->setSingleShot(true);
    m_checkSoon->setInterval(kCheckMs);
    connect(m_checkSoon, &QTimer::timeout, this, [this] { Check(); });
    m_applySoon = new QTimer(this);
    m_applySoon->setSingleShot(true);
    m_applySoon->setInterval(kApplyMs);
    connect(m_applySoon, &QTimer::timeout, this, [this] {
        Check();
        if (!m_fault) Store(true);
    });
    MakeButtons();
    connect(m_code, &QPlainTextEdit::textChanged, this, [this] {
        m_checkSoon->start();
        if (Button("live")->isChecked()) m_applySoon->start();
    });
    m_code->onHelp = [this](const QString& help) {
        m_help->setText(help.isEmpty() ? "No help on this word." : help);
    };
    m_changed = session.changed.Connect([this](Scene&) {
        if (!std::exchange(m_isOwnChange, false)) m_mayMerge = false;
    });
    m_built = session.viewReady.Connect([this] {
        if (m_item && isVisible()) ShowValues();
    });
    resize(960, 560);
}

EffectEditor::~EffectEditor() { m_tools.AskForItem(nullptr); }

QToolButton* EffectEditor::AddButton(const char* name, const char* text, const char* tip,
                                     QKeySequence keys, std::function<void()> run) {
    auto* button = new QToolButton;
    auto* action = new QAction(text, this);
    action->setShortcut(keys);
    QString help = keys.isEmpty() ? QString(tip) : QString("%1\n%2").arg(tip, keys.toString());
    action->setToolTip(help);
    connect(action, &QAction::triggered, this, std::move(run));
    addAction(action);
    button->setDefaultAction(action);
    button->setAccessibleName(text);
    button->setFocusPolicy(Qt::StrongFocus);
    m_bar->layout()->addWidget(button);
    return m_buttons[name] = button;
}

void EffectEditor::MakeButtons() {
    auto* row = new QHBoxLayout(m_bar);
    m_bar->setStyleSheet(
        "QToolButton { padding: 2px 8px; border: 2px solid palette(mid); border-radius: 4px; }"
        "QToolButton:hover, QToolButton:focus { border-color: palette(highlight); }"
        "QToolButton:checked { background: palette(highlight); color: palette(highlighted-text); "
        "}");
    row->setContentsMargins(8, 4, 8, 4);
    row->setSpacing(4);
    AddButton("apply", "Apply", "Stores the program in the scene.", QKeySequence("Ctrl+Return"),
              [this] { Apply(); });
    auto* live = AddButton("live", "Live", "Applies the program after a pause, while it is right.",
                           {}, [] {});
    live->defaultAction()->setCheckable(true);
    live->defaultAction()->setChecked(QSettings().value("effects/live", true).toBool());
    connect(live->defaultAction(), &QAction::toggled, this, [this](bool on) {
        QSettings().setValue("effects/live", on);
        on ? m_applySoon->start() : m_applySoon->stop();
    });
    MakeValueButtons();
    AddButton("error", "Next Error", "Goes to the error.", QKeySequence("F8"),
              [this] { Check(), m_code->GoToFault(); });
    AddButton("comment", "Comment", "Makes the lines comments, or text again.",
              QKeySequence("Ctrl+/"), [this] { m_code->ToggleComment(); });
    AddButton("find", "Find", "Finds and replaces text.", QKeySequence::Find, [this] {
        m_findBar->show();
        if (m_code->textCursor().hasSelection())
            m_find->setText(m_code->textCursor().selectedText());
        m_find->setFocus();
        m_find->selectAll();
    });
    Button("find")->defaultAction()->setShortcuts({QKeySequence("Ctrl+F"), QKeySequence("Ctrl+H")});
    row->addStretch(1);
}

void EffectEditor::MakeValueButtons() {
    QAction* values =
        AddButton("values", "Values",
                  "Shows what each line computes for a fresh item at the origin, or for the one "
                  "that is picked.",
                  {}, [] {})
            ->defaultAction();
    values->setCheckable(true);
    values->setChecked(QSettings().value("effects/values", false).toBool());
    connect(values, &QAction::toggled, this, [this](bool on) {
        QSettings().setValue("effects/values", on);
        Check();
    });
    QAction* pick =
        AddButton("pick", "Pick Item",
                  "The next click on an item in a view shows what the lines compute for it. Again: "
                  "for a fresh one.",
                  {}, [] {})
            ->defaultAction();
    pick->setCheckable(true);
    connect(pick, &QAction::toggled, this, [this](bool on) { PickItem(on); });
}

void EffectEditor::MakeFindBar() {
    m_findBar = new QWidget;
    auto* row = new QHBoxLayout(m_findBar);
    row->setContentsMargins(8, 0, 8, 4);
    m_find = new QLineEdit;
    m_find->setPlaceholderText("Find");
    m_find->setAccessibleName("Find");
    m_replace = new QLineEdit;
    m_replace->setPlaceholderText("Replace by");
    m_replace->setAccessibleName("Replace by");
    auto* next = new QPushButton("Next");
    auto* replace = new QPushButton("Replace");
    auto* close = new QPushButton("Close");
    auto find = [this] {
        if (!m_code->Find(m_find->text())) ShowStatus("Not found: " + m_find->text(), false);
    };
    connect(m_find, &QLineEdit::returnPressed, this, find);
    connect(next, &QPushButton::clicked, this, find);
    connect(replace, &QPushButton::clicked, this,
            [this] { m_code->Replace(m_find->text(), m_replace->text()); });
    connect(close, &QPushButton::clicked, this, [this] { m_findBar->hide(), m_code->setFocus(); });
    row->addWidget(m_find, 1);
    row->addWidget(m_replace, 1);
    for (QPushButton* button : {next, replace, close}) row->addWidget(button);
    m_findBar->hide();
}

// --- the effect

void EffectEditor::Show(Scene& scene, INode& node, TDravin& object, const std::string& effectId) {
    TEffectCommands& effects = EffectCommandsOf(object);
    int row = effects.Find(effectId);
    if (row < 0) return;
    std::string program = effects.Program(row);
    bool isOther = effectId != m_effectId || node.GetHandle() != m_node;
    if (isOther) Forget();
    m_node = node.GetHandle();
    m_effectId = effectId;
    std::vector<TEffectVariable> variables = ReadEffectVariables(scene, object, effectId);
    bool isNewScope = !(variables == m_variables);
    m_variables = std::move(variables);
    if (isOther || isNewScope) m_code->SetVariables(m_variables);
    m_parameters->Show(scene, m_node, effectId, m_variables);
    // What others did to the program is seen, unless the user is at it.
    bool isUntouched = isOther || m_code->toPlainText() == Text(m_stored);
    if (isUntouched && m_code->toPlainText() != Text(program)) {
        QSignalBlocker quiet(m_code);
        m_code->setPlainText(Text(program));
    }
    m_stored = program;
    if (auto draft = m_drafts.find(effectId); isOther && draft != m_drafts.end()) {
        m_code->setPlainText(draft->second);
        m_drafts.erase(draft);
    }
    std::string name = object.Block(kEffectParams).GetString(effectParams::kEfnamelist, 0, row);
    setWindowTitle(Text(name + " \u2014 " + node.GetName()));
    if (isOther || isNewScope || isUntouched) Check();
}

void EffectEditor::Forget() {
    m_applySoon->stop();
    QString text = m_code->toPlainText();
    if (!m_effectId.empty() && text != Text(m_stored)) {
        m_drafts[m_effectId] = text;
        m_session.told.Send(MessageLevel::kNote,
                            "The program is not applied; the editor keeps its text");
    }
    m_effectId.clear();
    m_node = 0;
    m_mayMerge = m_isStudying = m_studyAgain = false;
    Button("pick")->defaultAction()->setChecked(false);
}

void EffectEditor::Check() {
    m_checkSoon->stop();
    std::string program = m_code->toPlainText().toStdString();
    m_fault = CheckEffectProgram(m_variables, program);
    m_code->ShowFault(m_fault);
    ShowValues();
    if (m_fault)
        return ShowStatus(QString("Line %1: %2. The last good program stays in the scene.")
                              .arg(m_fault->line)
                              .arg(Text(m_fault->message)),
                          true);
    ShowStatus(program == m_stored ? "Applied" : "Compiles; not applied yet", false);
}

// --- values

struct EffectEditor::Study {
    NodeHandle node = 0;
    std::string effectId, program;
    std::vector<TEffectVariable> variables;
    TItemId item;
    uint64_t build = 0;  // that `found` is of
    std::optional<TProbedItem> found;
    std::vector<TLineValue> values;

    // The item is looked for once a build.
    void Run(Scene& scene) {
        values.clear();
        INode* holder = scene.FindHandle(node);
        auto* object = holder ? dynamic_cast<TDravin*>(holder->GetObjectRef()) : nullptr;
        if (!object || !object->Build().Input()) return found.reset();
        if (build != object->Build().BuildNumber()) {
            build = object->Build().BuildNumber();
            found = FindTriedItem(*object, effectId, item);
        }
        if (found) values = TryEffectProgram(variables, program, *object, *found);
    }
};

void EffectEditor::ShowValues() {
    if (!Button("values")->isChecked()) return m_code->ShowValues({});
    if (m_item) return StudyItem();
    m_code->ShowValues(TryEffectProgram(m_variables, m_code->toPlainText().toStdString()));
}

void EffectEditor::PickItem(bool on) {
    m_item.reset();
    m_study.reset();
    if (!on) {
        m_tools.AskForItem(nullptr);
        return ShowValues();
    }
    Button("values")->defaultAction()->setChecked(true);
    m_session.told.Send(MessageLevel::kNote, "Click an item whose values are wanted");
    m_tools.AskForItem([self = QPointer(this)](const ViewTools::MetItem& met) {
        if (self) self->TakeItem(met);
    });
}

// Of another object, or of a build that is gone: the next click is asked.
void EffectEditor::TakeItem(const ViewTools::MetItem& met) {
    m_session.Look([self = QPointer(this), met](Scene& scene) {
        if (!self || !self->Button("pick")->isChecked()) return;
        INode* node = met.object == self->m_node ? scene.FindHandle(met.object) : nullptr;
        auto* object = node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
        bool isThere = object && object->Build().BuildNumber() == met.buildNumber &&
                       met.item < object->Build().Items().Count();
        if (!isThere) return self->PickItem(true);
        self->m_item = object->Build().Items().Item(met.item).id;
        self->ShowValues();
    });
}

// The newest wish counts.
void EffectEditor::StudyItem() {
    if (std::exchange(m_isStudying, true)) {
        m_studyAgain = true;
        return;
    }
    auto study = std::make_shared<Study>();
    bool isSame = m_study && m_study->item == *m_item && m_study->effectId == m_effectId &&
                  m_study->node == m_node;
    if (isSame) *study = *m_study;
    study->node = m_node;
    study->effectId = m_effectId;
    study->program = m_code->toPlainText().toStdString();
    study->variables = m_variables;
    study->item = *m_item;
    m_session.Study(
        "Trying the effect", [study](Scene& scene) { study->Run(scene); },
        [self = QPointer(this), study] {
            if (!self) return;
            self->m_isStudying = false;
            bool isWanted = self->m_item && *self->m_item == study->item;
            if (isWanted) {
                self->m_study = study;
                self->m_code->ShowValues(study->values);
                if (!study->found)
                    self->ShowStatus("The picked item comes to this effect no more", false);
            }
            if (std::exchange(self->m_studyAgain, false)) self->ShowValues();
        });
}

void EffectEditor::ShowStatus(const QString& text, bool isFault) {
    m_status->setText(text);
    const ThemeColors& colors = CurrentColors();
    m_status->setStyleSheet("color: " + (isFault ? colors.error : colors.dimText).name());
}

QString EffectEditor::StatusText() const { return m_status->text(); }

void EffectEditor::Apply() {
    m_applySoon->stop();
    Check();
    if (m_fault) return m_code->GoToFault();
    m_mayMerge = false;
    Store(false);
}

// A pause of typing replaces the step of the one before it, unless the scene was saved between.
void EffectEditor::Store(bool mayMerge) {
    std::string program = m_code->toPlainText().toStdString();
    if (m_effectId.empty() || program == m_stored) return;
    m_session.Do([this, mayMerge, program, id = m_effectId, handle = m_node](Scene& scene) {
        INode* node = scene.FindHandle(handle);
        auto* object = node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
        int row = object ? EffectCommandsOf(*object).Find(id) : -1;
        if (row < 0) return;
        bool isOwn = mayMerge && m_mayMerge && m_session.IsModified();
        if (isOwn && scene.undo.UndoName() == "Edit Effect") scene.undo.Undo();
        const IParamBlock2& block = object->Block(kEffectParams);
        using namespace effectParams;
        TArguments arguments;
        arguments["effect"] = ParamInput(id);
        arguments["text"] = ParamInput(WithProgram(block.GetString(kEfxmllist, 0, row),
                                                   block.GetString(kEfnamelist, 0, row), program));
        TCommandResult result =
            m_session.Commands().Run("effect.program", scene, node->GetName(), arguments);
        if (!result) return m_session.told.Send(MessageLevel::kError, result.error);
        m_stored = program;
        m_mayMerge = mayMerge;
        m_isOwnChange = true;
    });
    Check();
}

// --- the window

void EffectEditor::closeEvent(QCloseEvent* event) {
    Check();
    if (!m_fault && Button("live")->isChecked()) Store(true);
    event->accept();
    if (onClose) onClose();
}

void EffectEditor::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && m_findBar->isVisible()) {
        m_findBar->hide();
        m_code->setFocus();
        return;
    }
    QWidget::keyPressEvent(event);
}
