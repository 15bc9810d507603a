// Assignment of outside values to parameters: what scripts, Python and scene descriptions go
// through.
//
// Outside values are checked against the parameter's type and range before anything is stored:
//   - numbers are clamped to the range with a warning; a value equal to the default never is;
//   - a float takes any finite number, an int a number without fraction, a bool true, false, 0 and
//     any other number as 1; text takes text, a colour or point three numbers;
//   - where a parameter has named entries, an entry's text stands for its number and sets what the
//     panel's list sets, even beyond the range;
//   - references are named, or handed over as they are; null empties them.
// Scripts are refused read-only parameters and nodes that fail the class test. A scene description
// carries both, so that nothing is lost, and keeps a number that a named entry has. Failing changes
// nothing.
#pragma once

#include <functional>

#include "host/params/param_block.h"

enum class AssignSource { kScript, kDescription };

// An outside value: nothing, a truth value, a number, text, an array of values, or a target.
struct ParamInput {
    using Array = std::vector<ParamInput>;
    std::variant<std::monostate, bool, int64_t, double, std::string, Array,
                 std::shared_ptr<ReferenceTarget>>
        value;

    ParamInput() = default;
    template <class T>
    ParamInput(T v) : value(std::move(v)) {}
    ParamInput(int v) : value(int64_t(v)) {}
    ParamInput(const char* v) : value(std::string(v)) {}
};

// The target that a name means for a parameter of this type. Null with a reason in `error` (which
// may hold a suggestion) when there is none.
using NameResolver = std::function<std::shared_ptr<ReferenceTarget>(
    ParamType type, const std::string& name, std::string* error)>;

struct AssignResult {
    std::string error;    // empty: done
    int errorIndex = -1;  // element of a list that the error is about
    std::vector<std::string> warnings;

    explicit operator bool() const { return error.empty(); }
};

// Turns an outside value into one that `def` can hold; one element where def is a list.
AssignResult ConvertInput(const ParamDef& def, const ParamInput& input, AssignSource source,
                          const NameResolver& resolve, ParamValue* out);

// Assigns a whole parameter: lists take arrays. The block's accessors act for scripts.
AssignResult AssignParam(IParamBlock2& block, const ParamDef& def, const ParamInput& input,
                         TimeValue t, AssignSource source, const NameResolver& resolve = {});

// Assigns one element of a list.
AssignResult AssignElement(IParamBlock2& block, const ParamDef& def, int index,
                           const ParamInput& input, TimeValue t, AssignSource source,
                           const NameResolver& resolve = {});
