// Where assigned values go once they have been checked: into a parameter block, or to the setters
// of a class. For param_assign.cpp and value_table.cpp.
#pragma once

#include "host/params/param_assign.h"

struct AssignTarget {
    int count = 1;  // elements that are there
    std::function<void(int index, ParamValue)> set;
    std::function<void(std::vector<ParamElement>)> setAll;  // of a list
};

// A list takes an array as a whole; anything else is element 0.
AssignResult AssignWhole(const AssignTarget& target, const ParamDef& def, const ParamInput& input,
                         AssignSource source, const NameResolver& resolve);
AssignResult AssignOne(const AssignTarget& target, const ParamDef& def, int index,
                       const ParamInput& input, AssignSource source, const NameResolver& resolve);
