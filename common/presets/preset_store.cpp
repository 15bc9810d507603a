#include "common/presets/preset_store.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/params/undo_step.h"

namespace {

// Names for a message, the first ones of many.
class NameList {
public:
    void Add(const std::string& name) {
        constexpr size_t kMost = 8;
        if (++m_count <= kMost) m_text += (m_count > 1 ? ", " : "") + name;
        m_isCut = m_count > kMost;
    }
    size_t Count() const { return m_count; }
    // Adds the sentence with the names in it, if there are any.
    void Tell(const char* sentence, std::vector<std::string>* warnings) const {
        if (m_count > 0)
            warnings->push_back(
                fmt::format(fmt::runtime(sentence), m_text + (m_isCut ? ", …" : "")));
    }

private:
    size_t m_count = 0;
    bool m_isCut = false;
    std::string m_text;
};

// Six digits after the point are not enough for it.
bool Vanishes(const ParamValue& value) {
    auto* number = std::get_if<float>(&value);
    return number && *number != 0 && std::abs(*number) < 5e-7f;
}

// What a preset does not hold of the parameters.
struct LeftOut {
    NameList targets, keys, small;

    void Look(const IParamBlock2& block, const ParamDef& def, TimeValue t,
              const PresetNamer& nameOf) {
        bool hasNameless = false, hasKeys = false, vanishes = false;
        for (int i = 0, n = block.Count(def.id); i < n; ++i) {
            hasKeys |= !block.GetKeys(def.id, i).empty();
            if (!IsReferenceType(def.type)) {
                vanishes |= Vanishes(block.GetValue(def.id, t, i));
                continue;
            }
            const ReferenceTarget* target = block.GetReference(def.id, t, i);
            bool isNamed = def.type == ParamType::kNode || def.type == ParamType::kMaterial;
            hasNameless |= target && !(isNamed && !nameOf(target).empty());
        }
        if (hasNameless) targets.Add(def.name);
        if (hasKeys) keys.Add(def.name);
        if (vanishes) small.Add(def.name);
    }
    void Tell(std::vector<std::string>* warnings) const {
        targets.Tell(
            "presets hold no maps, controllers and unnamed materials; empty after loading: {}",
            warnings);
        keys.Tell("presets hold no keys, but values at one time: {}", warnings);
        small.Tell("too small for six digits after the point, zero in the preset: {}", warnings);
    }
};

// Targets that the owner itself holds, such as curves, are no values: presets leave them alone.
bool IsOwnersPart(const ParamDef& def) {
    return def.type == ParamType::kReference && def.ownerSlot >= 0;
}

// The first of many warnings about one parameter.
void TellSome(const std::string& name, const std::vector<std::string>& from,
              std::vector<std::string>* to) {
    constexpr size_t kMost = 3;
    for (size_t i = 0; i < std::min(from.size(), kMost); ++i) to->push_back(name + ": " + from[i]);
    if (from.size() > kMost)
        to->push_back(fmt::format("{}: and {} more", name, from.size() - kMost));
}

PresetResult TooLong(const std::string& name, size_t elements) {
    return {PresetStatus::kTooLarge,
            fmt::format("{}: a list of {} elements; presets may have {}", name,
                        FormatGrouped(int64_t(elements)),
                        FormatGrouped(int64_t(PresetStore::kMostElements))),
            {}};
}

}  // namespace

bool PresetStore::IsStored(std::string_view name) const {
    bool isListed = std::find(names.begin(), names.end(), name) != names.end();
    return isListed != leavesOut;
}

IniFile::Entries PresetStore::Lines(std::vector<std::string>* warnings) const {
    IniFile::Entries lines;
    LeftOut leftOut;
    for (const IParamBlock2* block : m_blocks)
        for (const ParamDef& def : block->GetDesc().params) {
            if (!IsStored(def.name)) continue;
            lines.emplace_back(def.name, PresetValueText(*block, def, time, nameOf));
            if (!IsOwnersPart(def)) leftOut.Look(*block, def, time, nameOf);
        }
    leftOut.Tell(warnings);
    return lines;
}

PresetResult PresetStore::Save(const PresetFile& file, const std::string& name) const {
    std::vector<std::string> warnings;
    PresetResult result = file.Write(name, Lines(&warnings));
    result.warnings = std::move(warnings);
    return result;
}

PresetResult PresetStore::Export(const PresetFile& file, const std::string& name) const {
    std::vector<std::string> warnings;
    PresetResult result = file.WriteAlone(name, Lines(&warnings));
    result.warnings = std::move(warnings);
    return result;
}

PresetResult PresetStore::ReadChanges(const IniFile::Entries& lines,
                                      std::vector<Change>* changes) const {
    std::map<std::string_view, std::string_view> texts;
    for (const auto& [name, text] : lines) texts[name] = text;  // the last of several counts
    PresetResult result;
    for (IParamBlock2* block : m_blocks)
        for (const ParamDef& def : block->GetDesc().params) {
            auto found = texts.find(def.name);
            if (found == texts.end()) continue;
            std::vector<std::string_view> elements{found->second};
            if (def.list) elements = SplitPresetList(found->second);
            texts.erase(found);
            if (!IsStored(def.name) || IsOwnersPart(def)) continue;
            if (elements.size() > kMostElements) return TooLong(def.name, elements.size());
            Change& change = changes->emplace_back(Change{block, &def, {}});
            std::vector<std::string> warnings;
            for (std::string_view text : elements)
                change.elements.push_back({ParsePresetValue(def, text, find, &warnings), {}});
            TellSome(def.name, warnings, &result.warnings);
        }
    NameList unknown;
    for (const auto& [name, text] : texts)
        if (IsStored(name)) unknown.Add(CutText(name, 60));
    unknown.Tell("lines that name no parameter are ignored: {}", &result.warnings);
    return result;
}

void PresetStore::Apply(std::vector<Change> changes, const std::string& step) {
    UndoStep undo(step);
    for (Change& change : changes) {
        AccessorSuspender quiet(*change.block);
        change.block->SetElements(change.def->id, std::move(change.elements));
    }
}

PresetResult PresetStore::Load(const PresetFile& file, std::string* name) const {
    IniFile::Entries lines;
    PresetResult read = file.Read(name, &lines);
    if (!read) return read;
    std::vector<Change> changes;
    PresetResult result = ReadChanges(lines, &changes);
    result.warnings.insert(result.warnings.begin(), read.warnings.begin(), read.warnings.end());
    if (!result) {
        result.error = fmt::format("{}: preset \"{}\": {}", file.Path(), *name, result.error);
    } else if (changes.empty()) {
        result.status = PresetStatus::kNothingApplied;
        result.error =
            fmt::format("{}: preset \"{}\" has no line that names a parameter of this object",
                        file.Path(), *name);
    } else {
        Apply(std::move(changes), "Load Preset");
    }
    return result;
}
