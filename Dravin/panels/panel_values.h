// What controls show of scatter objects, and how they change them.
//
// A panel shows one object or several alike: a value in which they differ is mixed, and setting it
// sets it for all. Values go through the same door as `param.set` (host/params/param_assign.h);
// each change is one undo step. One thread, the scene's, where its session is current.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/panels/number_entry.h"
#include "Dravin/panels/rollouts.h"
#include "host/math/color.h"

class INode;
class Scene;

struct TControlValue {
    bool isEnabled = true;
    bool isMixed = false;    // the objects differ
    bool isKeyed = false;    // it has keys
    bool isDefault = false;  // of all objects
    double number = 0;       // of numbers, truth values (0, 1) and named entries
    Color color;
    std::string text;                // of texts; the name of a node, map or material
    std::vector<std::string> names;  // of lists of nodes
};

// Outcome of a change: an error says why nothing has changed.
struct TPanelResult {
    std::string error;
    std::vector<std::string> warnings;
    explicit operator bool() const { return error.empty(); }
};

class TPanel {
public:
    // The objects must live as long as the panel; an empty panel shows nothing.
    TPanel(Scene& scene, std::vector<TDravin*> objects);

    bool IsEmpty() const { return m_objects.empty(); }
    const std::vector<TDravin*>& Objects() const { return m_objects; }
    Scene& GetScene() const { return *m_scene; }

    // Whether the node shows one of the objects.
    bool Holds(const INode& node) const;

    TControlValue Read(TParamKey key) const;
    bool IsShown(const TPanelGroup& group) const;
    // How the control's numbers are entered; frames for times.
    TNumberForm FormOf(TParamKey key) const;
    double StepOf(TParamKey key, double shown) const;

    // A number entry for all objects, clamped to the range.
    TPanelResult Enter(TParamKey key, const std::string& text);
    // A number as the control shows it, clamped to the range.
    TPanelResult SetNumber(TParamKey key, double shown);
    TPanelResult SetBool(TParamKey key, bool on);
    // One of the parameter's named entries, also beyond the range.
    TPanelResult SetEntry(TParamKey key, int entry);
    TPanelResult SetColor(TParamKey key, const Color& color);
    TPanelResult SetText(TParamKey key, const std::string& text);
    // By name; empty: none. Lists of nodes: see panel_list.h.
    TPanelResult SetReference(TParamKey key, const std::string& name);
    TPanelResult Reset(TParamKey key);
    // Sets a key of the present value at the scene's time.
    TPanelResult SetKey(TParamKey key);

    // What may stand there: names of nodes that pass the parameter's class test, of maps or of
    // materials.
    std::vector<std::string> Candidates(TParamKey key) const;

    // For gestures: sets the number of one object, with what follows from it, as part of whatever
    // step is open.
    TPanelResult Assign(TDravin& object, TParamKey key, double shown) const;
    // What Assign may change of an object.
    static std::vector<TParamKey> ChangedWith(TParamKey key);
    double ShownNumberOf(const TDravin& object, TParamKey key) const;
    std::string StepName(TParamKey key) const;

private:
    friend class TPanelRows;
    template <class Change>
    TPanelResult ForAll(const std::string& name, const Change& change) const;
    TPanelResult SetInput(TParamKey key, const struct ParamInput& input) const;
    double UnitOf(const ParamDef& def) const;
    TimeValue Time() const;

    Scene* m_scene;
    std::vector<TDravin*> m_objects;
};
