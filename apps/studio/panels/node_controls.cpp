// Controls of parameters that hold nodes: chosen by a click in a view, or by name.
#include <memory>

#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QStringListModel>
#include <QTimer>
#include <QVBoxLayout>

#include "Dravin/panels/node_picks.h"
#include "apps/studio/node_pick.h"
#include "apps/studio/panels/labelled_control.h"
#include "host/scene/node.h"
#include "host/scene/user_interface.h"

namespace {

// Checked while a click in a view will choose a node; pressed again, it gives up.
class PickButton : public QPushButton {
public:
    PickButton(const PanelScope& scope, TParamKey key) : m_scope(scope), m_key(key) {
        setText("Pick");
        setObjectName(Text(key.Def().name) + "_pick");
        setCheckable(true);
        setToolTip(
            QString("Pick %1 from scene. Right click to cancel").arg(Text(PickNamesOf(key).many)));
        connect(this, &QPushButton::clicked, this, [this](bool isOn) {
            m_scope.session.nodePickWished.Send(isOn ? MakeWish() : nullptr);
        });
    }
    ~PickButton() override {
        if (isChecked()) m_scope.session.nodePickWished.Send(nullptr);
    }

protected:
    // The panel shows something else; a window that is put away still waits.
    void hideEvent(QHideEvent* event) override {
        if (!event->spontaneous() && isChecked()) m_scope.session.nodePickWished.Send(nullptr);
    }

private:
    std::shared_ptr<NodePick> MakeWish() {
        auto wish = std::make_shared<NodePick>();
        wish->goesOn = m_key.Def().list;
        wish->prompt = QString("Click %1; a right click or Esc ends this")
                           .arg(Text(CaptionOf(m_key.Def())).toLower());
        wish->accepts = [panel = m_scope.panel, key = m_key](Scene& scene, const INode& node) {
            return MayPick(panel(scene), key, node);
        };
        wish->picked = [scope = m_scope, key = m_key](Scene& scene, INode& node) {
            TPanel panel = scope.panel(scene);
            TPanelResult result = PickNode(panel, key, node);
            if (!result) scope.session.told.Send(MessageLevel::kError, result.error);
        };
        wish->ended = [button = QPointer<PickButton>(this)] {
            if (button) button->setChecked(false);
        };
        return wish;
    }

    PanelScope m_scope;
    TParamKey m_key;
};

// A camera, light or target: by a click in a view, or by name from what fits.
class NodeControl : public LabelledControl {
public:
    NodeControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        AddLabel();
        m_button = new QPushButton;
        SetEditor(m_button, 1);
        m_pick = new PickButton(scope, key);
        m_row->addWidget(m_pick);
        connect(m_button, &QPushButton::clicked, this, [this] { Choose(); });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        m_button->setText(value.isMixed        ? QString(u'\u2013')
                          : value.text.empty() ? QString("None")
                                               : Text(value.text));
        setEnabled(value.isEnabled);
    }

private:
    void Choose() {
        m_scope.session.Look([this](Scene& scene) {
            QMenu menu;
            menu.addAction("None")->setData(QString());
            for (const std::string& name : m_scope.panel(scene).Candidates(m_key))
                menu.addAction(Text(name))->setData(Text(name));
            QAction* chosen = menu.exec(m_button->mapToGlobal(QPoint(0, m_button->height())));
            if (!chosen) return;
            std::string name = chosen->data().toString().toStdString();
            Change(m_scope,
                   [key = m_key, name](TPanel& panel) { return panel.SetReference(key, name); });
        });
    }
    QPushButton* m_button;
    PickButton* m_pick;
};

class NodeListControl : public LabelledControl {
public:
    NodeListControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        auto* box = new QWidget;
        auto* column = new QVBoxLayout(box);
        column->setContentsMargins(0, 0, 0, 0);
        m_count = new QLabel;
        m_count->setObjectName(Text(key.Def().name) + "_count");
        m_view = new QListView;
        m_view->setModel(&m_model);
        m_view->setFixedHeight(72);
        m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
        m_view->setObjectName(Text(key.Def().name) + "_list");
        column->addWidget(m_count);
        column->addWidget(m_view);
        column->addLayout(MakeButtons());
        SetEditor(box, 1);
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        QStringList names;
        for (const std::string& name : value.names) names.push_back(Text(name));
        if (m_model.stringList() != names) m_model.setStringList(names);
        m_count->setText(Text(PickedText(panel, m_key)));
        setEnabled(value.isEnabled);
    }

private:
    QLayout* MakeButtons() {
        QString many = Text(PickNamesOf(m_key).many);
        auto* buttons = new QHBoxLayout;
        auto add = [&](const char* text, const char* name, const QString& tip, auto press) {
            auto* button = new QPushButton(text);
            button->setObjectName(Text(m_key.Def().name) + name);
            button->setToolTip(tip);
            connect(button, &QPushButton::clicked, this, press);
            buttons->addWidget(button);
        };
        buttons->addWidget(new PickButton(m_scope, m_key));
        add("By Name", "_by_name", QString("Select multiple %1 by name").arg(many),
            [this] { SelectByName(); });
        add("Remove", "_remove", "Takes the marked one out of the list", [this] { Remove(); });
        add("Clear", "_clear", QString("Clear all %1").arg(many), [this] {
            m_scope.session.nodePickWished.Send(nullptr);
            Change(m_scope, [key = m_key](TPanel& panel) { return ClearPicked(panel, key); });
        });
        return buttons;
    }
    void SelectByName() {
        m_scope.session.Look([this](Scene& scene) {
            // Not before this look has ended: a box waits for its user.
            QTimer::singleShot(
                0, this, [this, asked = PickQuestionOf(m_scope.panel(scene), m_key)] {
                    auto chosen =
                        m_scope.session.Ui().SelectByName(asked.title, asked.names, asked.ticked);
                    if (!chosen) return;
                    Change(m_scope, [key = m_key, names = *chosen](TPanel& panel) {
                        return PickByName(panel, key, names);
                    });
                });
        });
    }
    void Remove() {
        std::string name = m_view->currentIndex().data().toString().toStdString();
        if (name.empty()) return;
        Change(m_scope,
               [key = m_key, name](TPanel& panel) { return RemovePicked(panel, key, name); });
    }
    QStringListModel m_model;
    QListView* m_view;
    QLabel* m_count;
};

}  // namespace

ParamControl* MakeNodeControl(const PanelScope& scope, TParamKey key) {
    return new NodeControl(scope, key);
}
ParamControl* MakeNodeListControl(const PanelScope& scope, TParamKey key) {
    return new NodeListControl(scope, key);
}
