// Nodes joined into one mesh, by script commands of the host.
#pragma once

#include <span>
#include <string>

class INode;

// Makes the first node whose object is of the geometry kind a mesh and joins the other such nodes
// to it; they go. Materials are joined by material id, each once; the pivot comes to the middle of
// the joined mesh in X and Y, and to its lowest place in Z. The node that remains, renamed; null,
// with the reason in `error`, where no node is of that kind or a script fails. All of one scene.
// Records go into the undo step that is open; without one nothing is recorded.
INode* AttachNodesScript(std::span<INode* const> nodes, const std::string& newName,
                         std::string* error);
