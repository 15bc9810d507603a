#include "Dravin/effects/effect_list.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/tavuvm_expr/expr_lang.h"
#include "host/params/controller.h"
#include "host/scene/node.h"

using namespace effectParams;
using tavuvm_expr::type_code;
using tavuvm_expr::value;
using tavuvm_expr::vector3;

namespace {

value FromPoint(const Point3& p) { return vector3{p.x, p.y, p.z}; }

// Limits in the wrong order still bound the value from both sides.
template <class T>
T Limited(T v, T min, T max) {
    return std::clamp(v, std::min(min, max), std::max(min, max));
}

value Number(const IParamBlock2& block, int row, const TEffectContext& c) {
    bool limited = block.GetInt(kEfpalimit, c.time, row) != 0;
    if (block.GetInt(kEfpanumtype, c.time, row) == kEffInteger) {
        int32_t v = block.GetInt(kEfpaintval, c.time, row, c.valid);
        if (limited)
            v = Limited(v, block.GetInt(kEfpaintmin, c.time, row),
                        block.GetInt(kEfpaintmax, c.time, row));
        return v;
    }
    bool unit = block.GetInt(kEfpanumtype, c.time, row) == kEffUnit;
    float v = block.GetFloat(unit ? kEfpaunitval : kEfpafloatval, c.time, row, c.valid);
    if (limited)
        v = Limited(v, block.GetFloat(unit ? kEfpaunitmin : kEfpafloatmin, c.time, row),
                    block.GetFloat(unit ? kEfpaunitmax : kEfpafloatmax, c.time, row));
    return v;
}

value NodePosition(const IParamBlock2& block, int row, const TEffectContext& c) {
    auto* node = dynamic_cast<INode*>(block.GetReference(kEfpainode, c.time, row));
    return FromPoint(node ? node->GetNodeTM(c.time).GetTrans() * c.toObject : Point3{});
}

value ControllerValue(const IParamBlock2& block, int row, const std::string& name,
                      const TEffectContext& c) {
    bool vector = block.GetInt(kEfpacontype, c.time, row) == kEffControllerVector;
    auto* controller = dynamic_cast<Controller*>(block.GetReference(kEfpacontref, c.time, row));
    auto warn = [&](const char* reason) {
        if (c.warn) c.warn(fmt::format("Warning: '{}' {}", name, reason));
        return vector ? value(vector3{}) : value(0.0f);
    };
    if (!controller) return warn("controller cannot be evaluated");
    auto real = controller->EvalReal(c.time, c.valid);
    auto point = controller->EvalVector(c.time, c.valid);
    if (!real && !point) return warn("controller cannot be evaluated");
    if (vector && !point) return warn("controller returns invalid type. expected vector");
    if (!vector && !real) return warn("controller returns invalid type. expected real");
    return vector ? FromPoint(*point) : value(*real);
}

// As the language says it: names are taken by another variable or by something else.
std::string TakenMessage(const std::string& name, const std::vector<std::string>& variables) {
    bool twice =
        std::find(variables.begin(), variables.end(), tavuvm_expr::folded(name)) != variables.end();
    return fmt::format("Duplicated {} \"{}\"", twice ? "variable" : "identifier", name);
}

// Whether a program may read "Max.time": it speaks of "max", and not as the function. What reads
// like it in a comment or a text costs a build, no more.
bool MayReadTime(const std::string& expression) {
    std::string text = tavuvm_expr::folded(expression);
    for (size_t at = text.find("max"); at != text.npos; at = text.find("max", at + 3)) {
        size_t next = text.find_first_not_of(" \t\r\n", at + 3);
        if (next != text.npos && text[next] != '(') return true;
    }
    return false;
}

}  // namespace

TEffectList::TEffectList(const IParamBlock2& block, const TCurveSet* curves,
                         const TEffectContext& context) {
    int rows = block.Count(kEfpaid);
    m_textures.resize(size_t(rows));
    m_curves.resize(size_t(rows));
    for (int i = 0; i < block.Count(kEfidlist); ++i) {
        TEffect effect;
        effect.id = block.GetString(kEfidlist, context.time, i);
        effect.name = block.GetString(kEfnamelist, context.time, i);
        effect.error.effectId = effect.id;
        effect.error.effectName = effect.name;
        effect.enabled = block.GetInt(kEfenablelist, context.time, i) != 0;
        std::string xml = block.GetString(kEfxmllist, context.time, i);
        effect.title = effect.name;
        if (!xml.empty()) {
            auto definition = ReadEffectDefinition(xml, &effect.error.text);
            if (definition && !definition->title.empty()) effect.title = definition->title;
            if (definition) effect.expression = definition->expression;
        }
        for (int row = 0; row < rows; ++row)
            if (block.GetString(kEfpaeffid, context.time, row) == effect.id)
                effect.parameters.push_back(ReadParameter(block, row, context));
        m_effects.push_back(std::move(effect));
    }
    for (int row = 0; row < rows; ++row)
        if (curves && row < curves->GetNumCurves() &&
            block.GetInt(kEfpatype, context.time, row) == kEffCurve)
            m_curves[size_t(row)] = std::make_unique<BezierCurve>(curves->Points(row));
}

TValue TEffectList::ReadParameter(const IParamBlock2& block, int row,
                                  const TEffectContext& context) {
    TValue v;
    v.row = row;
    v.id = block.GetString(kEfpaid, context.time, row);
    v.name = block.GetString(kEfpaname, context.time, row);
    v.kind = block.GetInt(kEfpatype, context.time, row);
    switch (v.kind) {
        case kEffNode:
            v.number = NodePosition(block, row, context);
            break;
        case kEffController:
            v.number = ControllerValue(block, row, v.name, context);
            break;
        case kEffTexmap:
            m_textures[size_t(row)] =
                dynamic_cast<Texmap*>(block.GetReference(kEfpatexmap, context.time, row));
            v.number = row;
            break;
        case kEffCurve:
            v.number = row;
            break;
        default:
            v.number = Number(block, row, context);
    }
    return v;
}

// Parameters become variables, in the order of their rows; those without a name cannot be spoken of
// and are passed over.
void TEffectList::Declare(TEffect& effect, TEffectNames& names) const {
    std::vector<std::string> declared;
    for (const TValue& v : effect.parameters) {
        bool missing = v.kind == kEffCurve && !m_curves[size_t(v.row)];
        if (missing || v.name.empty()) continue;
        if (names.names.is_taken(v.name)) {
            effect.error.message = TakenMessage(v.name, declared);
            effect.error.text = fmt::format("Compile error. {} at parameter {}:\n{}\n^\n",
                                            effect.error.message, declared.size() + 1, v.name);
            return;
        }
        declared.push_back(tavuvm_expr::folded(v.name));
        if (v.kind == kEffNode) {
            size_t slot =
                names.names.declare_structure(v.name, {{"position", type_code::vector, false}});
            names.names.set_initial(slot, v.number);
            continue;
        }
        type_code type = v.kind == kEffTexmap  ? type_code::texmap
                         : v.kind == kEffCurve ? type_code::curve
                                               : type_code(int(v.number.kind()) + 1);
        names.names.declare_variable(v.name, type, v.number);
    }
}

void TEffectList::CompileOne(TEffect& effect, const TEffectContext& context,
                             TEffectPrograms* programs) const {
    TEffectNames names;
    if (effect.error.text.empty()) Declare(effect, names);
    if (!effect.error.text.empty()) return;
    names.names.set_initial(names.timeSlot, int32_t(context.time));
    if (context.valid && MayReadTime(effect.expression))
        *context.valid &= Interval::Instant(context.time);
    tavuvm_expr::compilation compiled = names.names.compile(effect.expression);
    effect.error.text = compiled.error;
    effect.error.message = compiled.message;
    effect.error.line = compiled.line;
    effect.error.column = compiled.column;
    if (compiled.code)
        programs->programs.emplace_back(compiled.code, names.names.initial_values(),
                                        names.itemSlot);
}

TEffectResult TEffectList::Compile(const TEffectContext& context, TEffectPrograms* programs) {
    bool failed = false;
    for (TEffect& effect : m_effects) {
        if (!effect.enabled) continue;
        if (effect.error.text.empty() && effect.expression.empty()) continue;
        CompileOne(effect, context, programs);
        failed |= !effect.error.text.empty();
    }
    programs->textures.resize(m_textures.size());
    if (!programs->programs.empty())
        for (const TEffect& effect : m_effects)
            for (const TValue& v : effect.parameters)
                if (v.kind == kEffTexmap && m_textures[size_t(v.row)] && context.sampler)
                    programs->textures[size_t(v.row)] =
                        context.sampler(m_textures[size_t(v.row)], v.name);
    programs->curves = std::move(m_curves);
    if (failed) return TEffectResult::kError;
    return programs->programs.empty() ? TEffectResult::kNone : TEffectResult::kActive;
}

std::vector<TEffectError> TEffectList::Errors() const {
    std::vector<TEffectError> errors;
    for (const TEffect& effect : m_effects)
        if (effect.enabled && !effect.error.text.empty()) errors.push_back(effect.error);
    return errors;
}

std::vector<TEffectError> FindEffectErrors(const IParamBlock2& block, const TCurveSet* curves,
                                           TimeValue time) {
    TEffectContext context;
    context.time = time;
    TEffectPrograms programs;
    TEffectList effects(block, curves, context);
    if (effects.Compile(context, &programs) != TEffectResult::kError) return {};
    return effects.Errors();
}

std::span<const ParamID> EffectColumns() {
    static constexpr ParamID ids[] = {kEfidlist, kEfnamelist, kEfxmllist, kEfenablelist};
    return ids;
}

std::span<const ParamID> EffectParameterColumns() {
    static constexpr ParamID ids[] = {
        kEfpaid,      kEfpaeffid,    kEfpatype,     kEfpaname,     kEfpalimit,
        kEfpadesc,    kEfpanumtype,  kEfpaintval,   kEfpaintmin,   kEfpaintmax,
        kEfpaintdef,  kEfpafloatval, kEfpafloatmin, kEfpafloatmax, kEfpafloatdef,
        kEfpaunitval, kEfpaunitmin,  kEfpaunitmax,  kEfpaunitdef,  kEfpainode,
        kEfpacontref, kEfpacontanim, kEfpacontype,  kEfpatexmap,   kEfpacurve};
    return ids;
}

void LoadEffectCurves(const IParamBlock2& block, ReferenceMaker& owner, int slot) {
    int rows = block.Count(kEfpaid);
    TCurveSet& set = EnsureCurveSet(owner, slot, rows, kEffectCurveDefaults);
    set.SetNumCurves(rows);
    for (int row = 0; row < rows; ++row) {
        ResetEffectCurve(owner, slot, row);
        std::string text = block.GetString(kEfpacurve, 0, row);
        if (!text.empty()) CurveSetFromXml(set, text, row);
    }
}

void StoreEffectCurves(IParamBlock2& block, const TCurveSet* curves) {
    for (int row = 0; curves && row < block.Count(kEfpaid) && row < curves->GetNumCurves(); ++row)
        block.SetValue(kEfpacurve, 0, CurveSetToXml(curves, row), row);
}
