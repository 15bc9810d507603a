// What users do with the items of a scatter object one by one, without a window: the editing mode,
// selecting, moving, turning, scaling, copying, adding and deleting items, their properties, and
// moving items from object to object.
//
// The object's one sub-object level, "Items" (1), opens the items to editing; at the object's own
// level (0), and in generate mode, operations on items do nothing and ask nothing. Questions and
// messages go to the user-interface port. Operations record undo steps while a hold is open;
// those with a name of their own open one. The items count as rebuilt when the object has told its
// dependents: whoever shows the object builds it then. One thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/commands/item_restore.h"
#include "host/math/interval.h"
#include "host/math/matrix3.h"

class INode;
class Scene;
class IUserInterface;

// What the selected items have in common; none where they differ or there are none.
struct TSelectionProperties {
    std::optional<int> entry;  // row of the geometry list
    std::optional<int> element, userId;
    int count = 0;
};

// Which controls of the editing rollout are enabled.
struct TItemControls {
    bool add = false;  // "Add", "Select by type", the selection's entry, "Store Random", spinners
    bool selection = false;  // "Detach Selection", "Randomize", "Reset Size", "Re-Seed"
};

enum class TAddChoice { kModel, kRandom, kSequence };
enum class TGeneralSelection { kAll, kNone, kInvert };

class TItemCommands {
public:
    // node: of the object, in that scene. Needs a current session.
    TItemCommands(Scene& scene, INode& node, TDravin& object)
        : m_scene(scene), m_node(node), m_object(object) {}

    // Seeds random streams anew; the wall clock's seconds unless a test says otherwise.
    std::function<uint32_t()> clock;

    // --- the mode (editing_mode.cpp)
    // Asks, and goes to custom edit (1) or generate (0) mode. False when the user declined; then
    // the mode is as before. The same mode is nothing to ask.
    bool SwitchMode(int mode);
    // Enters or leaves the level "Items". Entering it in generate mode switches the mode first;
    // when the user declines, the level is entered and no item can be edited.
    void SetLevel(int level);
    // Whether items can be edited.
    bool IsEditing() const;

    // --- selection (item_selection.cpp)
    // The items with these numbers, in this order; numbers of no item are left out. invert: each
    // gets the opposite of what it is. all: not only the first.
    void Select(const std::vector<int>& items, bool selected, bool all = true, bool invert = false);
    void Select(TGeneralSelection which);
    // Exactly the items that show this row; none is refused with a message. The shared random
    // stream starts anew, which changes later draws.
    bool SelectByType(std::optional<int> row);
    TItemNumbers Selected() const;
    std::string CountText() const;     // "12 Items in Object"
    std::string SelectedText() const;  // "3 Items selected"
    TItemControls Controls() const;
    TSelectionProperties Properties() const;
    // Gives the selected items what is set, and what they have in common; false when nothing was
    // written. Values below 0 are taken as 0.
    bool SetProperties(std::optional<int> entry, std::optional<int> element,
                       std::optional<int> userId);

    // --- transforms (item_transforms.cpp); axes: from the axis system at work to the world
    // partm: the node's object transform. In its own record once a hold.
    void Move(const Matrix3& partm, const Matrix3& axes, const Point3& by);
    // aboutCenter: items swing about the axis system's origin; else each turns in its place.
    void Rotate(const Matrix3& partm, const Matrix3& axes, const Quat& turn, bool aboutCenter);
    void Scale(const Point3& factors);
    // By number, world space.
    std::vector<std::pair<uint32_t, Point3>> Centers(TimeValue t) const;
    std::vector<std::pair<uint32_t, Matrix3>> Transforms(TimeValue t) const;

    // --- the list (item_commands_list.cpp)
    void Clone();
    void Delete();
    // Enters the mode in which clicks add items.
    void StartAdding();
    // Adds an item at a place in the world; false with a message where the geometry list is empty.
    bool Add(const Point3& worldPoint, TAddChoice choice, std::optional<int> entry = {});
    // A new node with the selected items; null where no item can be edited.
    INode* Detach();
    // Takes the items of other scatter objects over and deletes their nodes. Nodes that do not fit
    // are left alone. How many were taken.
    int Attach(const std::vector<INode*>& nodes);
    bool MayAttach(const INode& node) const;

    // --- operations that ask first (item_changes.cpp); false when declined or not editing
    bool Reseed();
    bool StoreTransforms();
    bool RandomiseGeometry();
    bool ResetSizes();

private:
    bool Confirms(const char* question) const;
    std::optional<int> EntryToAdd(TAddChoice choice, std::optional<int> entry);
    std::vector<float> Probabilities() const;
    int NumRows() const;
    uint32_t Seconds() const;
    void ReseedSharedStream() const;
    TimeValue Time() const;

    Scene& m_scene;
    INode& m_node;
    TDravin& m_object;
};

// Keeps what items show while rows of the geometry list are deleted, added or moved: made before,
// dropped after. Hand-edited items in custom edit mode, deltas of single items in any.
class TKeptGeometry {
public:
    explicit TKeptGeometry(TDravin& object);
    ~TKeptGeometry();
    TKeptGeometry(const TKeptGeometry&) = delete;
    TKeptGeometry& operator=(const TKeptGeometry&) = delete;

private:
    std::vector<int> RowIds() const;

    TDravin& m_object;
    std::vector<int> m_idsBefore;
};

// The node of a scatter object that somebody creates by hand, as `defaultCreationMode` says: 0 a
// click places it; 1 the same, in custom edit mode, for clicks that add items; 2 a drag gives the
// icon's size, and none shorter than 0.0001 makes an object (null). Unless 2, the geometry list
// gets a default row.
struct TCreationSizes {
    float width = 2, height = 3;  // of the objects made last, for the next one
};
INode* CreateDravin(Scene& scene, int creationMode, const Point3& place, float drag);
