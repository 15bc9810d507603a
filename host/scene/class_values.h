// What users can set of scene entities, as tables of values: those that the host's classes keep in
// properties, and the parameter blocks of all classes.
//
// Names of values are those of scene descriptions where these have them. Tables of constants; the
// entity's thread.
#pragma once

#include <span>
#include <vector>

#include "host/params/value_table.h"

class INode;

// The tables of an entity's class, its base class first; empty for classes without any.
std::vector<const PropertyTable*> PropertyTablesOf(const ReferenceTarget& target);

// All tables of an entity: those of its class, then its parameter blocks by their slots.
std::vector<ValueTable> ValueTablesOf(ReferenceTarget& target);
// The one with this description; none where the entity has no such values.
std::optional<ValueTable> ValueTableOf(ReferenceTarget& target, const ParamBlockDesc2& desc);

// A value by its name, in whichever of the entity's tables.
struct NamedValue {
    ValueTable table;
    const ParamDef* def;
};
std::optional<NamedValue> FindValue(ReferenceTarget& target, std::string_view name);
// What a node consists of: its modifiers, the uppermost first, its object, the parts of that which
// have values of their own, and the node itself.
std::vector<ReferenceTarget*> PartsOf(const INode& node);

// All names, for suggestions.
std::vector<std::string> ValueNamesOf(ReferenceTarget& target);
