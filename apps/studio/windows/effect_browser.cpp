#include "apps/studio/windows/effect_browser.h"

#include <filesystem>

#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include "Dravin/config/effect_library.h"
#include "Dravin/config/main_folder.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_folders.h"
#include "apps/studio/flow_layout.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/command_calls.h"
#include "host/base/file_input.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

constexpr int kNameRole = Qt::UserRole + 1, kFolderRole = Qt::UserRole + 2;
constexpr int kPictureWidth = 320;
constexpr QSize kIcon(112, 63);

QString Text(const std::string& text) { return QString::fromStdString(text); }

// Pictures of shipped effects lie with the documentation; null: there is none.
QPixmap PictureOf(const std::string& name) {
    namespace fs = std::filesystem;
    fs::path file = fs::path(MainFolder()) / "../docs/images/effects" / (name + ".jpg");
    return QPixmap(Text(file.lexically_normal().string()));
}

QIcon EntryIcon(const std::string& name, bool isFolder, bool isShipped) {
    QPixmap picture = isShipped && !isFolder ? PictureOf(name) : QPixmap();
    if (picture.isNull()) return ThemeIcon(isFolder ? "open" : "scatter");
    return QIcon(picture.scaled(kIcon, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

std::optional<std::string> TextOfEffect(int library, const std::string& name, std::string* error) {
    if (library == 0) {
        std::string path;
        if (!FindShippedEffect(name, &path, error)) return std::nullopt;
        return ReadWholeFile(path, kMaxEffectBytes, error);
    }
    auto folders = EffectsFoldersOfUser(error);
    if (!folders) return std::nullopt;
    return TEffectLibrary(library == 1 ? folders->user : folders->library).Load(name, error);
}

}  // namespace

EffectBrowser::EffectBrowser(StudioSession& session, QWidget* parent)
    : QWidget(parent, Qt::Window), m_session(session) {
    setObjectName("effect_browser");
    m_library = new QComboBox;
    m_library->addItems({"Shipped", "My effects", "Shared"});
    m_library->setAccessibleName("Library");
    m_filter = new QLineEdit;
    m_filter->setPlaceholderText("Filter");
    m_filter->setAccessibleName("Filter effects");
    m_filter->setClearButtonEnabled(true);
    m_path = new QLabel;
    m_model = new QStandardItemModel(this);
    auto* filtered = new QSortFilterProxyModel(this);
    filtered->setSourceModel(m_model);
    filtered->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_list = new QListView;
    m_list->setModel(filtered);
    m_list->setAccessibleName("Effects");
    m_list->setViewMode(QListView::IconMode);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setMovement(QListView::Static);
    m_list->setUniformItemSizes(true);
    m_list->setIconSize(kIcon);
    m_list->setGridSize({136, 100});
    m_list->setWordWrap(true);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_picture = new QLabel;
    m_picture->setAlignment(Qt::AlignCenter);
    m_about = new QLabel;
    m_about->setWordWrap(true);
    m_about->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    m_about->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto* top = new QHBoxLayout;
    top->addWidget(m_library);
    top->addWidget(m_path);
    top->addStretch(1);
    top->addWidget(m_filter);
    auto* side = new QWidget;
    auto* about = new QVBoxLayout(side);
    about->addWidget(m_picture);
    about->addWidget(m_about, 1);
    auto* halves = new QSplitter;
    halves->addWidget(m_list);
    halves->addWidget(side);
    halves->setStretchFactor(0, 1);
    halves->setSizes({600, kPictureWidth + 24});
    auto* buttons = new QWidget;
    auto* flow = new FlowLayout(buttons);
    auto add = [&](const char* name, const char* text, const char* tip, auto run) {
        auto* button = new QPushButton(text);
        button->setObjectName(name);
        button->setToolTip(tip);
        connect(button, &QPushButton::clicked, this, [this, run] { (this->*run)(); });
        flow->addWidget(button);
    };
    add("load", "Load", "Gives the effect this definition.", &EffectBrowser::Load);
    add("save", "Save...", "Saves the effect here.", &EffectBrowser::Save);
    add("rename", "Rename...", "Renames the effect or folder.", &EffectBrowser::Rename);
    add("folder", "New Folder...", "Makes a folder here.", &EffectBrowser::MakeFolder);
    add("delete", "Delete...", "Deletes the effect, or the folder with all in it.",
        &EffectBrowser::Delete);
    auto* column = new QVBoxLayout(this);
    column->addLayout(top);
    column->addWidget(halves, 1);
    column->addWidget(buttons);
    connect(m_library, &QComboBox::activated, this, [this](int i) { SetLibrary(i); });
    connect(m_filter, &QLineEdit::textChanged, filtered,
            [filtered](const QString& words) { filtered->setFilterFixedString(words); });
    connect(m_list->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { ShowChosen(); });
    connect(m_list, &QListView::activated, this, [this] {
        if (!IsFolder()) return Load();
        OpenFolder(Chosen());
    });
    resize(960, 600);
}

QPushButton* EffectBrowser::Button(const char* name) const { return findChild<QPushButton*>(name); }

const char* EffectBrowser::LibraryName() const {
    return m_library->currentIndex() == 2 ? "shared" : "user";
}

void EffectBrowser::Show(const INode& node, const std::string& effectId,
                         const std::string& effectName) {
    bool isFirst = m_effectId != effectId || m_node != node.GetHandle();
    m_node = node.GetHandle();
    m_effectId = effectId;
    m_effectName = effectName;
    setWindowTitle(Text("Effects library \u2014 " + effectName + " of " + node.GetName()));
    if (isFirst) Fill();
}

// --- what there is

void EffectBrowser::SetLibrary(int library) {
    m_library->setCurrentIndex(library);
    OpenFolder("");
}

// "..": the folder above.
void EffectBrowser::OpenFolder(const std::string& folder) {
    m_folder = folder;
    Fill();
}

void EffectBrowser::AddEntry(const std::string& name, bool isFolder) {
    bool isShipped = m_library->currentIndex() == 0;
    QString shown = isShipped ? Text(name).replace('_', ' ') : Text(name);
    auto* item = new QStandardItem(EntryIcon(name, isFolder, isShipped), shown);
    item->setData(Text(name), kNameRole);
    item->setData(isFolder, kFolderRole);
    item->setToolTip(shown);
    m_model->appendRow(item);
}

void EffectBrowser::Fill() {
    m_model->clear();
    bool isShipped = m_library->currentIndex() == 0;
    if (isShipped) {
        for (const std::string& name : ShippedEffects()) AddEntry(name, false);
    } else {
        if (!m_folder.empty()) AddEntry("..", true);
        std::string error;
        auto folders = EffectsFoldersOfUser(&error);
        std::optional<std::vector<TEffectLibrary::Entry>> entries;
        if (folders)
            entries =
                TEffectLibrary(m_library->currentIndex() == 1 ? folders->user : folders->library)
                    .List(m_folder, &error);
        if (!entries) m_session.told.Send(MessageLevel::kError, error);
        if (entries)
            for (const TEffectLibrary::Entry& entry : *entries)
                AddEntry(entry.name, entry.isFolder);
    }
    m_path->setText(Text(m_folder));
    ShowChosen();
}

std::string EffectBrowser::Below(const std::string& name) const {
    return m_folder.empty() ? name : m_folder + "/" + name;
}

bool EffectBrowser::IsFolder() const { return m_list->currentIndex().data(kFolderRole).toBool(); }

std::string EffectBrowser::Chosen() const {
    std::string name = m_list->currentIndex().data(kNameRole).toString().toStdString();
    if (name.empty()) return {};
    if (name != "..") return Below(name);
    size_t slash = m_folder.rfind('/');
    return slash == std::string::npos ? std::string() : m_folder.substr(0, slash);
}

void EffectBrowser::ShowChosen() {
    bool isEntry = m_list->currentIndex().isValid();
    bool isUp = m_list->currentIndex().data(kNameRole).toString() == "..";
    bool isOwn = m_library->currentIndex() != 0;
    Button("load")->setEnabled(isEntry && !IsFolder());
    Button("save")->setEnabled(isOwn);
    Button("folder")->setEnabled(isOwn);
    Button("rename")->setEnabled(isOwn && isEntry && !isUp);
    Button("delete")->setEnabled(isOwn && isEntry && !isUp);
    m_picture->clear();
    m_about->setText(isEntry ? QString() : QString("Choose an effect."));
    if (!isEntry || IsFolder()) return;
    std::string name = Chosen(), error;
    auto text = TextOfEffect(m_library->currentIndex(), name, &error);
    auto definition = text ? ReadEffectDefinition(*text, &error) : std::nullopt;
    if (!definition) return m_about->setText(Text(error));
    if (!isOwn)
        if (QPixmap picture = PictureOf(name); !picture.isNull())
            m_picture->setPixmap(picture.scaledToWidth(kPictureWidth, Qt::SmoothTransformation));
    QString about = "<b>" + Text(definition->title).toHtmlEscaped() + "</b><p>" +
                    Text(definition->description).toHtmlEscaped() + "</p>";
    for (const TEffectParameterDefinition& p : definition->parameters)
        about += "<p><b>" + Text(p.name).toHtmlEscaped() + "</b> (" + Text(p.kind).toHtmlEscaped() +
                 ") " + Text(p.description).toHtmlEscaped() + "</p>";
    m_about->setText(about);
}

// --- commands

void EffectBrowser::Call(const char* command, TArguments arguments, bool fills) {
    RunNow(m_session, command, m_node, std::move(arguments),
           [this, fills](const TCommandResult& result) {
               if (result && fills) Fill();
           });
}

void EffectBrowser::Load() {
    if (m_list->currentIndex().isValid() && !IsFolder()) {
        bool isShipped = m_library->currentIndex() == 0;
        TArguments arguments{{"effect", ParamInput(m_effectId)}};
        arguments[isShipped ? "library" : "name"] = ParamInput(Chosen());
        if (!isShipped) arguments["library"] = ParamInput(std::string(LibraryName()));
        Call(isShipped ? "effect.load" : "effect.library.load", std::move(arguments), false);
    }
}

// One that is there is replaced when the user says so.
void EffectBrowser::Save() {
    auto name = m_session.Ui().AskText("Name of the effect in the library", m_effectName);
    if (!name || name->empty()) return;
    bool replaces = false;
    for (int i = 0; i < m_model->rowCount(); ++i)
        replaces |= m_model->item(i)->data(kNameRole).toString().compare(Text(*name),
                                                                         Qt::CaseInsensitive) == 0;
    if (replaces && m_session.Ui().Question("Replace the effect \"" + *name + "\"?",
                                            "Effects library") != Answer::kYes)
        return;
    Call("effect.library.save",
         {{"effect", ParamInput(m_effectId)},
          {"name", ParamInput(Below(*name))},
          {"library", ParamInput(std::string(LibraryName()))},
          {"replace", ParamInput(replaces)}},
         true);
}

void EffectBrowser::Rename() {
    std::string old = m_list->currentIndex().data(kNameRole).toString().toStdString();
    auto name = m_session.Ui().AskText("New name", old);
    if (!name || name->empty() || *name == old) return;
    Call("effect.library.rename",
         {{"name", ParamInput(Below(old))},
          {"to", ParamInput(Below(*name))},
          {"library", ParamInput(std::string(LibraryName()))}},
         true);
}

void EffectBrowser::MakeFolder() {
    auto name = m_session.Ui().AskText("Name of the folder", "");
    if (!name || name->empty()) return;
    Call("effect.library.folder",
         {{"name", ParamInput(Below(*name))}, {"library", ParamInput(std::string(LibraryName()))}},
         true);
}

void EffectBrowser::Delete() {
    std::string name = Chosen();
    std::string what =
        IsFolder() ? "the folder \"" + name + "\" with all in it" : "the effect \"" + name + "\"";
    if (m_session.Ui().Question("Delete " + what + "? This cannot be undone.", "Effects library") !=
        Answer::kYes)
        return;
    Call("effect.library.delete",
         {{"name", ParamInput(name)}, {"library", ParamInput(std::string(LibraryName()))}}, true);
}

void EffectBrowser::closeEvent(QCloseEvent* event) {
    event->accept();
    if (onClose) onClose();
}
