// Numbers as fields, and as fields with a slider beside them.
#include <QSignalBlocker>
#include <QSlider>

#include "apps/studio/panels/labelled_control.h"
#include "apps/studio/panels/number_field.h"

namespace {

class NumberControl : public LabelledControl {
public:
    NumberControl(const PanelScope& scope, TParamKey key) : LabelledControl(scope, key) {
        QLabel* label = AddLabel();
        m_field = new NumberField(HooksOf());
        m_field->AttachLabel(label);
        SetEditor(m_field);
        m_field->setFixedWidth(104);
    }
    void Show(const TPanel& panel) override {
        TControlValue value = panel.Read(m_key);
        m_form = panel.FormOf(m_key);
        m_field->Show(value.number, value.isMixed, value.isKeyed, value.isDefault);
        m_field->setToolTip(Text(HelpOf(m_key.Def()) + "\nNow: " +
                                 (value.isMixed ? "several values" : FullNumber(value.number)) +
                                 (value.isKeyed ? " (animated)" : "")));
        setEnabled(value.isEnabled);
    }

protected:
    NumberField::Hooks HooksOf() {
        NumberField::Hooks hooks;
        hooks.enter = [this](const std::string& text) { return Enter(text); };
        hooks.begin = [this] { m_scope.session.BeginDrag(m_scope.panel, m_key); };
        hooks.offset = [this](double offset) { m_scope.session.Drag(offset); };
        hooks.end = [this](bool keep) { m_scope.session.EndDrag(keep); };
        hooks.reset = [this] {
            Change(m_scope, [key = m_key](TPanel& panel) { return panel.Reset(key); });
        };
        hooks.menu = [this](const QPoint& at) { ShowParamMenu(m_scope, m_key, at); };
        hooks.step = [this](double value) {
            double step = m_key.Def().step;
            return step > 0 ? step : StepFor(value, m_form.isInteger);
        };
        return hooks;
    }
    // The text is judged at once, the change comes when the scene is free.
    std::string Enter(const std::string& text) {
        TNumberEntry entry;
        std::string error;
        double result = 0;
        if (!entry.Parse(text, m_form, &error)) return error;
        if (!entry.Apply(m_field->Value(), &result, &error)) return error;
        Change(m_scope, [key = m_key, text](TPanel& panel) { return panel.Enter(key, text); });
        return {};
    }

    NumberField* m_field;
    TNumberForm m_form;
};

// A number with a slider below its range.
class SliderControl : public NumberControl {
public:
    SliderControl(const PanelScope& scope, TParamKey key) : NumberControl(scope, key) {
        const ParamDef& def = key.Def();
        m_slider = new QSlider(Qt::Horizontal);
        m_slider->setRange(int(def.min), int(def.max));
        m_slider->setTickInterval(std::max(1, int(def.max - def.min) / 10));
        m_slider->setTickPosition(QSlider::TicksBelow);
        m_slider->setObjectName(Text(def.name) + "_slider");
        m_slider->setAccessibleName(Text(def.label));
        m_slider->installEventFilter(new WheelGuard(this));
        m_slider->setFocusPolicy(Qt::StrongFocus);
        m_row->insertWidget(1, m_slider, 1);
        connect(m_slider, &QSlider::sliderPressed, this, [this] {
            m_from = m_field->Value();
            m_scope.session.BeginDrag(m_scope.panel, m_key);
        });
        connect(m_slider, &QSlider::valueChanged, this, [this](int value) {
            if (m_slider->isSliderDown()) return m_scope.session.Drag(value - m_from);
            Change(m_scope,
                   [key = m_key, value](TPanel& panel) { return panel.SetNumber(key, value); });
        });
        connect(m_slider, &QSlider::sliderReleased, this,
                [this] { m_scope.session.EndDrag(true); });
    }
    void Show(const TPanel& panel) override {
        NumberControl::Show(panel);
        QSignalBlocker silent(m_slider);
        if (!m_slider->isSliderDown()) m_slider->setValue(int(m_field->Value()));
    }

private:
    QSlider* m_slider;
    double m_from = 0;
};

}  // namespace

ParamControl* MakeNumberControl(const PanelScope& scope, TParamKey key) {
    return new NumberControl(scope, key);
}

ParamControl* MakeSliderControl(const PanelScope& scope, TParamKey key) {
    return new SliderControl(scope, key);
}
