// Script commands about nodes of the scene.
#pragma once

#include <functional>

class INode;
class ScriptSystem;

// The node of a handle; null when there is none.
using NodeOfHandle = std::function<INode*(unsigned handle)>;

// "(maxOps.getnodebyhandle %d).isHidden = %b": hides a node or shows it. An undo step that is open
// takes the change up.
void RegisterNodeScripts(ScriptSystem& scripts, NodeOfHandle find);
