#include "apps/studio/windows/material_editor.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QSortFilterProxyModel>
#include <QTabBar>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

#include "Dravin/panels/class_rollouts.h"
#include "Dravin/panels/look_choices.h"
#include "Dravin/viewport/view_materials.h"
#include "apps/studio/command_form.h"
#include "apps/studio/flow_layout.h"
#include "apps/studio/panels/rollout_stack.h"
#include "apps/studio/studio_session.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/command_calls.h"
#include "apps/studio/windows/look_list.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

constexpr int kPictureSide = 144;  // of the large one, logical pixels
constexpr size_t kMaxBefore = 100;

QString Text(const std::string& text) { return QString::fromStdString(text); }

LookKind KindOf(const ReferenceTarget& look) {
    return dynamic_cast<const Mtl*>(&look) ? LookKind::kMaterial : LookKind::kMap;
}

// A material that shows the look, copied with all below it, so that another thread may ask it.
std::shared_ptr<Mtl> CopyForPicture(ReferenceTarget& look, TimeValue t) {
    TViewMaterials copies(t);
    std::shared_ptr<Mtl> copy;
    if (auto* material = dynamic_cast<Mtl*>(&look)) {
        copy = copies.CopyOf(material);
    } else {
        auto shown = std::make_shared<StandardMtl>();
        shown->diffuseMap = std::static_pointer_cast<Texmap>(look.shared_from_this());
        copy = copies.CopyOf(shown.get());
    }
    copies.Finish();
    return copy;
}

}  // namespace

MaterialEditor::MaterialEditor(StudioSession& session, QWidget* parent)
    : ToolWindow("Materials", "Materials and Maps", {860, 640}, parent),
      m_session(session),
      m_previews([this](LookPreviews::Key key) {
          m_model->PictureCame();
          if (key == m_shownPicture) ShowPicture();
      }) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(8, 8, 8, 8);
    row->setSpacing(8);
    row->addWidget(MakeList(), 4);
    row->addWidget(MakeSide(), 5);
    Listen();
}

MaterialEditor::~MaterialEditor() = default;

QPushButton* MaterialEditor::AddButton(const char* label, const char* command,
                                       std::function<void()> run) {
    auto* button = new QPushButton(label);
    button->setObjectName(command);
    if (const TCommand* found = m_session.Commands().Find(command))
        button->setToolTip(Text(found->meaning) + "\nIn scripts: " + command);
    connect(button, &QPushButton::clicked, this, std::move(run));
    return button;
}

QWidget* MaterialEditor::MakeList() {
    m_model = new LookModel(m_previews, this);
    m_filtered = new QSortFilterProxyModel(this);
    m_filtered->setSourceModel(m_model);
    m_filtered->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_kinds = new QTabBar;
    m_kinds->addTab("Materials");
    m_kinds->addTab("Maps");
    m_kinds->setExpanding(false);
    m_kinds->setAccessibleName("Materials or maps");
    m_filter = new QLineEdit;
    m_filter->setPlaceholderText("Only names with this text");
    m_filter->setAccessibleName("Filter");
    m_filter->setClearButtonEnabled(true);
    m_list = new QListView;
    m_list->setModel(m_filtered);
    m_list->setObjectName("looks");
    m_list->setAccessibleName("Materials and maps");
    m_list->setUniformItemSizes(true);
    m_list->setIconSize({LookModel::kSide, LookModel::kSide});
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    auto* buttons = new QWidget;
    auto* flow = new FlowLayout(buttons);
    auto onCurrent = [&](const char* label, const char* command, std::function<void()> run) {
        m_onCurrent.push_back(AddButton(label, command, std::move(run)));
        flow->addWidget(m_onCurrent.back());
    };
    flow->addWidget(AddButton("New", "look.new", [this] { ShowNewMenu(); }));
    onCurrent("Duplicate", "look.duplicate", [this] { RunOnCurrent("duplicate"); });
    onCurrent("Rename...", "look.rename", [this] { AskName(); });
    onCurrent("Delete", "look.delete", [this] { RunOnCurrent("delete"); });
    flow->addWidget(
        AddButton("Delete Unused", "look.delete_unused", [this] { Run("delete_unused", {}); }));
    onCurrent("Assign to Selected", "material.assign", [this] { RunOnCurrent("assign"); });
    m_onMaterials.push_back(m_onCurrent.back());
    onCurrent("Select by Material", "material.select", [this] { RunOnCurrent("select"); });
    m_onMaterials.push_back(m_onCurrent.back());
    flow->addWidget(AddButton("Load...", "material.load", [this] {
        RunWithForm(m_session, Kind() == LookKind::kMaterial ? "material.load" : "map.load", {},
                    this);
    }));
    auto* widget = new QWidget;
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    for (QWidget* each : std::initializer_list<QWidget*>{m_kinds, m_filter})
        column->addWidget(each);
    column->addWidget(m_list, 1);
    column->addWidget(buttons);
    return widget;
}

QWidget* MaterialEditor::MakeSide() {
    m_picture = new QLabel;
    m_picture->setFixedSize(kPictureSide, kPictureSide);
    m_picture->setAccessibleName("Preview");
    m_title = new QLabel;
    m_title->setObjectName("look_title");
    m_title->setWordWrap(true);
    m_title->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_users = new QLabel;
    m_users->setWordWrap(true);
    m_back = new QToolButton;
    m_back->setText("Back");
    m_back->setToolTip("What was shown before (Alt+Left)");
    m_back->setShortcut(QKeySequence("Alt+Left"));
    m_back->setObjectName("look_back");
    auto* words = new QVBoxLayout;
    for (QWidget* each : std::initializer_list<QWidget*>{m_title, m_users, m_back})
        words->addWidget(each);
    words->addStretch(1);
    auto* head = new QHBoxLayout;
    head->addWidget(m_picture, 0, Qt::AlignLeft | Qt::AlignTop);
    head->addLayout(words, 1);
    auto* inside = new QWidget;
    auto* pages = new QVBoxLayout(inside);
    pages->setContentsMargins(0, 0, 0, 0);
    m_scroll = new QScrollArea;
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidget(inside);
    auto* widget = new QWidget;
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(head);
    column->addWidget(m_scroll, 1);
    return widget;
}

void MaterialEditor::Listen() {
    connect(m_kinds, &QTabBar::currentChanged, this, [this] { ReadSoon(); });
    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_isReading = true;  // what is filtered out stays shown
        m_filtered->setFilterFixedString(text);
        m_isReading = false;
        ReadSoon();
    });
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& index) {
                if (m_isReading || !index.isValid()) return;
                Remember(m_model->TargetAt(m_filtered->mapToSource(index).row()));
                ReadSoon();
            });
    connect(m_back, &QToolButton::clicked, this, [this] {
        if (m_before.empty()) return;
        m_current = m_before.back();
        m_before.pop_back();
        if (auto look = m_current.lock()) m_kinds->setCurrentIndex(int(KindOf(*look)));
        ReadSoon();
    });
    auto key = [this](Qt::Key which, std::function<void()> run) {
        auto* shortcut = new QShortcut(which, m_list, nullptr, nullptr, Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, std::move(run));
    };
    key(Qt::Key_Delete, [this] { RunOnCurrent("delete"); });
    key(Qt::Key_F2, [this] { AskName(); });
    // It is being drawn: not now.
    m_model->onPictureMissing = [this] {
        if (!std::exchange(m_lacksPictures, true))
            QTimer::singleShot(0, this, [this] { WishWhenFree(); });
    };
    m_connections.push_back(m_session.activityChanged.Connect([this] {
        if (m_lacksPictures) QTimer::singleShot(0, this, [this] { WishWhenFree(); });
    }));
    m_connections.push_back(m_session.changed.Connect([this](Scene& scene) {
        if (isVisible()) Read(scene);
    }));
    m_connections.push_back(m_session.sceneReplaced.Connect([this](Scene&) {
        m_previews.DropWishes();
        m_before.clear();
    }));
}

LookKind MaterialEditor::Kind() const { return LookKind(m_kinds->currentIndex()); }

void MaterialEditor::showEvent(QShowEvent* event) {
    ToolWindow::showEvent(event);
    ReadSoon();
}

void MaterialEditor::ReadSoon() {
    m_session.Look([self = QPointer<MaterialEditor>(this)](Scene& scene) {
        if (self) self->Read(scene);
    });
}

void MaterialEditor::ShowLook(const std::weak_ptr<ReferenceTarget>& look) {
    Remember(look);
    m_filter->clear();
    if (auto target = look.lock()) m_kinds->setCurrentIndex(int(KindOf(*target)));
    ReadSoon();
}

void MaterialEditor::Remember(const std::weak_ptr<ReferenceTarget>& look) {
    auto before = m_current.lock();
    if (before && before != look.lock()) m_before.push_back(m_current);
    if (m_before.size() > kMaxBefore) m_before.erase(m_before.begin());
    m_current = look;
}

void MaterialEditor::Read(Scene& scene) {
    m_isReading = true;
    m_model->Read(scene, Kind(), devicePixelRatioF());
    int row = m_wanted.isEmpty() ? -1 : m_model->RowOf(m_wanted);
    m_wanted.clear();
    if (row < 0) row = m_model->RowOf(m_current.lock().get());
    m_current = m_model->TargetAt(std::max(row, 0));
    if (row < 0 && m_model->rowCount() > 0) row = 0;
    QModelIndex index = row < 0 ? QModelIndex() : m_filtered->mapFromSource(m_model->index(row));
    m_list->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect);
    if (index.isValid()) m_list->scrollTo(index);
    m_isReading = false;
    ShowCurrent(scene);
}

RolloutStack* MaterialEditor::PageOf(ReferenceTarget& look) {
    ClassId id = look.Class().id;
    if (auto page = m_pages.find(id); page != m_pages.end()) return page->second;
    PanelScope scope{m_session,
                     [this, id](Scene& scene) {
                         auto shown = m_current.lock();
                         bool isIt = shown && shown->Class().id == id;
                         // A wish may come after what it is about has gone.
                         for (const SceneLook& each : LooksOf(scene, Kind()))
                             if (isIt && each.target == shown) return TPanel(scene, {shown.get()});
                         return TPanel(scene, {});
                     },
                     [this](Scene&) {
                         return TArguments{{Prefix(), ParamInput(CurrentPath())}};
                     }};
    auto* page = new RolloutStack({{scope, RolloutsOf(look), look.ClassName()}});
    m_scroll->widget()->layout()->addWidget(page);
    return m_pages[id] = page;
}

void MaterialEditor::ShowCurrent(Scene& scene) {
    auto look = m_current.lock();
    RolloutStack* page = look ? PageOf(*look) : nullptr;
    for (auto& [id, each] : m_pages) each->setVisible(each == page);
    m_page = page;
    if (page) page->Show(scene);
    for (QPushButton* button : m_onCurrent) button->setEnabled(look != nullptr);
    for (QPushButton* button : m_onMaterials) button->setVisible(Kind() == LookKind::kMaterial);
    m_back->setEnabled(!m_before.empty());
    if (!look) {
        m_title->setText(Kind() == LookKind::kMaterial ? "No materials" : "No maps");
        m_users->clear();
        m_shownPicture = {};
        return ShowPicture();
    }
    m_title->setText("<b>" + Text(CurrentPath()).toHtmlEscaped() + "</b><br>" +
                     Text(look->ClassName()).toHtmlEscaped());
    auto* material = dynamic_cast<Mtl*>(look.get());
    size_t users = material ? NodesWith(scene, *material).size() : 0;
    m_users->setText(!material    ? QString()
                     : users == 1 ? QString("Shown by 1 node")
                                  : QString("Shown by %1 nodes").arg(users));
    int side = int(kPictureSide * devicePixelRatioF());
    m_shownPicture = {LookPrint(*look, scene.GetTime()), side};
    ShowPicture();
    WishPictures(scene);
    Wish(scene, *look, m_shownPicture);
}

std::string MaterialEditor::CurrentPath() const {
    return m_model->PathAt(m_model->RowOf(m_current.lock().get())).toStdString();
}

// Of the rows that are seen, the lowest first: what was wished last is traced first.
void MaterialEditor::WishPictures(Scene& scene) {
    QRect seen = m_list->viewport()->rect();
    int first = std::max(m_list->indexAt(seen.topLeft()).row(), 0), end = first;
    while (end < m_filtered->rowCount() &&
           m_list->visualRect(m_filtered->index(end, 0)).top() <= seen.bottom())
        ++end;
    for (int i = end; i-- > first;) {
        int row = m_filtered->mapToSource(m_filtered->index(i, 0)).row();
        Wish(scene, *m_model->TargetAt(row), {m_model->PrintAt(row), m_model->PictureSide()});
    }
}

void MaterialEditor::Wish(Scene& scene, ReferenceTarget& look, LookPreviews::Key key) {
    if (!m_previews.IsWished(key)) m_previews.Wish(key, CopyForPicture(look, scene.GetTime()));
}

// When nobody works on the scene: builds for the view do not give way to pictures.
void MaterialEditor::WishWhenFree() {
    if (!m_lacksPictures || !isVisible() || !m_session.IsFree()) return;
    m_lacksPictures = false;
    m_session.Look([this](Scene& scene) { WishPictures(scene); });
}

// Until the new one is there the last one stays.
void MaterialEditor::ShowPicture() {
    const QImage* image = m_previews.Find(m_shownPicture);
    if (!image && m_shownPicture.side > 0) return;
    QPixmap pixmap = image ? QPixmap::fromImage(*image) : QPixmap();
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    m_picture->setPixmap(pixmap);
}

void MaterialEditor::Run(const std::string& command, TArguments arguments) {
    auto done = [self = QPointer<MaterialEditor>(this)](const TCommandResult& result) {
        auto* name = std::get_if<std::string>(&result.value.value);
        if (self && name) self->m_wanted = QString::fromStdString(*name);
    };
    RunNow(m_session, Prefix() + "." + command, 0, std::move(arguments), done);
}

void MaterialEditor::RunOnCurrent(const std::string& command, TArguments arguments) {
    if (m_current.expired()) return;
    arguments[Prefix()] = ParamInput(CurrentPath());
    Run(command, std::move(arguments));
}

void MaterialEditor::AskName() {
    if (m_current.expired()) return;
    std::optional<std::string> name = m_session.Ui().AskText("New name", CurrentPath());
    if (name) RunOnCurrent("rename", {{"name", ParamInput(*name)}});
}

void MaterialEditor::ShowNewMenu() {
    bool isMaterial = Kind() == LookKind::kMaterial;
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    m_session.Look([this, isMaterial, menu = QPointer<QMenu>(menu)](Scene&) {
        if (!menu) return;
        for (const ClassDesc* desc :
             LookClasses(isMaterial ? ParamType::kMaterial : ParamType::kTexmap))
            menu->addAction(Text(desc->info.name), this, [this, name = desc->internalName] {
                Run("new", {{"class", ParamInput(name)}});
            });
        menu->popup(QCursor::pos());
    });
}
