#include "Dravin/panels/panel_values.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "Dravin/materials/scene_looks.h"
#include "host/io/scene_description.h"
#include "host/params/param_assign.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

double NumberOf(const ParamValue& value) {
    auto* integer = std::get_if<int32_t>(&value);
    return integer ? double(*integer) : double(std::get<float>(value));
}

void ReadContent(const Scene& scene, const ValueTable& table, const ParamDef& def, TimeValue t,
                 TControlValue* out) {
    using Target = std::shared_ptr<ReferenceTarget>;
    if (def.list) {
        bool isNamed = IsReferenceType(def.type);
        for (int i = 0; isNamed && i < table.Count(def.id); ++i)
            if (auto target = std::get<Target>(table.Get(def.id, t, i)))
                out->names.push_back(LookName(scene, target.get()));
        return;
    }
    ParamValue value = table.Get(def.id, t);
    if (auto* target = std::get_if<Target>(&value))
        out->text = LookName(scene, target->get());
    else if (auto* color = std::get_if<Color>(&value))
        out->color = *color;
    else if (auto* text = std::get_if<std::string>(&value))
        out->text = *text;
    else if (!std::holds_alternative<Point3>(value))
        out->number = NumberOf(value);
}

bool IsFraction(ParamType type) { return type == ParamType::kFloat || type == ParamType::kWorld; }

}  // namespace

TDravin* TPanel::Scatter() const {
    return m_things.empty() ? nullptr : dynamic_cast<TDravin*>(m_things[0]);
}

TimeValue TPanel::Time() const { return m_scene->GetTime(); }

bool TPanel::Holds(const INode& node) const {
    std::vector<ReferenceTarget*> shown = PartsOf(node);
    return std::any_of(m_things.begin(), m_things.end(), [&](ReferenceTarget* thing) {
        return std::find(shown.begin(), shown.end(), thing) != shown.end();
    });
}

// Stored values in one that is shown: times are shown as frames.
double TPanel::UnitOf(const ParamDef& def) const {
    return def.type == ParamType::kTime ? double(m_scene->ticksPerFrame.Get()) : 1;
}

double TPanel::ShownNumberOf(ReferenceTarget& thing, TParamKey key) const {
    TControlValue value;
    ReadContent(*m_scene, TableOf(thing, key), key.Def(), Time(), &value);
    return value.number / UnitOf(key.Def());
}

TControlValue TPanel::Read(TParamKey key) const {
    const ParamDef& def = key.Def();
    TControlValue shown;
    shown.isDefault = true;
    for (ReferenceTarget* thing : m_things) {
        ValueTable table = TableOf(*thing, key);
        TControlValue value;
        ReadContent(*m_scene, table, def, Time(), &value);
        value.number /= UnitOf(def);
        bool isKeyed = table.IsKeyed(def.id);
        bool isDefault = !isKeyed && (def.list ? table.Count(def.id) == 0
                                               : table.Get(def.id, Time()) == def.defaultValue);
        if (thing == m_things[0]) {
            shown = value;
            shown.isDefault = isDefault;
        }
        shown.isMixed |= value.number != shown.number || value.text != shown.text ||
                         !(value.color == shown.color) || value.names != shown.names;
        shown.isKeyed |= isKeyed;
        shown.isDefault &= isDefault;
        shown.isEnabled &= IsParamEnabled(*thing, key, Time());
    }
    shown.isEnabled &= !m_things.empty();
    return shown;
}

bool TPanel::IsShown(const TPanelGroup& group) const {
    return m_things.empty() ||
           std::any_of(m_things.begin(), m_things.end(),
                       [&](ReferenceTarget* thing) { return IsGroupShown(*thing, group, Time()); });
}

TNumberForm TPanel::FormOf(TParamKey key) const {
    const ParamDef& def = key.Def();
    return {def.type == ParamType::kWorld, m_scene->unitScale.Get(), !IsFraction(def.type)};
}

double TPanel::StepOf(TParamKey key, double shown) const {
    const ParamDef& def = key.Def();
    return def.step > 0 ? def.step : StepFor(shown, !IsFraction(def.type));
}

std::string TPanel::StepName(TParamKey key) const {
    const ParamDef& def = key.Def();
    return "Set " + (def.label.empty() ? def.name : def.label);
}

// change(thing): what is done to each; an error takes all back.
template <class Change>
TPanelResult TPanel::ForAll(const std::string& name, const Change& change) const {
    TPanelResult all;
    UndoStep step(name);
    for (ReferenceTarget* thing : m_things) {
        TPanelResult one = change(*thing);
        for (std::string& warning : one.warnings) all.warnings.push_back(std::move(warning));
        if (one) continue;
        all.error = std::move(one.error);
        step.Cancel();
        break;
    }
    return all;
}

TPanelResult TPanel::SetInput(TParamKey key, const ParamInput& input) const {
    NameResolver names = ResolverOf(*m_scene);
    return ForAll(StepName(key), [&](ReferenceTarget& thing) -> TPanelResult {
        AssignResult result = TableOf(thing, key).Assign(key.Def(), input, Time(), names);
        return {std::move(result.error), std::move(result.warnings)};
    });
}

std::vector<TParamKey> TPanel::ChangedWith(TParamKey key) {
    using namespace distParams;
    if (key == TParamKey(kUnitsX)) return {key, kUnitsY};
    if (key == TParamKey(kUnitsY)) return {key, kUnitsX};
    return {key};
}

// A locked ratio of the map's sizes stays what it is.
TPanelResult TPanel::Assign(ReferenceTarget& thing, TParamKey key, double shown) const {
    const ParamDef& def = key.Def();
    double value = shown * UnitOf(def);
    if (!IsFraction(def.type)) value = std::round(value);
    if (def.hasRange) value = std::clamp(value, def.min, def.max);
    auto assign = [&](TParamKey target, double number) {
        ParamInput input =
            IsFraction(target.Def().type) ? ParamInput(number) : ParamInput(int64_t(number));
        return TableOf(thing, target).Assign(target.Def(), input, Time(), {});
    };
    double before = ShownNumberOf(thing, key);
    AssignResult result = assign(key, value);
    for (TParamKey other : ChangedWith(key)) {
        if (!result || other == key || before <= 0) continue;
        auto& object = dynamic_cast<TDravin&>(thing);
        if (object.Block(kDistParams).GetBool(distParams::kLockRatio, Time()))
            result = assign(other, ShownNumberOf(thing, other) * value / before);
    }
    return {std::move(result.error), std::move(result.warnings)};
}

TPanelResult TPanel::Enter(TParamKey key, const std::string& text) {
    TNumberEntry entry;
    TPanelResult result;
    if (!entry.Parse(text, FormOf(key), &result.error)) return result;
    return ForAll(StepName(key), [&](ReferenceTarget& thing) {
        TPanelResult one;
        double number = 0;
        if (entry.Apply(ShownNumberOf(thing, key), &number, &one.error))
            one = Assign(thing, key, number);
        return one;
    });
}

TPanelResult TPanel::SetNumber(TParamKey key, double shown) {
    return ForAll(StepName(key), [&](ReferenceTarget& thing) { return Assign(thing, key, shown); });
}

TPanelResult TPanel::SetBool(TParamKey key, bool on) { return SetInput(key, ParamInput(on)); }

TPanelResult TPanel::SetEntry(TParamKey key, int entry) {
    const std::vector<std::string>& entries = key.Def().entries;
    if (entry < 0 || size_t(entry) >= entries.size())
        return {fmt::format("{} has no entry {}", key.Def().name, entry), {}};
    return SetInput(key, ParamInput(entries[size_t(entry)]));
}

TPanelResult TPanel::SetColor(TParamKey key, const Color& color) {
    return SetInput(
        key, ParamInput(ParamInput::Array{double(color.r), double(color.g), double(color.b)}));
}

TPanelResult TPanel::SetText(TParamKey key, const std::string& text) {
    return SetInput(key, ParamInput(text));
}

TPanelResult TPanel::SetReference(TParamKey key, const std::string& name) {
    return SetInput(key, name.empty() ? ParamInput() : ParamInput(name));
}

TPanelResult TPanel::SetTarget(TParamKey key, std::shared_ptr<ReferenceTarget> target) {
    return SetInput(key, ParamInput(std::move(target)));
}

TPanelResult TPanel::Reset(TParamKey key) {
    const ParamDef& def = key.Def();
    if (def.readOnly) return {"the parameter is read-only", {}};
    return ForAll("Reset " + CaptionOf(def), [&](ReferenceTarget& thing) -> TPanelResult {
        TableOf(thing, key).Reset(def.id);
        return {};
    });
}

TPanelResult TPanel::SetKey(TParamKey key) {
    const ParamDef& def = key.Def();
    if (!def.animatable) return {"the parameter cannot be animated", {}};
    return ForAll("Key " + CaptionOf(def), [&](ReferenceTarget& thing) -> TPanelResult {
        ValueTable table = TableOf(thing, key);
        std::vector<ParamElement> elements = table.GetElements(def.id);
        elements.at(0).track.SetKey(Time(), table.Get(def.id, Time()));
        table.SetElements(def.id, std::move(elements));
        return {};
    });
}

std::vector<std::string> TPanel::Candidates(TParamKey key) const {
    const ParamDef& def = key.Def();
    std::vector<std::string> names;
    if (def.type == ParamType::kTexmap)
        for (const auto& [name, map] : m_scene->Texmaps()) names.push_back(name);
    if (def.type == ParamType::kMaterial)
        for (const auto& [name, material] : m_scene->Materials()) names.push_back(name);
    if (def.type != ParamType::kNode || m_things.empty()) return names;
    ValueTable table = TableOf(*m_things[0], key);
    for (INode* node : m_scene->Nodes())
        if (!Holds(*node) && table.Accepts(key.id, node)) names.push_back(node->GetName());
    return names;
}
