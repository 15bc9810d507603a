// What a parameter is: the rows of the tables that scripts, presets, scene files, the command line,
// Python and panels walk.
//
// A parameter has an id (unique in its block), an internal name (unique in its object), a type, and
// either one value or a list of values of that type. Descriptions are built once, as tables of
// ParamDef rows with chained setters, and never change afterwards: threads may share them.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/params/param_value.h"

class IParamBlock2;
class PBAccessor;

// The class in words ("a geometry object"), for refusals.
const char* ClassTestName(ClassTest test);

enum class ControlKind {
    kNone,
    kSpinner,
    kCheckBox,
    kRadio,
    kDropDown,
    kMapButton,
    kPickButton,
    kColorSwatch,
    kSlider,
    kNodeList,
};

struct ParamDef {
    ParamID id = 0;
    std::string name;
    ParamType type = ParamType::kFloat;
    bool list = false;

    bool animatable = false;
    bool readOnly = false;     // refused to scripts; panels grey it
    bool subAnim = false;      // the map is listed as a sub-anim of the owner
    bool noReference = false;  // a plain handle: the node's changes are not heard
    bool transient = false;    // not saved
    bool keepOnReset = false;
    int ownerSlot =
        -1;  // reference slot of the owner that holds the target, -1: the block holds it
    int subTexmap = -1;  // index among the owner's sub-maps, -1: none
    ClassTest only = ClassTest::kAny;
    const PBAccessor* accessor = nullptr;
    // Name of one list element where listings show more than the parameter's own, else null.
    std::string (*elementName)(const IParamBlock2& block, int index) = nullptr;

    ParamValue defaultValue;  // of a list: of each new element
    bool hasRange = false;
    double min = 0, max = 0;

    std::string label;
    std::string meaning;
    ControlKind control = ControlKind::kNone;
    std::string controlText;           // caption where it differs from the label
    double step = 0;                   // of a spinner; 0: by the size of the value
    std::vector<std::string> entries;  // named values 0, 1, ... of radio buttons and lists

    ParamDef(ParamID paramId, std::string paramName, ParamType paramType)
        : id(paramId), name(std::move(paramName)), type(paramType), defaultValue(ZeroValue(type)) {}

    ParamDef& List() { return list = true, *this; }
    ParamDef& Animatable() { return animatable = true, *this; }
    ParamDef& ReadOnly() { return readOnly = true, *this; }
    ParamDef& SubAnim() { return subAnim = true, *this; }
    ParamDef& NoReference() { return noReference = true, *this; }
    ParamDef& Transient() { return transient = true, *this; }
    ParamDef& KeepOnReset() { return keepOnReset = true, *this; }
    ParamDef& OwnerSlot(int slot) { return ownerSlot = slot, *this; }
    ParamDef& SubTexmap(int index) { return subTexmap = index, *this; }
    ParamDef& Only(ClassTest test) { return only = test, *this; }
    ParamDef& Accessor(const PBAccessor* a) { return accessor = a, *this; }
    ParamDef& ElementName(std::string (*f)(const IParamBlock2&, int)) {
        return elementName = f, *this;
    }
    // The value must fit the type: a float for float and world, an int for int, bool and time.
    ParamDef& Default(ParamValue value) { return defaultValue = std::move(value), *this; }
    ParamDef& Range(double low, double high) {
        return hasRange = true, min = low, max = high, *this;
    }
    ParamDef& Label(std::string text) { return label = std::move(text), *this; }
    ParamDef& Meaning(std::string text) { return meaning = std::move(text), *this; }
    ParamDef& Control(ControlKind kind, std::string text = {}) {
        return control = kind, controlText = std::move(text), *this;
    }
    ParamDef& Step(double s) { return step = s, *this; }
    ParamDef& Entries(ControlKind kind, std::vector<std::string> names) {
        return control = kind, entries = std::move(names), *this;
    }
};

// A block's description: its parameters in declaration order, found by id and by internal name.
class ParamBlockDesc2 {
public:
    int id;
    std::string name;
    std::string title;  // of its rollout
    int referenceSlot;  // of the owner
    bool rolloutOpen;
    std::vector<ParamDef> params;

    // Ids and names must be unique (asserted).
    ParamBlockDesc2(int blockId, std::string blockName, std::string rolloutTitle, int slot,
                    bool open, std::vector<ParamDef> defs);

    // Moved, not copied: the lookup by name points into the table.
    ParamBlockDesc2(ParamBlockDesc2&&) = default;
    ParamBlockDesc2(const ParamBlockDesc2&) = delete;
    ParamBlockDesc2& operator=(const ParamBlockDesc2&) = delete;

    // Null when the block has no such parameter.
    const ParamDef* Find(ParamID paramId) const;
    const ParamDef* Find(std::string_view paramName) const;
    // Place in declaration order, -1 when there is none.
    int IndexOf(ParamID paramId) const;

private:
    std::unordered_map<ParamID, int> m_byId;
    std::unordered_map<std::string_view, int> m_byName;
};
