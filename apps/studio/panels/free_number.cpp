#include "apps/studio/panels/free_number.h"

#include <memory>

#include "apps/studio/panels/number_field.h"

namespace {

struct FreeField {
    FreeNumber number;
    NumberField* field = nullptr;
    double from = 0;

    double Bounded(double value) const { return number.bounded ? number.bounded(value) : value; }
    void Show(double value) const { field->Show(value, false, false, false); }
    void Preview(double value) const {
        Show(value);
        if (number.preview) number.preview(value);
    }
    std::string Enter(const std::string& text) const {
        TNumberEntry entry;
        std::string error;
        double value = 0;
        if (!entry.Parse(text, number.form, &error)) return error;
        if (!entry.Apply(field->Value(), &value, &error)) return error;
        number.set(Bounded(value));
        return {};
    }
    void End(bool keep) const {
        double reached = field->Value();
        Preview(from);
        if (keep && reached != from) number.set(reached);
    }
};

}  // namespace

NumberField* MakeFreeNumber(FreeNumber number) {
    auto made = std::make_shared<FreeField>(FreeField{std::move(number)});
    NumberField::Hooks hooks;
    hooks.enter = [made](const std::string& text) { return made->Enter(text); };
    hooks.begin = [made] { made->from = made->field->Value(); };
    hooks.offset = [made](double offset) { made->Preview(made->Bounded(made->from + offset)); };
    hooks.end = [made](bool keep) { made->End(keep); };
    hooks.reset = made->number.reset ? made->number.reset : [] {};
    hooks.menu = made->number.menu ? made->number.menu : [](const QPoint&) {};
    hooks.step = made->number.step ? made->number.step : [](double) { return 1.0; };
    made->field = new NumberField(std::move(hooks));
    made->field->setObjectName(made->number.name);
    made->field->setAccessibleName(made->number.help);
    made->field->setToolTip(made->number.help);
    return made->field;
}
