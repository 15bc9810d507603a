// Rollouts as data: which parameters, lists and buttons stand where.
//
// The parameter tables (Dravin/params, host/scene/class_values.h, blocks of other classes) say
// everything about a parameter: label, control, range, step, entries, help. A rollout orders
// parameters into groups and names the commands of its buttons. Those of the scatter object stand
// in rollouts.cpp, those of other classes in class_rollouts.cpp. Tables of constants; any thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Dravin/params/dravin_params.h"

class TDravin;

// A parameter of anything that has tables of values.
struct TParamKey {
    const ParamBlockDesc2* table = nullptr;
    ParamID id = -1;

    TParamKey() = default;
    TParamKey(const ParamBlockDesc2& desc, ParamID paramId) : table(&desc), id(paramId) {}
    // Of the scatter object.
    TParamKey(DravinBlockId block, ParamID paramId) : TParamKey(DravinBlocks()[block], paramId) {}
    // From a constant of dravin_params.h.
    template <class Id, class = std::enable_if_t<std::is_enum_v<Id>>>
    TParamKey(Id paramId) : TParamKey(DravinBlockOf(paramId), paramId) {}

    const ParamDef& Def() const { return *table->Find(id); }
    friend bool operator==(const TParamKey&, const TParamKey&) = default;
    friend auto operator<=>(const TParamKey&, const TParamKey&) = default;
};

// What a control is labelled with: its own caption, else the parameter's label.
const std::string& CaptionOf(const ParamDef& def);
// Name, what it does, range, default and the name for scripts, as plain text.
std::string HelpOf(const ParamDef& def);

// A column of a list whose rows are stored in parallel lists of a block.
struct TListColumn {
    TParamKey key;
    std::string title;
    std::vector<std::string> entries = {};  // named values 0, 1, ...; empty: the values themselves
    bool isEditable = true;
};

// A button: a command of the command table, with arguments as the command line reads them. Those
// that it takes beside them and the list's selected row are asked for in a form.
struct TPanelButton {
    std::string label, command;
    std::string rowArgument = {};  // of the command that takes the selected row; empty: none
    bool isRowList = false;        // that argument takes a list of rows
    bool asks = true;              // false: what is not given keeps its default
    std::string tip = {};          // empty: what the command does
};

struct TPanelList {
    std::string name;
    std::vector<TListColumn> columns;
    std::vector<TPanelButton> buttons;
};

// A line that nobody changes; the value stands behind it where there is one.
struct TPanelText {
    std::string text, value = {};
};

struct TPanelGroup {
    std::string title;  // empty: none
    std::vector<TParamKey> params = {};
    const TPanelList* list = nullptr;
    std::vector<TPanelButton> buttons = {};  // without a command: does nothing
    int onlyInMode = -1;                     // shown for this `distmode` only; -1: always
    std::vector<TPanelText> texts = {};
};

struct TRollout {
    std::string title;
    const ParamBlockDesc2* table = nullptr;  // whose values it shows; null: of several, or none
    bool startsOpen = true;
    std::vector<TPanelGroup> groups = {};
};

// The thirteen, from top to bottom.
std::span<const TRollout> DravinRollouts();

// --- rules (enable_rules.cpp)

// Whether the control of this parameter answers, as the thing is at time t.
bool IsParamEnabled(const ReferenceTarget& thing, TParamKey key, TimeValue t);
// Whether the list of areas with its buttons answers; else why not.
bool AreAreasEnabled(const TDravin& object, TimeValue t, std::string* why);
bool IsGroupShown(const ReferenceTarget& thing, const TPanelGroup& group, TimeValue t);
