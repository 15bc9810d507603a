// Trying a program while it is written: does it compile, and what do its lines compute?
//
// A program is tried with the parameters of its effect, as builds see them. On one fresh item at
// the origin, the one that `dravin effect run` uses, maps are black and curves 0: own copies of
// everything, and any thread, but for reading the variables. On an item of a build all is as there,
// in the scene's thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/effects/tavuvm_expr/value.h"

class Scene;
class TDravin;
struct TItemId;
struct TProbedItem;

// A parameter of an effect.
struct TEffectVariable {
    std::string id, name, description;
    int kind = -1;  // in kEffectKinds
    int row = 0;    // in the parameter lists
    double number = 0, min = 0, max = 0;
    bool isLimited = false;
    bool isPoint = false;          // of controllers
    std::string target;            // name of a node or map; empty: none
    tavuvm_expr::value value = 0;  // as programs see it
    friend bool operator==(const TEffectVariable& a, const TEffectVariable& b) {
        return a.id == b.id && a.name == b.name && a.kind == b.kind && a.number == b.number &&
               a.min == b.min && a.max == b.max && a.isLimited == b.isLimited &&
               a.target == b.target && a.isPoint == b.isPoint && a.description == b.description;
    }
};

// Those of the effect with this id, in order, at the scene's time. In the scene's thread.
std::vector<TEffectVariable> ReadEffectVariables(const Scene& scene, const TDravin& object,
                                                 const std::string& effectId);

struct TProgramFault {
    std::string message;
    int line = 0, column = 0;  // from 1, the column in bytes
};

// None when it compiles.
std::optional<TProgramFault> CheckEffectProgram(const std::vector<TEffectVariable>& variables,
                                                std::string_view program);

struct TLineValue {
    int line = 0;      // from 1, on which the statement ends
    std::string text;  // "x = 3"
};

// What each statement leaves in what it assigns to, in order; as far as the program compiles and
// runs. The first kMaxTriedStatements are tried.
inline constexpr int kMaxTriedStatements = 200;
std::vector<TLineValue> TryEffectProgram(const std::vector<TEffectVariable>& variables,
                                         std::string_view program);

// An item of the object's last build as it comes to an effect. Makes items until it is met. None:
// no such item came there.
std::optional<TProbedItem> FindTriedItem(TDravin& object, const std::string& effectId,
                                         const TItemId& id);
// The same on such an item, while the build that it is of stands.
std::vector<TLineValue> TryEffectProgram(const std::vector<TEffectVariable>& variables,
                                         std::string_view program, const TDravin& object,
                                         const TProbedItem& item);
