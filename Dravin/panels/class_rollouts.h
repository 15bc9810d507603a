// Rollouts of what has parameters beside the scatter object: shadow types and modifiers, as data.
//
// As with those of the scatter object (rollouts.h), the tables of the parameters say everything
// about a parameter; a rollout orders them and adds texts and buttons. Tables of constants; any
// thread.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Dravin/panels/rollouts.h"
#include "host/params/param_desc.h"

// A line that nobody changes; the value stands behind it where there is one.
struct TPanelText {
    std::string text, value = {};
};

struct TClassGroup {
    std::string title;  // empty: none
    std::vector<TPanelText> texts = {};
    std::vector<ParamID> params = {};
    std::vector<TPanelButton> buttons = {};  // without a command: does nothing
};

struct TClassRollout {
    std::string title;
    std::vector<TClassGroup> groups;
};

struct TClassPanel {
    ClassInfo of;
    const ParamBlockDesc2* block = nullptr;  // of all the parameters that they name
    std::vector<TClassRollout> rollouts;     // from top to bottom
};

std::span<const TClassPanel> ClassPanels();
// Null: entities of that class have none.
const TClassPanel* FindClassPanel(ClassId id);
