#include <set>

#include <fmt/format.h>

#include "Dravin/config/effect_library.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/params/controller.h"

using Json = nlohmann::ordered_json;
using TargetPtr = std::shared_ptr<ReferenceTarget>;
using namespace effectParams;

namespace {

using Kind = TEffectKind;
constexpr auto& kKinds = kEffectKinds;
constexpr int kController = 4, kCurve = 6;
constexpr int kControllerReal = 1, kControllerVector = 2;

// The program of a definition that WrapEffectProgram made; none for any other.
std::optional<std::string> UnwrapProgram(const std::string& xml, const std::string& title) {
    auto definition = ReadEffectDefinition(xml, nullptr);
    if (!definition || WrapEffectProgram(definition->expression, title) != xml) return std::nullopt;
    return definition->expression;
}

// Of "file", or of "library": an effect that the product ships, by the name of its file.
std::string ReadProgramFile(DescriptionObject& keys, const DescriptionValue& value, bool shipped,
                            const DescriptionContext& context) {
    if (keys.Value().Document().Failed()) return {};
    std::string error, path;
    if (!shipped) path = context.FileOf(value);
    if (shipped && !FindShippedEffect(value.AsText(), &path, &error)) value.Fail(error);
    if (path.empty()) return {};
    std::optional<uint64_t> size = RegularFileSize(path, &error);
    if (size && *size > kMaxEffectBytes) {
        value.Fail(TooLargeEffect(path, *size), DescriptionErrorClass::kLimit);
        return {};
    }
    auto bytes = ReadWholeFile(path, kMaxEffectBytes, &error);
    if (!bytes) value.Fail(error, DescriptionErrorClass::kMissingInput);
    return bytes.value_or("");
}

std::string ReadProgram(DescriptionObject& keys, const std::string& title,
                        const DescriptionContext& context) {
    auto program = keys.Find("program"), file = keys.Find("file"), library = keys.Find("library");
    if (bool(program) + bool(file) + bool(library) > 1)
        keys.Fail("\"program\", \"file\" and \"library\" exclude each other");
    std::string text;
    if (program) text = program->AsText();
    if (file) text = ReadProgramFile(keys, *file, false, context);
    if (library) text = ReadProgramFile(keys, *library, true, context);
    return IsEffectDefinition(text) ? text : WrapEffectProgram(text, title);
}

// Ids must be unique; rows that state none get one that nobody has.
std::string ReadId(DescriptionObject& keys, const char* stem, std::set<std::string>& taken) {
    if (auto value = keys.Find("id")) {
        std::string id = value->AsText();
        if (!taken.insert(id).second) value->Fail(fmt::format("the id \"{}\" stands twice", id));
        return id;
    }
    for (size_t i = taken.size() + 1;; ++i)
        if (std::string id = fmt::format("{}{}", stem, i); taken.insert(id).second) return id;
}

TargetPtr ReadController(const DescriptionValue& value, const DescriptionContext& context) {
    bool isVector = value.IsArray();
    if (value.IsObject()) {
        DescriptionObject form(value);
        for (const DescriptionValue& key : form.Array("keys"))
            if (key.IsArray() && key.AsArray().size() == 2) isVector = key.AsArray()[1].IsArray();
    }
    const ParamDef def =
        ParamDef(0, "value", isVector ? ParamType::kPoint3 : ParamType::kFloat).Animatable();
    auto content = ReadParamElement(def, value, context);
    return content ? std::make_shared<KeyController>(*content) : nullptr;
}

std::string ReadCurveText(const DescriptionValue& value) {
    TCurveSet set;
    set.SetNumCurves(1);
    set.SetPoints(0, ReadCurvePoints(value));
    return CurveSetToXml(&set, 0);
}

// What a parameter is where its row does not say: as the definition suggests, else as the lists
// say.
struct Suggestion {
    ParamValue value, min, max, def;  // of numbers
    int32_t limit = 0;
    std::string description;
};

int KindOfWord(const std::string& word) {
    int kind = EffectKindOfWord(word);
    return kind < 0 ? kEffectKindReal : kind;
}

// parameter: of the definition; null when it has none.
Suggestion SuggestionOf(const TEffectParameterDefinition* parameter, const Kind& kind,
                        const IParamBlock2& block) {
    const TEffectParameterDefinition p = parameter ? *parameter : TEffectParameterDefinition();
    Suggestion s;
    s.limit = p.limit;
    s.description = p.description;
    if (kind.type != 0) return s;
    auto number = [&](ParamID id, const std::string& text) -> ParamValue {
        if (text.empty()) return block.GetDesc().Find(id)->defaultValue;
        if (kind.numType == 0) return int32_t(ParseLeadingInteger(text));
        return float(ParseLeadingNumber(text));
    };
    s.value = number(kind.value, p.value);
    s.def = number(kind.def, p.value);
    s.min = number(kind.min, p.min);
    s.max = number(kind.max, p.max);
    return s;
}

// The lists of numbers of the kinds that a parameter does not have.
void PutOtherNumbers(const Kind& kind, RowReader& reader) {
    for (const Kind& other : std::span(kKinds, 3))
        if (&other != &kind)
            for (ParamID id : {other.value, other.min, other.max, other.def}) reader.PutDefault(id);
}

// suggested: what the definition says of it; null when nothing.
void ReadParameter(const DescriptionValue& row, const TEffectParameterDefinition* suggested,
                   const std::string& effectId, RowReader& reader, const IParamBlock2& block,
                   std::set<std::string>& taken, const DescriptionContext& context) {
    DescriptionObject keys(row);
    keys.Require("name");
    int kindIndex =
        keys.Choice("kind", EffectKindWords(), suggested ? KindOfWord(suggested->kind) : 1);
    const Kind& kind = kKinds[kindIndex];
    Suggestion missing = SuggestionOf(suggested, kind, block);
    reader.Put(kEfpaid, ReadId(keys, "parameter", taken));
    reader.Put(kEfpaeffid, effectId);
    reader.Put(kEfpatype, int32_t(kind.type));
    reader.Put(kEfpanumtype, int32_t(kind.numType));
    reader.Column(keys, "name", kEfpaname, std::string());
    reader.Column(keys, "limit", kEfpalimit, missing.limit);
    reader.Column(keys, "description", kEfpadesc, missing.description);
    PutOtherNumbers(kind, reader);
    if (kind.type == 0) {
        reader.Column(keys, "value", kind.value, missing.value);
        reader.Column(keys, "min", kind.min, missing.min);
        reader.Column(keys, "max", kind.max, missing.max);
        reader.Column(keys, "default", kind.def, missing.def);
    }
    auto value = keys.Find("value");
    bool isController = kindIndex == kController, isCurve = kindIndex == kCurve;
    for (ParamID id : {kEfpainode, kEfpatexmap}) {
        if (kind.value == id)
            reader.Column(keys, "value", id, TargetPtr());
        else
            reader.PutDefault(id);
    }
    TargetPtr controller;
    if (isController && value && !value->IsNull()) controller = ReadController(*value, context);
    auto* keyed = dynamic_cast<KeyController*>(controller.get());
    reader.Put(kEfpacontref, controller);
    reader.Put(kEfpacontanim, int32_t{0});
    reader.Put(kEfpacontype,
               int32_t(keyed && keyed->IsVector() ? kControllerVector : kControllerReal));
    reader.Put(kEfpacurve, isCurve && value ? ReadCurveText(*value) : std::string());
    keys.Finish();
}

// A parameter that the definition suggests and the row does not state.
void PutSuggested(const TEffectParameterDefinition& p, const std::string& effectId,
                  RowReader& reader, const IParamBlock2& block, std::set<std::string>& taken) {
    const Kind& kind = kKinds[KindOfWord(p.kind)];
    Suggestion s = SuggestionOf(&p, kind, block);
    for (size_t i = taken.size() + 1;; ++i)
        if (std::string id = fmt::format("parameter{}", i); taken.insert(id).second) {
            reader.Put(kEfpaid, id);
            break;
        }
    reader.Put(kEfpaeffid, effectId);
    reader.Put(kEfpatype, int32_t(kind.type));
    reader.Put(kEfpanumtype, int32_t(kind.numType));
    reader.Put(kEfpaname, p.name);
    reader.Put(kEfpalimit, s.limit);
    reader.Put(kEfpadesc, s.description);
    PutOtherNumbers(kind, reader);
    if (kind.type == 0) {
        reader.Put(kind.value, s.value);
        reader.Put(kind.min, s.min);
        reader.Put(kind.max, s.max);
        reader.Put(kind.def, s.def);
    }
    for (ParamID id : {kEfpainode, kEfpacontref, kEfpatexmap}) reader.Put(id, TargetPtr());
    reader.Put(kEfpacontanim, int32_t{0});
    reader.Put(kEfpacontype, int32_t(kControllerReal));
    reader.Put(kEfpacurve, std::string());
}

// Without a node or a map an effect runs, but hardly does what its user wanted.
void WarnWhereEmpty(const TEffectParameterDefinition& p, const DescriptionValue& row) {
    if (p.kind == "texmap")
        row.Warn(fmt::format("no texture map for \"{}\": it counts as black", p.name));
    if (p.kind == "node")
        row.Warn(fmt::format("no node for \"{}\": the object's own origin serves", p.name));
}

void WarnWhereNothingRuns(const std::string& xml, const std::string& name,
                          const DescriptionValue& row) {
    auto definition = ReadEffectDefinition(xml, nullptr);
    if (definition && Trim(definition->expression).empty())
        row.Warn(fmt::format("the effect \"{}\" is empty and does nothing", name));
}

// The parameters of one effect: those that the row states, then the others of the definition.
void ReadParameters(DescriptionObject& keys, const std::string& xml, const std::string& effectId,
                    RowReader& reader, const IParamBlock2& block, std::set<std::string>& taken,
                    const DescriptionContext& context) {
    TEffectDefinition definition = ReadEffectDefinition(xml, nullptr).value_or(TEffectDefinition());
    std::set<std::string> stated;
    for (const DescriptionValue& row : keys.Array("parameters")) {
        std::string name = DescriptionObject(row).Text("name", "");
        stated.insert(tavuvm_expr::folded(name));
        const TEffectParameterDefinition* suggested = FindParameter(definition, name);
        if (!suggested && !name.empty() && keys.Find("library"))
            row.Fail(fmt::format("the effect has no parameter \"{}\"{}", name,
                                 DidYouMean(name, ParameterNames(definition))));
        ReadParameter(row, suggested, effectId, reader, block, taken, context);
    }
    for (const TEffectParameterDefinition& p : definition.parameters) {
        if (stated.contains(tavuvm_expr::folded(p.name))) continue;
        WarnWhereEmpty(p, keys.Value());
        PutSuggested(p, effectId, reader, block, taken);
    }
}

Json WriteController(const IParamBlock2& block, int i, const DescriptionWriter& writer) {
    auto* keyed = dynamic_cast<KeyController*>(block.GetReference(kEfpacontref, 0, i));
    if (!keyed) return nullptr;
    ParamType type = keyed->IsVector() ? ParamType::kPoint3 : ParamType::kFloat;
    return writer.Value(ParamDef(0, "value", type), keyed->Content());
}

// Whatever reading would take from the definition by itself is left out.
Json WriteParameter(const TEffectDefinition& definition, const IParamBlock2& block,
                    const RowWriter& columns, int i, const DescriptionWriter& writer) {
    int kindIndex = EffectKindOfRow(block, i);
    const Kind& kind = kKinds[kindIndex];
    Suggestion missing =
        SuggestionOf(FindParameter(definition, block.GetString(kEfpaname, 0, i)), kind, block);
    Json row;
    columns.Column(row, "name", kEfpaname, i);
    row["kind"] = kind.word;
    columns.Column(row, "id", kEfpaid, i);
    if (kindIndex == kController) {
        row["value"] = WriteController(block, i, writer);
    } else if (kindIndex == kCurve) {
        TCurveSet set;
        if (CurveSetFromXml(set, block.GetString(kEfpacurve, 0, i)) && set.GetNumCurves() > 0)
            row["value"] = WriteCurvePoints(set.Points(0));
    } else {
        columns.Column(row, "value", kind.value, i);
    }
    if (kind.type == 0) {
        columns.Column(row, "min", kind.min, i, missing.min);
        columns.Column(row, "max", kind.max, i, missing.max);
        columns.Column(row, "default", kind.def, i, missing.def);
    }
    columns.Column(row, "limit", kEfpalimit, i, missing.limit);
    columns.Column(row, "description", kEfpadesc, i, missing.description);
    return row;
}

}  // namespace

std::span<const ParamID> EffectRowIds() {
    static const std::vector<ParamID> all = [] {
        std::span<const ParamID> effects = EffectColumns(), parameters = EffectParameterColumns();
        std::vector<ParamID> ids(effects.begin(), effects.end());
        ids.insert(ids.end(), parameters.begin(), parameters.end());
        return ids;
    }();
    return all;
}

bool HasKnownParameterKinds(const TDravin& object) {
    const IParamBlock2& block = object.Block(kEffectParams);
    for (int i = 0; i < std::min(block.Count(kEfpatype), block.Count(kEfpaid)); ++i)
        if (EffectKindOfRow(block, i) < 0) return false;
    return true;
}

void ReadEffectRows(TDravin& object, const DescriptionValue& rows,
                    const DescriptionContext& context) {
    IParamBlock2& block = object.Block(kEffectParams);
    RowReader reader(block, context);
    std::set<std::string> effectIds, parameterIds;
    for (const DescriptionValue& value : rows.AsArray()) {
        DescriptionObject keys(value);
        std::string name = keys.Text("name", "Effect"), id = ReadId(keys, "effect", effectIds);
        reader.Put(kEfidlist, id);
        reader.Put(kEfnamelist, name);
        std::string xml = ReadProgram(keys, name, context);
        reader.Put(kEfxmllist, xml);
        WarnWhereNothingRuns(xml, name, value);
        reader.Column(keys, "enabled", kEfenablelist, int32_t{1});
        ReadParameters(keys, xml, id, reader, block, parameterIds, context);
        keys.Finish();
        if (value.Document().Failed()) return;
    }
    reader.Store(EffectRowIds());
}

Json WriteEffectRows(const TDravin& object, const DescriptionWriter& writer) {
    const IParamBlock2& block = object.Block(kEffectParams);
    RowWriter columns(block, writer);
    Json rows;
    for (int i = 0; i < block.Count(kEfidlist); ++i) {
        std::string id = block.GetString(kEfidlist, 0, i), xml = block.GetString(kEfxmllist, 0, i);
        Json row = {{"name", block.GetString(kEfnamelist, 0, i)}, {"id", id}};
        columns.Column(row, "enabled", kEfenablelist, i, int32_t{1});
        row["program"] = UnwrapProgram(xml, block.GetString(kEfnamelist, 0, i)).value_or(xml);
        auto definition = ReadEffectDefinition(xml, nullptr).value_or(TEffectDefinition());
        for (int p = 0; p < block.Count(kEfpaid); ++p)
            if (block.GetString(kEfpaeffid, 0, p) == id)
                row["parameters"].push_back(WriteParameter(definition, block, columns, p, writer));
        rows.push_back(row);
    }
    return rows;
}
