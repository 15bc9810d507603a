#include "apps/studio/panels/controls.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

#include "apps/studio/panels/color_button.h"
#include "apps/studio/panels/labelled_control.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"

namespace {

class CheckControl : public LabelledControl {
public:
    CheckControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        m_box = new QCheckBox(Text(CaptionOf(key.Def())));
        SetEditor(m_box, 1);
        connect(m_box, &QCheckBox::clicked, this, [this] {
            bool on = m_box->checkState() != Qt::Unchecked;
            m_box->setTristate(false);
            Change(m_scope, [key = m_key, on](TPanel& panel) { return panel.SetBool(key, on); });
        });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        m_box->setTristate(value.isMixed);
        m_box->setCheckState(value.isMixed       ? Qt::PartiallyChecked
                             : value.number != 0 ? Qt::Checked
                                                 : Qt::Unchecked);
        setEnabled(value.isEnabled);
    }

private:
    QCheckBox* m_box;
};

// The mode of editing is switched by its command, which asks and makes items beside the window.
void SetEntry(const PanelScope& scope, TParamKey key, int entry) {
    if (!(key == TParamKey(editionParams::kMode)))
        return Change(scope, [=](TPanel& panel) { return panel.SetEntry(key, entry); });
    scope.session.Look([=](Scene& scene) {
        TPanel panel = scope.panel(scene);
        if (panel.IsEmpty()) return;
        std::string mode = entry == 0 ? "generate" : "custom_edit";
        std::string name;
        for (INode* node : scene.Nodes())
            if (name.empty() && panel.Holds(*node)) name = node->GetName();
        scope.session.Run("mode.switch", name, {{"mode", mode}});
    });
}

class RadioControl : public LabelledControl {
public:
    RadioControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        auto* box = new QWidget;
        auto* column = new QVBoxLayout(box);
        column->setContentsMargins(0, 0, 0, 0);
        column->setSpacing(2);
        const ParamDef& def = key.Def();
        for (int i = 0; i < int(def.entries.size()); ++i) {
            auto* button = new QRadioButton(Text(def.entries[size_t(i)]));
            m_group.addButton(button, i);
            column->addWidget(button);
        }
        QLabel* label = AddLabel();
        label->setAlignment(Qt::AlignTop | Qt::AlignLeft);
        SetEditor(box, 1);
        connect(&m_group, &QButtonGroup::idClicked, this,
                [this](int id) { SetEntry(m_scope, m_key, id); });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        QAbstractButton* on = value.isMixed ? nullptr : m_group.button(int(value.number));
        m_group.setExclusive(on != nullptr);
        for (QAbstractButton* button : m_group.buttons()) button->setChecked(button == on);
        m_group.setExclusive(true);
        setEnabled(value.isEnabled);
    }

private:
    QButtonGroup m_group;
};

class DropDownControl : public LabelledControl {
public:
    DropDownControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        AddLabel();
        m_box = new QComboBox;
        for (const std::string& entry : key.Def().entries) m_box->addItem(Text(entry));
        m_box->setFocusPolicy(Qt::StrongFocus);
        m_box->installEventFilter(new WheelGuard(this));
        SetEditor(m_box, 1);
        connect(m_box, &QComboBox::activated, this,
                [this](int entry) { SetEntry(m_scope, m_key, entry); });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        bool isNamed = !value.isMixed && value.number < double(m_box->count());
        m_box->setPlaceholderText(value.isMixed ? QString(u'\u2013')
                                                : QString::number(int(value.number)));
        m_box->setCurrentIndex(isNamed ? int(value.number) : -1);
        setEnabled(value.isEnabled);
    }

private:
    QComboBox* m_box;
};

class SwatchControl : public LabelledControl {
public:
    SwatchControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        AddLabel();
        m_button = new ColorButton([this](const Color& color) {
            Change(m_scope,
                   [key = m_key, color](TPanel& panel) { return panel.SetColor(key, color); });
        });
        SetEditor(m_button);
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        m_button->Show(value.color, value.isMixed);
        setEnabled(value.isEnabled);
    }

private:
    ColorButton* m_button;
};

// A file, by its picker or typed.
class FileControl : public LabelledControl {
public:
    FileControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        AddLabel();
        m_edit = new QLineEdit;
        SetEditor(m_edit, 1);
        auto* pick = new QPushButton("...");
        pick->setAccessibleName("Choose a file");
        m_row->addWidget(pick);
        connect(m_edit, &QLineEdit::editingFinished, this, [this] {
            if (m_edit->isModified()) Set(m_edit->text().toStdString());
        });
        connect(pick, &QPushButton::clicked, this, [this] {
            FileRequest request{
                "Choose an image", false, {}, {".bmp", ".png", ".jpg", ".tif", ".exr"}};
            if (auto path = m_scope.session.Ui().PickFile(request)) Set(*path);
        });
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        if (!(m_edit->hasFocus() && m_edit->isModified()))
            m_edit->setText(value.isMixed ? QString(u'\u2013') : Text(value.text));
        setEnabled(value.isEnabled);
    }

private:
    void Set(const std::string& path) {
        m_edit->setModified(false);
        Change(m_scope, [key = m_key, path](TPanel& panel) { return panel.SetText(key, path); });
    }
    QLineEdit* m_edit;
};

}  // namespace

ParamControl* MakeParamControl(const PanelScope& scope, TParamKey key) {
    switch (key.Def().control) {
        case ControlKind::kSpinner:
            return MakeNumberControl(scope, key);
        case ControlKind::kCheckBox:
            return new CheckControl(scope, key);
        case ControlKind::kRadio:
            return new RadioControl(scope, key);
        case ControlKind::kDropDown:
            return new DropDownControl(scope, key);
        case ControlKind::kMapButton:
            return MakeLookControl(scope, key);
        case ControlKind::kPickButton:
            return MakeNodeControl(scope, key);
        case ControlKind::kColorSwatch:
            return new SwatchControl(scope, key);
        case ControlKind::kSlider:
            return MakeSliderControl(scope, key);
        case ControlKind::kNodeList:
            return MakeNodeListControl(scope, key);
        case ControlKind::kNone:
            break;
    }
    return new FileControl(scope, key);
}
