// The window's scene files: opening, saving, recent ones, and nothing lost.
#include <QCloseEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QSettings>
#include <QTimer>

#include "apps/studio/main_window.h"
#include "host/scene/user_interface.h"

namespace {

constexpr int kMaxRecent = 10;
const std::vector<std::string> kSceneEndings = {".json", ".dscene", ".max"};

QString Text(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

void MainWindow::AskAndOpen() {
    FileRequest request{"Open a scene", false, {}, kSceneEndings};
    if (auto path = m_session->Ui().PickFile(request)) OpenFile(*path);
}

void MainWindow::OpenFile(const std::string& path) {
    m_session->Open(path, [this](const std::string& error) {
        if (!error.empty()) m_session->Ui().MessageBox(error, "Dravin Studio", MessageKind::kError);
    });
}

void MainWindow::OpenDemo(const std::string& folder) { m_session->OpenDemo(folder); }

void MainWindow::Save(bool asksName, std::function<void()> next) {
    std::string path = m_session->Path();
    if (asksName || path.empty()) {
        FileRequest request{"Save the scene", true, path, kSceneEndings};
        std::optional<std::string> picked = m_session->Ui().PickFile(request);
        if (!picked) return;
        path = *picked;
        if (QFileInfo(Text(path)).suffix().isEmpty()) path += ".json";
    }
    m_session->Save(path, [this, path, next](const std::string& error) {
        if (!error.empty())
            return m_session->Ui().MessageBox(error, "Dravin Studio", MessageKind::kError);
        AddRecent(path);
        if (next) next();
    });
}

void MainWindow::WhenSaved(std::function<void()> next) {
    if (!m_session->IsModified()) return next();
    Answer answer = m_session->Ui().Question("The scene has changes that are not saved. Save them?",
                                             "Dravin Studio", QuestionKind::kYesNoCancel);
    if (answer == Answer::kYes) Save(false, next);
    if (answer == Answer::kNo) next();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!m_mayClose) {
        // A save takes a moment; then the window closes by itself.
        auto isNow = std::make_shared<bool>(true);
        WhenSaved([this, isNow] {
            m_mayClose = true;
            if (!*isNow) close();
        });
        *isNow = false;
        if (!m_mayClose) return event->ignore();
    }
    QSettings().setValue("window/geometry", saveGeometry());
    QSettings().setValue("window/layout", saveState());
    event->accept();
}

QStringList MainWindow::RecentFiles() const {
    return QSettings().value("files/recent").toStringList();
}

void MainWindow::AddRecent(const std::string& path) {
    QStringList files = RecentFiles();
    QString absolute = QFileInfo(Text(path)).absoluteFilePath();
    files.removeAll(absolute);
    files.prepend(absolute);
    while (files.size() > kMaxRecent) files.removeLast();
    QSettings().setValue("files/recent", files);
    ShowRecent();
}

void MainWindow::ShowRecent() {
    m_recent->clear();
    for (const QString& file : RecentFiles())
        m_recent->addAction(file, [this, path = file.toStdString()] {
            WhenSaved([this, path] { OpenFile(path); });
        });
    m_recent->setEnabled(!m_recent->isEmpty());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() != 1 || !urls[0].isLocalFile()) return;
    QString ending = "." + QFileInfo(urls[0].toLocalFile()).suffix().toLower();
    for (const std::string& known : kSceneEndings)
        if (ending == Text(known)) return event->acceptProposedAction();
    m_message->setText("Only scenes can be dropped here: " + ending + " is none");
}

void MainWindow::dropEvent(QDropEvent* event) {
    std::string path = event->mimeData()->urls().value(0).toLocalFile().toStdString();
    QTimer::singleShot(0, this, [this, path] { WhenSaved([this, path] { OpenFile(path); }); });
}
