// Items of scatter objects as objects of their own in the scene.
//
// Every item whose geometry is a custom object becomes a node that shows this object where the item
// stands; items of templates stay items. The scatter object remembers the nodes, so that a later
// run, or DeleteInstances, can take them away. A run is one undo step; one that is cancelled or
// refused leaves the scene as it was. Needs a current HostContext with its scene; progress goes to
// the user-interface port. One thread, the scene's.
#pragma once

#include <functional>
#include <string>

class INode;
class TDravin;
class TDtools;

enum class [[nodiscard]] TInstantiateStatus : int{
    kDone = 0,
    kNoCustomObjects = 1,  // the geometry list has none
    kRefused = 2,          // the old instances are to stay
    kBuildFailed = 3,
    kCancelled = 4,
};

struct TInstantiateResult {
    TInstantiateStatus status = TInstantiateStatus::kDone;
    std::string text;  // why it is not done
    size_t numCreated = 0, numDeleted = 0;
};

inline constexpr const char* kNoCustomObjectsText =
    "There are not Custom Objects defined in the Geometry List";
inline constexpr const char* kDeleteInstancesQuestion =
    "All instances created previously from this Dravin object will be deleted.\n"
    "Are you sure ? (no undo)";

// node: the object's, in the current scene. agrees: asked before old instances go.
TInstantiateResult Instantiate(TDravin& object, INode& node, const TDtools& tools,
                               const std::function<bool()>& agrees);
// The number of nodes that are gone.
size_t DeleteInstances(TDravin& object, INode& node);

// Disabled rows with an object show it again; the number of those that changed.
int EnableGeometry(TDravin& object);
// Rows with a custom object show nothing from now on.
int DisableGeometry(TDravin& object);
