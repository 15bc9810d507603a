// Choosing nodes of the scene for parameters that hold one, or a list of them.
//
// Texts count nodes by a name of their own: "1 Surface", "2 Surfaces". Each change is one undo
// step, for all things that the panel shows. One thread, the scene's, where its session is current.
#pragma once

#include <string>

#include "Dravin/panels/panel_values.h"

// What users call the nodes of a parameter: "Surface" and "Surfaces".
struct TPickNames {
    std::string one, many;
};
TPickNames PickNamesOf(TParamKey key);
// "1 Surface": of the panel's first thing; places without a node do not count.
std::string PickedText(const TPanel& panel, TParamKey key);

// Whether the node may be picked: of the parameter's kind, none of the things themselves, and not
// in the list already.
bool MayPick(const TPanel& panel, TParamKey key, const INode& node);
// Puts the node there, or at the end of the list, "Surface Added". Nothing where it is there
// already; an error where it is of another kind.
TPanelResult PickNode(TPanel& panel, TParamKey key, INode& node);
TPanelResult RemovePicked(TPanel& panel, TParamKey key, const std::string& name);
// Empties the list, "Surfaces Cleared".
TPanelResult ClearPicked(TPanel& panel, TParamKey key);

// The nodes that the list may hold, for a question "Select Surfaces by Name", and those in it.
struct TPickQuestion {
    std::string title;
    std::vector<std::string> names, ticked;
};
TPickQuestion PickQuestionOf(const TPanel& panel, TParamKey key);
// The list holds these nodes then, in this order, "Surface Added".
TPanelResult PickByName(TPanel& panel, TParamKey key, const std::vector<std::string>& names);
