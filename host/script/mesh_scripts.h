// Script commands that make meshes of nodes and join them.
#pragma once

#include <functional>
#include <string>

class INode;
class ScriptSystem;

// The node of a name; null when there is none.
using NodeOfName = std::function<INode*(const std::string& name)>;

// Nodes are in scenes; meshes are those of the scene's time. An undo step that is open takes the
// changes up.
//   convertToMesh $'a'       the node shows a mesh of its own: what it showed before, modifiers and
//                            animation included as they are now
//   meshop.attach $'a' $'b' attachMat:#IDToMat condenseMat:true deleteSourceNode:true
//                            the mesh of b goes into that of a, where it stands; materials are
//                            joined, each once, and ids follow; b goes
//   $'a'.pivot = [$'a'.center.x,$'a'.center.y,$'a'.min.z]
//                            the node's place comes to the middle of its base, what it shows and
//                            its children stay
void RegisterMeshScripts(ScriptSystem& scripts, NodeOfName find);
