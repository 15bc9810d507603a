// The button of a map or material: a click opens what stands there, the arrow chooses another.
#include <QDropEvent>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QToolButton>
#include <QUrl>

#include "Dravin/panels/look_choices.h"
#include "apps/studio/panels/labelled_control.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

constexpr size_t kMaxInMenu = 30;  // names; more are chosen from a list

class LookControl : public LabelledControl {
public:
    LookControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        AddLabel();
        m_button = new QPushButton;
        SetEditor(m_button, 1);
        m_arrow = new QToolButton;
        m_arrow->setArrowType(Qt::DownArrow);
        m_arrow->setFocusPolicy(Qt::StrongFocus);
        m_arrow->setToolTip("Chooses another");
        m_arrow->setAccessibleName("Choose " + m_button->accessibleName());
        m_arrow->setObjectName(Text(key.Def().name + "_choose"));
        m_row->addWidget(m_arrow);
        setAcceptDrops(true);
        connect(m_button, &QPushButton::clicked, this,
                [this] { m_hasLook ? OpenLook() : Choose(); });
        connect(m_arrow, &QToolButton::clicked, this, [this] { Choose(); });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        m_hasLook = !value.isMixed && !value.text.empty();
        m_button->setText(value.isMixed ? QString(u'\u2013')
                          : m_hasLook   ? Text(value.text)
                                        : QString("None"));
        setEnabled(value.isEnabled);
    }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override {
        if (!ImageOf(*event->mimeData()).empty()) event->acceptProposedAction();
    }
    void dropEvent(QDropEvent* event) override {
        if (std::string file = ImageOf(*event->mimeData()); !file.empty()) Put(file);
    }

private:
    // The one local file that is dragged, where the slot takes images; else empty.
    std::string ImageOf(const QMimeData& data) const {
        QList<QUrl> files = data.urls();
        bool takesIt = m_key.Def().type == ParamType::kTexmap && files.size() == 1;
        return takesIt ? files[0].toLocalFile().toStdString() : "";
    }
    void Put(const std::string& file) {
        Change(m_scope, [key = m_key, file](TPanel& panel) { return PutImage(panel, key, file); });
    }
    void OpenLook() {
        m_scope.session.Look([scope = m_scope, key = m_key](Scene& scene) {
            if (auto look = LookAt(scope.panel(scene), key)) scope.session.lookWished.Send(look);
        });
    }
    void Choose() {
        m_scope.session.Look([this](Scene& scene) {
            QMenu menu;
            Fill(menu, m_scope.panel(scene));
            menu.exec(m_button->mapToGlobal(QPoint(0, m_button->height())));
        });
    }
    void Fill(QMenu& menu, const TPanel& panel) {
        auto put = [scope = m_scope](auto change) { return [=] { Change(scope, change); }; };
        menu.addAction("None", put([key = m_key](TPanel& p) { return p.SetReference(key, ""); }));
        QMenu* fresh = menu.addMenu("New");
        for (const ClassDesc* desc : LookClasses(m_key.Def().type))
            fresh->addAction(Text(desc->info.name),
                             put([key = m_key, id = desc->info.id](TPanel& p) {
                                 return PutNewLook(p, key, id);
                             }));
        if (m_key.Def().type == ParamType::kTexmap)
            menu.addAction("Image File...", [this] { AskFile(); });
        if (m_hasLook)
            menu.addAction("Make a Copy",
                           put([key = m_key](TPanel& p) { return PutCopy(p, key); }));
        std::vector<std::string> names = panel.Candidates(m_key);
        if (!names.empty()) menu.addSeparator();
        if (names.size() > kMaxInMenu) {
            menu.addAction("Choose from the Scene...", [this, names] { AskName(names); });
            return;
        }
        for (const std::string& name : names)
            menu.addAction(Text(name), put([key = m_key, name](TPanel& p) {
                               return p.SetReference(key, name);
                           }));
    }
    void AskFile() {
        FileRequest request{"Choose an image",
                            false,
                            {},
                            {".png", ".jpg", ".jpeg", ".bmp", ".tif", ".tga", ".exr"}};
        if (auto path = m_scope.session.Ui().PickFile(request)) Put(*path);
    }
    void AskName(const std::vector<std::string>& names) {
        auto chosen = m_scope.session.Ui().SelectByName("Choose One", names, {});
        if (chosen && !chosen->empty())
            Change(m_scope, [key = m_key, name = chosen->front()](TPanel& panel) {
                return panel.SetReference(key, name);
            });
    }

    QPushButton* m_button;
    QToolButton* m_arrow;
    bool m_hasLook = false;
};

}  // namespace

ParamControl* MakeLookControl(const PanelScope& scope, TParamKey key) {
    return new LookControl(scope, key);
}
