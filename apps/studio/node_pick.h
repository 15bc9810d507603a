// A click in a view that chooses a node for somebody.
#pragma once

#include <functional>

#include <QString>

class INode;
class Scene;

struct NodePick {
    QString prompt;  // for the status line
    // Of nodes under the pointer; the scene is free.
    std::function<bool(Scene&, const INode&)> accepts;
    std::function<void(Scene&, INode&)> picked;
    std::function<void()> ended;  // one was picked, or none will be
    bool goesOn = false;          // after a pick, until it is given up
};
