#include "Dravin/commands/effect_check.h"

#include <algorithm>

#include "Dravin/build/dravin_build.h"
#include "Dravin/build/effect_trial.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/fresh_item.h"
#include "Dravin/effects/item_probe.h"
#include "Dravin/effects/tavuvm_expr/lexer.h"
#include "host/scene/scene.h"

using tavuvm_expr::token;
using tavuvm_expr::token_type;
using tavuvm_expr::type_code;

namespace {

// False where a name is taken: builds then leave the whole effect out.
bool Declare(const std::vector<TEffectVariable>& variables, TEffectNames& effect,
             TProgramFault* fault) {
    for (const TEffectVariable& v : variables) {
        if (v.name.empty() || v.kind < 0) continue;
        if (effect.names.is_taken(v.name)) {
            *fault = {"The parameter's name \"" + v.name + "\" is taken", 1, 1};
            return false;
        }
        int type = kEffectKinds[v.kind].type;
        if (type == kEffNode) {
            size_t slot =
                effect.names.declare_structure(v.name, {{"position", type_code::vector, false}});
            effect.names.set_initial(slot, v.value);
            continue;
        }
        type_code code = type == kEffTexmap  ? type_code::texmap
                         : type == kEffCurve ? type_code::curve
                                             : type_code(int(v.value.kind()) + 1);
        effect.names.declare_variable(v.name, code, v.value);
    }
    return true;
}

// What a program is tried on; without an item a fresh one.
struct Trial {
    const TProbedItem* item = nullptr;
    TEffVMCallback host;
};

// What a program prints; none when it does not compile or run.
std::optional<std::string> Output(const std::vector<TEffectVariable>& variables,
                                  const std::string& program, const Trial& trial) {
    TEffectNames effect;
    TProgramFault fault;
    if (!Declare(variables, effect, &fault)) return std::nullopt;
    tavuvm_expr::compilation compiled = effect.names.compile(program);
    if (!compiled.code) return std::nullopt;
    tavuvm_expr::vmachine machine(compiled.code);
    SetFreshItem(machine, effect);
    if (trial.item)
        for (size_t i = 0; i < trial.item->attributes.size(); ++i)
            machine.set_slot(effect.itemSlot + i, trial.item->attributes[i]);
    if (trial.host.input) machine.set_slot(effect.timeSlot, int32_t(trial.host.input->time));
    std::string output;
    machine.set_output(&output);
    TNuRandom random = trial.item ? trial.item->random : TNuRandom(1);
    TEffVMCallback host = trial.host;
    if (!machine.run(&random, &host)) return std::nullopt;
    return output;
}

struct Statement {
    size_t begin = 0, end = 0;  // up to and with its ";"
    std::string target;         // what it assigns to; empty: nothing that has a value
    bool prints = false;
};

// Reads tokens up to the ";" of a statement; false at the end of the program.
bool ReadStatement(tavuvm_expr::parser::lexer& lexer, std::string_view program, Statement* out) {
    std::vector<token> tokens;
    for (;;) {
        token t = lexer.next();
        if (t.is(token_type::end)) return false;
        if (t.is('#')) {
            lexer.skip_comment();
            continue;
        }
        if (t.is('"') && !lexer.raw_string()) return false;
        if (t.is('\'')) lexer.raw_character(), lexer.next();
        tokens.push_back(t);
        if (t.is(';')) break;
    }
    out->begin = tokens.front().begin;
    out->end = tokens.back().end;
    token_type first = tokens.front().type;
    out->prints = tokens.front().is(token_type::keyword_print);
    bool declares = !tokens.front().is_character &&
                    (first == token_type::keyword_int || first == token_type::keyword_real ||
                     first == token_type::keyword_vector);
    auto stop = std::find_if(tokens.begin(), tokens.end(), [](const token& t) {
        return t.is('=') || t.is(token_type::inc) || t.is(token_type::dec);
    });
    size_t from = declares ? tokens[1].begin : out->begin;
    if (stop != tokens.end() && stop->begin > from)
        out->target = std::string(program.substr(from, stop->begin - from));
    while (!out->target.empty() && out->target.back() == ' ') out->target.pop_back();
    return true;
}

std::string LastLine(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text.substr(text.rfind('\n') + 1);
}

std::string TargetName(const Scene& scene, const ReferenceTarget* target) {
    if (auto* node = dynamic_cast<const INode*>(target)) return node->GetName();
    for (const auto& [name, map] : scene.Texmaps())
        if (target && map.get() == target) return name;
    return {};
}

// What the lists say of a parameter beside the value that programs see.
TEffectVariable ReadVariable(const Scene& scene, const IParamBlock2& block, const TValue& v) {
    using namespace effectParams;
    TEffectVariable variable;
    variable.id = v.id, variable.name = v.name, variable.row = v.row, variable.value = v.number;
    variable.kind = EffectKindOfRow(block, v.row);
    if (v.row < block.Count(kEfpadesc)) variable.description = block.GetString(kEfpadesc, 0, v.row);
    if (variable.kind < 0) return variable;
    const TEffectKind& kind = kEffectKinds[variable.kind];
    if (kind.IsNumber()) {
        auto read = [&](ParamID id) {
            if (v.row >= block.Count(id)) return 0.0;
            return kind.numType == kEffInteger ? double(block.GetInt(id, 0, v.row))
                                               : double(block.GetFloat(id, 0, v.row));
        };
        variable.number = read(kind.value);
        variable.min = read(kind.min), variable.max = read(kind.max);
        variable.isLimited = v.row < block.Count(kEfpalimit) && block.GetBool(kEfpalimit, 0, v.row);
    }
    bool hasTarget = kind.type == kEffNode || kind.type == kEffTexmap;
    if (hasTarget && v.row < block.Count(kind.value))
        variable.target = TargetName(scene, block.GetReference(kind.value, 0, v.row));
    variable.isPoint = kind.type == kEffController && v.number.is_vector();
    return variable;
}

// A program up to each of its statements, which then prints what that has assigned: every prefix
// draws the same random numbers.
std::vector<TLineValue> Try(const std::vector<TEffectVariable>& variables, std::string_view program,
                            const Trial& trial) {
    std::vector<TLineValue> values;
    tavuvm_expr::parser::lexer lexer(program);
    Statement statement;
    for (int i = 0; i < kMaxTriedStatements; ++i) {
        statement = {};
        if (!ReadStatement(lexer, program, &statement)) break;
        if (statement.target.empty() && !statement.prints) continue;
        std::string prefix(program.substr(0, statement.end));
        if (!statement.prints) prefix += "\nprint " + statement.target + ";";
        std::optional<std::string> output = Output(variables, prefix, trial);
        if (!output) continue;
        std::string value = LastLine(*output);
        int line =
            int(1 + std::count(program.begin(), program.begin() + long(statement.end), '\n'));
        values.push_back({line, statement.prints ? value : statement.target + " = " + value});
    }
    return values;
}

}  // namespace

std::vector<TEffectVariable> ReadEffectVariables(const Scene& scene, const TDravin& object,
                                                 const std::string& effectId) {
    std::vector<TEffectVariable> variables;
    const IParamBlock2& block = object.Block(kEffectParams);
    TEffectContext context;
    context.time = scene.GetTime();
    if (INode* node = GetWorldNode(object))
        context.toObject = Inverse(node->GetObjectTM(context.time));
    TEffectList list(block, object.CurveSet(kSlotEffectCurves), context);
    for (const TEffect& effect : list.Effects())
        if (effect.id == effectId)
            for (const TValue& v : effect.parameters)
                variables.push_back(ReadVariable(scene, block, v));
    return variables;
}

std::optional<TProgramFault> CheckEffectProgram(const std::vector<TEffectVariable>& variables,
                                                std::string_view program) {
    TEffectNames effect;
    TProgramFault fault;
    if (!Declare(variables, effect, &fault)) return fault;
    tavuvm_expr::compilation compiled = effect.names.compile(program);
    if (compiled.code) return std::nullopt;
    return TProgramFault{compiled.message, compiled.line, compiled.column};
}

std::vector<TLineValue> TryEffectProgram(const std::vector<TEffectVariable>& variables,
                                         std::string_view program) {
    return Try(variables, program, {});
}

std::optional<TProbedItem> FindTriedItem(TDravin& object, const std::string& effectId,
                                         const TItemId& id) {
    return object.Build().ProbeItem(id, ProgramsBefore(object, effectId));
}

std::vector<TLineValue> TryEffectProgram(const std::vector<TEffectVariable>& variables,
                                         std::string_view program, const TDravin& object,
                                         const TProbedItem& item) {
    TTrialSurroundings around(object);
    return Try(variables, program, {&item, around.Host()});
}
