// What controls show of things with tables of values, and how they change them.
//
// Things are scatter objects, other objects, nodes, modifiers, materials, maps
// (host/scene/class_values.h). A panel shows one or several alike: a value in which they differ is
// mixed, and setting it sets it for all. Values go through the same door as `param.set`
// (host/params/param_assign.h); each change is one undo step. One thread, the scene's, where its
// session is current.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/panels/number_entry.h"
#include "Dravin/panels/rollouts.h"
#include "host/math/color.h"
#include "host/scene/class_values.h"

class INode;
class Scene;

struct TControlValue {
    bool isEnabled = true;
    bool isMixed = false;    // the things differ
    bool isKeyed = false;    // it has keys
    bool isDefault = false;  // of all things
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
    using Things = std::vector<ReferenceTarget*>;

    // The things must live as long as the panel, and all have the tables of the parameters that are
    // asked for; an empty panel shows nothing.
    TPanel(Scene& scene, Things things) : m_scene(&scene), m_things(std::move(things)) {}

    bool IsEmpty() const { return m_things.empty(); }
    const Things& All() const { return m_things; }
    // The first thing as a scatter object; null when it is none.
    TDravin* Scatter() const;
    Scene& GetScene() const { return *m_scene; }

    // Whether the node is one of the things, or shows one.
    bool Holds(const INode& node) const;

    TControlValue Read(TParamKey key) const;
    bool IsShown(const TPanelGroup& group) const;
    // How the control's numbers are entered; frames for times.
    TNumberForm FormOf(TParamKey key) const;
    double StepOf(TParamKey key, double shown) const;

    // A number entry for all things, clamped to the range.
    TPanelResult Enter(TParamKey key, const std::string& text);
    // A number as the control shows it, clamped to the range.
    TPanelResult SetNumber(TParamKey key, double shown);
    TPanelResult SetBool(TParamKey key, bool on);
    // One of the parameter's named entries, also beyond the range.
    TPanelResult SetEntry(TParamKey key, int entry);
    TPanelResult SetColor(TParamKey key, const Color& color);
    TPanelResult SetText(TParamKey key, const std::string& text);
    // By name; empty: none. Lists of nodes: see node_picks.h.
    TPanelResult SetReference(TParamKey key, const std::string& name);
    // A map or material that has just been made, a node.
    TPanelResult SetTarget(TParamKey key, std::shared_ptr<ReferenceTarget> target);
    TPanelResult Reset(TParamKey key);
    // Sets a key of the present value at the scene's time.
    TPanelResult SetKey(TParamKey key);

    // What may stand there: names of nodes that pass the parameter's class test, of maps or of
    // materials.
    std::vector<std::string> Candidates(TParamKey key) const;

    // The values of one thing that the parameter is among.
    static ValueTable TableOf(ReferenceTarget& thing, TParamKey key) {
        return ValueTableOf(thing, *key.table).value();
    }
    // For gestures: sets the number of one thing, with what follows from it, as part of whatever
    // step is open.
    TPanelResult Assign(ReferenceTarget& thing, TParamKey key, double shown) const;
    // What Assign may change of a thing.
    static std::vector<TParamKey> ChangedWith(TParamKey key);
    double ShownNumberOf(ReferenceTarget& thing, TParamKey key) const;
    std::string StepName(TParamKey key) const;

private:
    friend class TPanelRows;
    template <class Change>
    TPanelResult ForAll(const std::string& name, const Change& change) const;
    TPanelResult SetInput(TParamKey key, const struct ParamInput& input) const;
    double UnitOf(const ParamDef& def) const;
    TimeValue Time() const;

    Scene* m_scene;
    Things m_things;
};
