// The scatter object: parameters, curves and hand-edited items that fill a scene with instances.
//
// The object holds its thirteen parameter blocks and its curve sets in numbered reference slots
// (dravin_params.h). Parameters are reached by block and id, or by internal name. One thread
// changes an object.
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Dravin/curves/curve_set.h"
#include "Dravin/engine/item_deltas.h"
#include "Dravin/engine/stored_items.h"
#include "Dravin/params/dravin_params.h"
#include "Dravin/params/param_accessors.h"
#include "host/base/signal.h"
#include "host/math/matrix3.h"
#include "host/params/param_block.h"
#include "host/scene/function_publishing.h"
#include "host/scene/object.h"

// The falloff curves that scene descriptions name, and where they are kept.
struct DravinCurveName {
    const char* name;
    DravinSlot slot;
    int index;  // of the curve in its set
    const char* title;
};
std::span<const DravinCurveName> DravinCurveNames();

// What files hold of an object beside its parameters, curves and items.
struct TFileState {
    static constexpr int kVersion = 600;

    int version = kVersion;        // of the file that it came from
    int originVersion = kVersion;  // that it was made with
    int displayState = 0, secondDisplayState = 0;
    std::string identifier;                           // eight hexadecimal digits
    std::vector<std::pair<int32_t, int32_t>> groups;  // group boxes of its panel: id, collapsed
    std::vector<std::pair<uint16_t, std::string>> unknown;  // chunks that nobody knows
};

class TDravinBuild;
enum class TRemake;
struct TReaction;

// How far an object follows the scene by itself.
struct TUpdateState {
    bool isRendering = false;  // a render has begun and not ended
    bool renderLock = false;   // outside a render: its end changes nothing
    bool updateOnce = false;   // frozen, and to be built once more all the same
};
class TRenderState;

class TDravin : public Object, public IDravinParamOwner, public IPublisher {
public:
    // All parameters have their defaults, all curve sets their default curves.
    static std::shared_ptr<TDravin> Create();
    TDravin();  // use Create
    ~TDravin() override;

    IParamBlock2& Block(DravinBlockId id) { return *m_blocks[size_t(id)].Get(); }
    const IParamBlock2& Block(DravinBlockId id) const { return *m_blocks[size_t(id)].Get(); }

    // The parameter with this internal name; all null when there is none.
    struct Param {
        IParamBlock2* block = nullptr;
        const ParamDef* def = nullptr;
        explicit operator bool() const { return def != nullptr; }
    };
    Param FindParam(std::string_view name);
    // The block of the object that `target` is, -1 when it is none.
    int BlockIdOf(const ReferenceTarget* target) const;

    // Curve set of a slot, null when there is none.
    TCurveSet* CurveSet(DravinSlot slot) const;
    // Evaluator of one curve, none when the set or the curve does not exist.
    std::optional<FalloffCurve> Curve(DravinSlot slot, int index) const;

    // Hand-edited items; they count only while `mode` is 1.
    const std::vector<TStoredItem>& StoredItems() const { return m_storedItems; }
    // Replaces them; tells, and can be undone.
    void SetStoredItems(std::vector<TStoredItem> items);
    // A copy of the object starts with a fresh one.
    TFileState fileState;
    // For who changes some of many items and records what changed (Dravin/commands/item_restore.h):
    // TellItemsChanged follows.
    std::vector<TStoredItem>& ChangeableItems() { return m_storedItems; }
    // The last build is out of date, and dependents hear of it.
    void TellItemsChanged();
    // What clicks add next when they go through the geometry list row by row.
    int addSequence = 0;
    // The level of items has been entered, and the user has declined custom edit mode.
    bool levelDeclined = false;
    // The record of the open hold that keeps what edits of items change; null: none.
    RestoreObj* heldItems = nullptr;

    // Changes of single generated items, each id once; they count only while `mode` is 0.
    const std::vector<TItemDelta>& Deltas() const { return m_deltas; }
    // Replaces them; tells, and can be undone by a record of what differs. Of several of one id the
    // last counts.
    void SetDeltas(std::vector<TItemDelta> deltas);
    // Adds the change, or puts it in the place of that of the same item.
    void SetDelta(const TItemDelta& delta);

    // The next build that lays a grid over the ground chooses the size of the distribution map,
    // once: `units_x` and `units_y` then fit what the object stands on. For objects that somebody
    // creates by hand; those from descriptions, presets and libraries keep the size that they come
    // with.
    bool chooseMapSize = false;
    // Items are being edited one by one: builds for the view then clip none of them to the camera.
    bool editingItems = false;

    // The object's build: items, status and statistics of the last one.
    TDravinBuild& Build() { return *m_build; }
    // Whether some build of it runs. A build holds the flag from its beginning to its end.
    bool IsBuilding() const { return m_building; }
    std::atomic<bool>& Building() { return m_building; }
    const TDravinBuild& Build() const { return *m_build; }

    // --- when it is built (build/evaluation.cpp)
    TUpdateState updateState;
    // The view keeps what was built last, whatever changes: `manualupdate` or the freezing of all
    // objects is on, there are items, and no render runs.
    bool IsFrozen(TimeValue t) const;
    // Builds for the view at the scene's time, whatever has changed. notify: dependents hear of it.
    void RebuildNow(bool notify);
    // What an evaluation at time t would build.
    bool NeedsBuild(TimeValue t) const;
    // The last build holds no more: the next evaluation makes that much of it anew.
    void Invalidate(TRemake what);
    // The next build reads areas, surfaces and effects again.
    void ClearCaches();
    // A render is over: views are built again with their own settings, frozen objects once. Nothing
    // outside a render while the render lock is set.
    void RenderEnd(TimeValue t);

    // What it is for renderers: its interface for them, and the render that goes on.
    TRenderState& Render() { return *m_render; }
    const TRenderState& Render() const { return *m_render; }
    // "trees" and "ui".
    FPInterface* GetInterface(InterfaceId id) override;
    // The largest row id handed out so far.
    int specIdCounter = 0;

    // For who draws panels, and for who asks the user before the editing mode changes: whoever
    // answers settles it; without an answer the object does as SwitchMode says.
    struct ModeSwitch {
        int newMode;
        TimeValue time;
        std::optional<bool> answer;  // whether it has been switched, or shall stay
    };
    Signal<PanelUpdate> panelUpdate;
    Signal<ModeSwitch&> modeSwitch;

    // After values came from a file: nulls and repeats leave the path and particle node lists.
    void CleanNodeLists();

    // IDravinParamOwner
    void UpdatePanel(PanelUpdate what) override;
    // Without anybody to ask, items are frozen on the way to custom edit mode, all of them whatever
    // the camera shows, and dropped on the way back.
    bool SwitchMode(int newMode, TimeValue t) override;

    // ReferenceMaker
    // What a change makes of the last build is a table of its own (build/invalidation.h); another
    // list of surfaces also lets go of the arrays that no object of the scene uses any more.
    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;
    int NumRefs() const override { return kNumDravinSlots; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    // Slots that hold blocks take blocks of the same description only; others are ignored.
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;
    // Curve slots get a set of default curves, others nothing; blocks stay.
    void ResetReference(int slot) override;

    // Object
    // Builds for the view, or for the render that runs, what is out of date at time t.
    std::shared_ptr<Object> Evaluated(TimeValue t, Interval* valid) override;
    // How long the mesh for others holds, else the items of the last build; for ever while it is
    // frozen; without any, or after a change, the moment.
    Interval ObjectValidity(TimeValue t) const override;
    // As others see it that use it as a source, a surface or an area: all its items as a render
    // shows them, none left to a renderer. The mesh is made when it is asked for and kept as long
    // as it holds; the object's own build stays as it is. Null without items, and while the object
    // is being built.
    std::shared_ptr<const Mesh> GetRenderMesh(TimeValue t) override;
    bool IsGeomObject() const override { return true; }
    static constexpr ClassInfo kClass{
        {0x79fe41c2, 0x1d7b4fb1}, SuperClass::kGeomObject, "Dravin Pro"};
    ClassInfo Class() const override { return kClass; }
    int NumSubs() const override { return kNumDravinSlots; }
    ReferenceTarget* SubAnim(int i) const override { return GetReference(i).get(); }
    std::string SubAnimName(int i) const override;
    // Parameters, curves and deltas; edited items and the last build stay behind.
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    void CreateCurveSets();
    void BuildForView(TimeValue t, bool keepItems);
    void React(const TReaction& reaction);

    std::vector<TStoredItem> m_storedItems;
    std::vector<TItemDelta> m_deltas;
    // By block id, and by slot for everything that is no block.
    std::deque<Reference<IParamBlock2>> m_blocks;
    std::deque<Reference<ReferenceTarget>> m_slots;
    std::unique_ptr<TDravinBuild> m_build;
    std::unique_ptr<TRenderState> m_render;
    std::atomic<bool> m_building{false};
    std::shared_ptr<const Mesh> m_mesh;  // for others, where it was asked for
    Interval m_meshValidity = Interval::Never();
};
