// The effects of one scatter object: rows of its effect block, made into programs for a build.
//
// The list reads the parallel lists of the block `effectParams`: one row an effect, and one row a
// parameter of any effect, which belongs to the effect whose id it names. Curves of parameters
// live in the object's set of effect curves: curve i belongs to parameter i.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/curves/curve_set.h"
#include "Dravin/effects/effect_programs.h"
#include "Dravin/params/dravin_params.h"
#include "host/params/param_block.h"
#include "host/scene/texmap.h"

// Kinds of effect parameters and of numbers; the codes are those of saved data.
enum EffectParamKind {
    kEffNumber = 0,
    kEffNode = 1,
    kEffController = 2,
    kEffTexmap = 3,
    kEffCurve = 4
};
enum EffectNumberKind { kEffInteger = 0, kEffReal = 1, kEffUnit = 2 };
enum EffectControllerKind { kEffControllerReal = 1, kEffControllerVector = 2 };

// One parameter of an effect: how programs see it.
struct TValue {
    int row = 0;  // in the parameter lists
    std::string id, name;
    int kind = kEffNumber;
    tavuvm_expr::value number;  // its value at the build's time; of a node its position
};

// Why an effect does not compile, and where.
struct TEffectError {
    std::string effectId, effectName;
    std::string text;     // as shown to users: mostly the message, the source line and a caret
    std::string message;  // that alone
    // In the program, from 1, the column in bytes; 0: the fault is not in the program's text.
    int line = 0, column = 0;
};

struct TEffect {
    std::string id, name;
    bool enabled = true;
    std::string title, expression;
    std::vector<TValue> parameters;
    TEffectError error;  // without a text when it compiles
};

// What the values of parameters follow from.
struct TEffectContext {
    TimeValue time = 0;
    Matrix3 toObject;           // from world to the object's space, where nodes are given
    Interval* valid = nullptr;  // narrowed by everything that is read
    // A map made ready for evaluation; null when it cannot be.
    std::function<const IMapSampler*(Texmap*, const std::string& name)> sampler;
    // Lines for the listener.
    std::function<void(const std::string&)> warn;
};

enum class TEffectResult { kNone = 0, kActive = 1, kError = 2 };

class TEffectList {
public:
    // Reads the rows. curves may be null.
    TEffectList(const IParamBlock2& block, const TCurveSet* curves, const TEffectContext& context);

    // Compiles every effect that is enabled and not empty. The programs of those that compile run
    // even when another one fails.
    TEffectResult Compile(const TEffectContext& context, TEffectPrograms* programs);

    std::span<const TEffect> Effects() const { return m_effects; }
    // Of the effects that did not compile, in their order.
    std::vector<TEffectError> Errors() const;

private:
    TValue ReadParameter(const IParamBlock2& block, int row, const TEffectContext& context);
    void Declare(TEffect& effect, TEffectNames& names) const;
    void CompileOne(TEffect& effect, const TEffectContext& context,
                    TEffectPrograms* programs) const;

    std::vector<TEffect> m_effects;
    std::vector<Texmap*> m_textures;  // by row
    std::vector<std::unique_ptr<BezierCurve>> m_curves;
};

// The errors of all enabled effects, found by compiling them without a build. curves may be null.
std::vector<TEffectError> FindEffectErrors(const IParamBlock2& block, const TCurveSet* curves,
                                           TimeValue time);

// The parallel lists of effects and of their parameters; of the latter, id, owner, kind, name,
// limit, description and kind of number come first.
std::span<const ParamID> EffectColumns();
std::span<const ParamID> EffectParameterColumns();

// The set of effect curves holds one curve for each parameter row, filled from the rows' texts.
void LoadEffectCurves(const IParamBlock2& block, ReferenceMaker& owner, int slot);
// Every curve goes back into its row's text.
void StoreEffectCurves(IParamBlock2& block, const TCurveSet* curves);
