#include "apps/studio/qt_user_interface.h"

#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QInputDialog>
#include <QListView>
#include <QMessageBox>
#include <QPointer>
#include <QStandardItemModel>
#include <QThread>
#include <QVBoxLayout>

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

class QtUserInterface : public IUserInterface {
public:
    explicit QtUserInterface(QWidget* parent) : m_parent(parent) {}

    void MessageBox(const std::string& text, const std::string& caption,
                    MessageKind kind) override {
        InWindow([&] {
            auto icon = kind == MessageKind::kError     ? QMessageBox::Critical
                        : kind == MessageKind::kWarning ? QMessageBox::Warning
                                                        : QMessageBox::Information;
            QMessageBox(icon, Text(caption), Text(text), QMessageBox::Ok, m_parent).exec();
        });
    }
    Answer Question(const std::string& text, const std::string& caption,
                    QuestionKind kind) override {
        QMessageBox::StandardButtons buttons = QMessageBox::Yes | QMessageBox::No;
        if (kind == QuestionKind::kYesNoCancel) buttons |= QMessageBox::Cancel;
        if (kind == QuestionKind::kOkCancel) buttons = QMessageBox::Ok | QMessageBox::Cancel;
        int pressed = 0;
        InWindow([&] {
            pressed =
                QMessageBox(QMessageBox::Question, Text(caption), Text(text), buttons, m_parent)
                    .exec();
        });
        bool isYes = pressed == QMessageBox::Yes || pressed == QMessageBox::Ok;
        return isYes ? Answer::kYes : pressed == QMessageBox::No ? Answer::kNo : Answer::kCancel;
    }
    std::optional<std::string> PickFile(const FileRequest& request) override {
        QString path;
        InWindow([&] { path = AskForFile(request); });
        if (path.isEmpty()) return std::nullopt;
        return path.toStdString();
    }
    std::optional<std::vector<std::string>> SelectByName(
        const std::string& title, const std::vector<std::string>& names,
        const std::vector<std::string>& ticked) override {
        std::optional<std::vector<std::string>> chosen;
        InWindow([&] { chosen = Tick(title, names, ticked); });
        return chosen;
    }
    std::optional<std::string> AskText(const std::string& prompt,
                                       const std::string& initial) override {
        bool isGiven = false;
        QString text;
        InWindow([&] {
            text = QInputDialog::getText(m_parent, "Dravin Studio", Text(prompt), QLineEdit::Normal,
                                         Text(initial), &isGiven);
        });
        if (!isGiven) return std::nullopt;
        return text.toStdString();
    }

private:
    template <class Work>
    void InWindow(const Work& work) {
        if (QThread::currentThread() == qApp->thread()) return work();
        QMetaObject::invokeMethod(qApp, work, Qt::BlockingQueuedConnection);
    }

    // The ending is there before the box asks about a file that would be written over.
    QString AskForFile(const FileRequest& request) {
        QStringList patterns;
        for (const std::string& ending : request.endings) patterns += "*" + Text(ending);
        QString filter = patterns.join(' ');
        if (!request.kind.empty()) filter = Text(request.kind) + "(" + filter + ")";
        QFileDialog dialog(m_parent, Text(request.title), Text(request.folder), filter);
        if (request.save) {
            dialog.setAcceptMode(QFileDialog::AcceptSave);
            if (!request.endings.empty())
                dialog.setDefaultSuffix(Text(request.endings[0]).remove(0, 1));
        } else
            dialog.setFileMode(QFileDialog::ExistingFile);
        if (!request.name.empty()) dialog.selectFile(Text(request.name));
        return dialog.exec() && !dialog.selectedFiles().isEmpty() ? dialog.selectedFiles()[0]
                                                                  : QString();
    }

    std::optional<std::vector<std::string>> Tick(const std::string& title,
                                                 const std::vector<std::string>& names,
                                                 const std::vector<std::string>& ticked) {
        QDialog dialog(m_parent);
        dialog.setWindowTitle(Text(title));
        QStandardItemModel model(int(names.size()), 1);
        for (size_t i = 0; i < names.size(); ++i) {
            auto* item = new QStandardItem(Text(names[i]));
            bool isOn = std::find(ticked.begin(), ticked.end(), names[i]) != ticked.end();
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
            item->setCheckState(isOn ? Qt::Checked : Qt::Unchecked);
            model.setItem(int(i), item);
        }
        auto* view = new QListView;
        view->setModel(&model);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
        QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        auto* column = new QVBoxLayout(&dialog);
        column->addWidget(view);
        column->addWidget(buttons);
        if (dialog.exec() != QDialog::Accepted) return std::nullopt;
        std::vector<std::string> chosen;
        for (size_t i = 0; i < names.size(); ++i)
            if (model.item(int(i))->checkState() == Qt::Checked) chosen.push_back(names[i]);
        return chosen;
    }

    QPointer<QWidget> m_parent;
};

}  // namespace

std::unique_ptr<IUserInterface> MakeQtUserInterface(QWidget* parent) {
    return std::make_unique<QtUserInterface>(parent);
}
