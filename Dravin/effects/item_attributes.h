// The attributes of "dpItem": what effect programs read and write of an item.
//
// Positions and directions are in the space of the scatter object, angles in radians except the
// ranges of the random rotation, which are in degrees like the parameters. The ranges of the random
// translation are lengths, those of the random scale percent.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "Dravin/effects/tavuvm_expr/lane_ops.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/effect_runner.h"

// What attributes are read from: an item among others, what earlier programs want of it, and the
// settings around it.
struct TAttributeSource {
    const TItemLanes& lanes;
    const TCells& cells;
    size_t k;  // the item's lane
    const TEffectOutcome& outcome;
    const TBuildInput& input;
};

// Where a value that a program wrote goes.
struct TAttributeTarget {
    TItemLanes& lanes;
    size_t k;
    TEffectOutcome& outcome;
    const TBuildInput& input;
};

// The items of a batch.
struct TAttributeBatch {
    TItemLanes& lanes;
    const TCells& cells;
    std::span<TEffectOutcome> outcomes;
    const TBuildInput& input;
    std::span<const uint32_t> items;  // their lanes, in order
    // Where each stands in the program's registers: side by side where the lanes do.
    std::span<const uint32_t> places;
};

// Where the numbers of an attribute stand, a column for each part of a vector.
struct TAttributeColumn {
    const float* part[3];
};

// Registers that take an attribute's numbers: int32_t or float, a lane for each part of a vector;
// null: nobody reads it.
struct TAttributeLanes {
    void* part[3] = {};
};

// Numbers that a program left, of the attribute's type.
struct TAttributeResults {
    tavuvm_expr::lane_operand part[3];
};

struct TItemAttribute {
    const char* name;
    tavuvm_expr::type_code type;
    tavuvm_expr::value (*read)(const TAttributeSource& source);
    // Null: read-only. The value is of the attribute's type.
    void (*write)(const TAttributeTarget& target, const tavuvm_expr::value& v);
    // The same for all items of a batch.
    void (*readAll)(const TAttributeBatch& batch, const TAttributeLanes& to);
    void (*writeAll)(const TAttributeBatch& batch, const TAttributeResults& from);
    // What `read` reads, of real attributes and vectors that stand in the lanes as they are; null
    // for all others.
    TAttributeColumn (*column)(const TItemLanes& lanes);
};

// In the order of the attributes' slots.
std::span<const TItemAttribute> ItemAttributes();

// A value that a program stored, as the attribute takes it: an index beyond a variable may have
// brought one of another kind.
tavuvm_expr::value Taken(const TItemAttribute& attribute, const tavuvm_expr::value& stored);

// The table for the language.
std::vector<tavuvm_expr::attribute> ItemStructure();
