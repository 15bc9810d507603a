// What a panel shows of selected nodes: for each its modifiers, its object with its parts, and the
// node itself, one below the other.
//
// The scene's thread.
#pragma once

#include <vector>

#include "Dravin/panels/panel_values.h"

struct TPanelStack {
    // Whose values these are: of the nodes asked for those that are made up alike. Where one of
    // them shows a scatter object, those that do.
    std::vector<INode*> nodes;
    std::vector<ClassId> classes;        // by place
    std::vector<TPanel::Things> things;  // by place, one a node; what nodes share is there once
};

TPanelStack StackOf(const std::vector<INode*>& nodes);
