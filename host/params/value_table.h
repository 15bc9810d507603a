// Values of an entity by their description, whether it keeps them in a parameter block or in
// properties of its class: what panels and commands read and change without knowing the class.
//
// A class that keeps its values in properties tells of them in a PropertyTable, one a class, made
// once. One thread changes an entity; any number may read it while nobody does.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/params/param_assign.h"

struct AssignTarget;

// How one value of an entity is reached. Contents are those of a block's parameter: one element of
// a single value.
struct PropertyField {
    ParamDef def;  // its id is its place in the table
    std::function<std::vector<ParamElement>(const ReferenceTarget&)> get;
    // As setters of the class: told, and can be undone. Null: read-only.
    std::function<void(ReferenceTarget&, std::vector<ParamElement>)> put;
    // A value at a time, keys or not, of what can be animated; null: `put` sets it.
    std::function<void(ReferenceTarget&, TimeValue, const ParamValue&)> setAt = {};
};

// The values that the objects of a class keep in properties.
class PropertyTable {
public:
    // title: of the rollout that shows them. Ids are given here, names must be unique.
    PropertyTable(std::string title, std::vector<PropertyField> fields);

    const ParamBlockDesc2& Desc() const { return m_desc; }
    const PropertyField& Field(ParamID id) const { return m_fields[size_t(id)]; }

private:
    std::vector<PropertyField> m_fields;
    ParamBlockDesc2 m_desc;
};

// One table of values of an entity. Borrows the entity.
class ValueTable {
public:
    explicit ValueTable(IParamBlock2& block) : m_block(&block) {}
    ValueTable(ReferenceTarget& owner, const PropertyTable& table)
        : m_owner(&owner), m_table(&table) {}

    const ParamBlockDesc2& Desc() const { return m_block ? m_block->GetDesc() : m_table->Desc(); }
    // Elements of a list; 1 for a single value.
    int Count(ParamID id) const;
    // The element must exist.
    ParamValue Get(ParamID id, TimeValue t, int index = 0) const;
    bool IsKeyed(ParamID id) const;
    std::vector<ParamElement> GetElements(ParamID id) const;
    void SetElements(ParamID id, std::vector<ParamElement> elements);
    // Whether a reference may stand there.
    bool Accepts(ParamID id, const ReferenceTarget* target) const;
    void Append(ParamID id, std::shared_ptr<ReferenceTarget> target);
    void Delete(ParamID id, int index);
    // Back to the default; lists become empty, keys go.
    void Reset(ParamID id);

    // As AssignParam and AssignElement do for scripts.
    AssignResult Assign(const ParamDef& def, const ParamInput& input, TimeValue t,
                        const NameResolver& resolve);
    AssignResult Assign(const ParamDef& def, int index, const ParamInput& input, TimeValue t,
                        const NameResolver& resolve);

private:
    // Of a property table.
    AssignTarget TargetOf(const ParamDef& def, TimeValue t);

    IParamBlock2* m_block = nullptr;  // else a property table
    ReferenceTarget* m_owner = nullptr;
    const PropertyTable* m_table = nullptr;
};
