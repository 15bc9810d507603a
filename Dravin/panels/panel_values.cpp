#include "Dravin/panels/panel_values.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "host/io/scene_description.h"
#include "host/params/param_assign.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

std::string NameOfTarget(const Scene& scene, ParamType type, const ReferenceTarget* target) {
    if (!target) return {};
    if (type == ParamType::kTexmap) {
        for (const auto& [name, map] : scene.Texmaps())
            if (map.get() == target) return name;
    } else if (type == ParamType::kMaterial) {
        for (const auto& [name, material] : scene.Materials())
            if (material.get() == target) return name;
    } else if (auto* node = dynamic_cast<const INode*>(target)) {
        return node->GetName();
    }
    return target->ClassName();
}

void ReadContent(const Scene& scene, const IParamBlock2& block, const ParamDef& def, TimeValue t,
                 TControlValue* out) {
    if (def.list) {
        for (int i = 0; i < block.Count(def.id); ++i)
            if (const auto* target = block.GetReference(def.id, t, i))
                out->names.push_back(NameOfTarget(scene, def.type, target));
        return;
    }
    if (IsReferenceType(def.type)) {
        out->text = NameOfTarget(scene, def.type, block.GetReference(def.id, t));
    } else if (def.type == ParamType::kColor) {
        out->color = block.GetColor(def.id, t);
    } else if (def.type == ParamType::kString || def.type == ParamType::kFilename) {
        out->text = block.GetString(def.id, t);
    } else if (def.type == ParamType::kFloat || def.type == ParamType::kWorld) {
        out->number = block.GetFloat(def.id, t);
    } else {
        out->number = block.GetInt(def.id, t);
    }
}

bool IsFraction(ParamType type) { return type == ParamType::kFloat || type == ParamType::kWorld; }

}  // namespace

TPanel::TPanel(Scene& scene, std::vector<TDravin*> objects)
    : m_scene(&scene), m_objects(std::move(objects)) {}

TimeValue TPanel::Time() const { return m_scene->GetTime(); }

bool TPanel::Holds(const INode& node) const {
    return std::any_of(m_objects.begin(), m_objects.end(),
                       [&](TDravin* object) { return node.GetObjectRef() == object; });
}

// Stored values in one that is shown: times are shown as frames.
double TPanel::UnitOf(const ParamDef& def) const {
    return def.type == ParamType::kTime ? double(m_scene->ticksPerFrame.Get()) : 1;
}

double TPanel::ShownNumberOf(const TDravin& object, TParamKey key) const {
    TControlValue value;
    ReadContent(*m_scene, object.Block(key.block), key.Def(), Time(), &value);
    return value.number / UnitOf(key.Def());
}

TControlValue TPanel::Read(TParamKey key) const {
    const ParamDef& def = key.Def();
    TControlValue shown;
    shown.isDefault = true;
    for (size_t i = 0; i < m_objects.size(); ++i) {
        const IParamBlock2& block = m_objects[i]->Block(key.block);
        TControlValue value;
        ReadContent(*m_scene, block, def, Time(), &value);
        value.number /= UnitOf(def);
        bool isKeyed = !def.list && !block.GetKeys(def.id).empty();
        bool isDefault =
            !isKeyed &&
            (def.list ? value.names.empty() : block.GetValue(def.id, Time()) == def.defaultValue);
        if (i == 0) {
            shown = value;
            shown.isDefault = isDefault;
        }
        shown.isMixed |= value.number != shown.number || value.text != shown.text ||
                         !(value.color == shown.color) || value.names != shown.names;
        shown.isKeyed |= isKeyed;
        shown.isDefault &= isDefault;
        shown.isEnabled &= IsParamEnabled(*m_objects[i], key, Time());
    }
    shown.isEnabled &= !m_objects.empty();
    return shown;
}

bool TPanel::IsShown(const TPanelGroup& group) const {
    return m_objects.empty() || std::any_of(m_objects.begin(), m_objects.end(), [&](TDravin* o) {
               return IsGroupShown(*o, group, Time());
           });
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

// change(object): what is done to each; an error takes all back.
template <class Change>
TPanelResult TPanel::ForAll(const std::string& name, const Change& change) const {
    TPanelResult all;
    UndoStep step(name);
    for (TDravin* object : m_objects) {
        TPanelResult one = change(*object);
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
    return ForAll(StepName(key), [&](TDravin& object) -> TPanelResult {
        AssignResult result = AssignParam(object.Block(key.block), key.Def(), input, Time(),
                                          AssignSource::kScript, names);
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
TPanelResult TPanel::Assign(TDravin& object, TParamKey key, double shown) const {
    const ParamDef& def = key.Def();
    double value = shown * UnitOf(def);
    if (!IsFraction(def.type)) value = std::round(value);
    if (def.hasRange) value = std::clamp(value, def.min, def.max);
    auto assign = [&](TParamKey target, double number) {
        ParamInput input =
            IsFraction(target.Def().type) ? ParamInput(number) : ParamInput(int64_t(number));
        return AssignParam(object.Block(target.block), target.Def(), input, Time(),
                           AssignSource::kScript);
    };
    double before = ShownNumberOf(object, key);
    AssignResult result = assign(key, value);
    bool isLocked = object.Block(kDistParams).GetBool(distParams::kLockRatio, Time());
    for (TParamKey other : ChangedWith(key))
        if (result && !(other == key) && isLocked && before > 0)
            result = assign(other, ShownNumberOf(object, other) * value / before);
    return {std::move(result.error), std::move(result.warnings)};
}

TPanelResult TPanel::Enter(TParamKey key, const std::string& text) {
    TNumberEntry entry;
    TPanelResult result;
    if (!entry.Parse(text, FormOf(key), &result.error)) return result;
    return ForAll(StepName(key), [&](TDravin& object) {
        TPanelResult one;
        double number = 0;
        if (entry.Apply(ShownNumberOf(object, key), &number, &one.error))
            one = Assign(object, key, number);
        return one;
    });
}

TPanelResult TPanel::SetNumber(TParamKey key, double shown) {
    return ForAll(StepName(key), [&](TDravin& object) { return Assign(object, key, shown); });
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

TPanelResult TPanel::Reset(TParamKey key) {
    const ParamDef& def = key.Def();
    if (def.readOnly) return {"the parameter is read-only", {}};
    return ForAll("Reset " + CaptionOf(def), [&](TDravin& object) -> TPanelResult {
        IParamBlock2& block = object.Block(key.block);
        if (def.list)
            block.SetCount(def.id, 0);
        else
            block.SetElements(def.id, {{def.defaultValue, {}}});
        return {};
    });
}

TPanelResult TPanel::SetKey(TParamKey key) {
    const ParamDef& def = key.Def();
    if (!def.animatable) return {"the parameter cannot be animated", {}};
    return ForAll("Key " + CaptionOf(def), [&](TDravin& object) -> TPanelResult {
        IParamBlock2& block = object.Block(key.block);
        std::vector<ParamElement> elements = block.GetElements(def.id);
        elements.at(0).track.SetKey(Time(), block.GetValue(def.id, Time()));
        block.SetElements(def.id, std::move(elements));
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
    if (def.type != ParamType::kNode || m_objects.empty()) return names;
    for (INode* node : m_scene->Nodes()) {
        if (!Holds(*node) && m_objects[0]->Block(key.block).Accepts(key.id, node))
            names.push_back(node->GetName());
    }
    return names;
}
