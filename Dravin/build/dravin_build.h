// The build of a scatter object: from its parameters and the scene to items, status and statistics.
//
// BuildMesh is the one way in, for viewports, renders, exports and scripts; they differ in its
// flags only. A build never runs twice at once for one object: nested calls, and those of other
// threads meanwhile, return without work. Results stay until the next build.
//
// A build never throws. What its parts throw (memory that is not there, a map that fails) ends it
// with an empty result, a status and a text: kTooManyItems where memory ran out, else kNoItems.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "Dravin/build/area_cache.h"
#include "Dravin/build/statistics_panel.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/build_progress.h"
#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item_list.h"
#include "Dravin/geometry/specimen_list.h"
#include "Dravin/mesh/object_mesh.h"
#include "host/math/interval.h"
#include "host/scene/scene.h"

class IInstanceSource;
class TDensityMap;
class TDravin;
class TInputMaker;
class TParameters;
struct TItemId;
struct TProbedItem;

// How much of the last build a change makes out of date.
enum class TRemake {
    kNothing,
    kShown,  // meshes and materials
    kTints,  // and the items' tints
    kItems,  // all
};

struct TBuildFlags {
    bool noMesh = false;  // distribution only
    bool render = false;  // render settings and limits
    bool skipMesh = false;
    // The object mesh as a file holds it: full meshes unless proxy shapes are asked for, and none
    // left to a renderer.
    bool fileMesh = false;
    // Whatever the current renderer says of itself: items go to it as instances.
    bool forceInstances = false;
    bool viewportOnly = false;
    bool effectsOff = false;
    bool noLimit = false;        // all items, whatever the display limits say
    bool unprotected = false;    // whatever 'Max. Density' and the free memory say, too
    bool noCameraLimit = false;  // items outside the camera's view, too
    bool collisions = false;     // as a render, whatever the preview setting
    // Hand-edited items that are not selected stay as the last build left them. Works only right
    // after a build of the same items under the same settings; otherwise all are made anew.
    bool selectedOnly = false;
    // Of a build for the view: items that the last one made stay where only what is shown of them
    // has changed since.
    bool keepItems = false;
    int forceThreads = 0;  // 0: as the parameters say
    // Items of a build for the view, where the parameters allow more: a first answer, which is not
    // the view's. 0: as they say.
    int displayLimit = 0;
    TBuildPart part;  // one of several, whose overlaps are left to who joins them
};

class TDravinBuild {
public:
    explicit TDravinBuild(TDravin& object);
    ~TDravinBuild();

    // consumer: takes the items piece by piece where nothing looks at them all together
    // afterwards; then the list stays empty, and HasStreamed.
    void BuildMesh(TimeValue time, const TBuildFlags& flags,
                   const TItemConsumer* consumer = nullptr);

    const TDravin& GetObject() const { return m_object; }
    TBuildStatus Status() const { return m_panel.status; }
    TPanelMessage Message() const { return PanelMessage(m_panel, m_statistics); }
    // Why the last build broke off; empty when it ended by itself.
    const std::string& Failure() const { return m_failure; }
    bool RanOutOfMemory() const { return m_outOfMemory; }
    // Which limit refused an input of the last build, or its items for want of memory, and what
    // raises it; empty when none did.
    const std::string& Refusal() const { return m_refusal; }
    // What the panel shows in place of the message: the same, but numbers of the caches when the
    // object's seed is 9999.
    TPanelMessage PanelLines() const;
    std::vector<TPanelLine> Panel() const { return StatisticsPanel(m_panel, m_statistics); }
    const TBuildStatistics& Statistics() const { return m_statistics; }
    const Interval& Validity() const { return m_validity; }
    TimeValue Time() const { return m_time; }
    bool IsRender() const { return m_flags.render; }
    // How the last build was asked for.
    const TBuildFlags& Flags() const { return m_flags; }
    int BuildCounter() const { return m_buildCounter; }
    // Number of the last build, renders and failures included, among those of all objects.
    uint64_t BuildNumber() const { return m_buildNumber; }
    // Of the running build; any thread may ask.
    const TBuildProgress& Progress() const { return m_progress; }
    // Ends the running build soon, with kCancelled; none is running: nothing. Any thread.
    void Cancel() { m_progress.Cancel(); }

    // Whether the last build's items went to its consumer. What they were is void when the build
    // did not succeed.
    bool HasStreamed() const { return m_streamed; }
    // Whether items of the last build's part may overlap those of others, or their own.
    bool LeavesOverlaps() const;
    const TDravinItemList& Items() const { return m_items; }
    TDravinItemList& Items() { return m_items; }
    const TSpecBuildList& Specimens() const { return m_specimens; }
    // The input of the last build; null before the first.
    const TBuildInput* Input() const { return m_input.get(); }

    // Effects that did not compile in the last build; where effects are off or left to renders,
    // none is compiled (FindEffectErrors asks for them without a build).
    std::span<const TEffectError> EffectErrors() const { return m_effectErrors; }

    // The items as one mesh, in object space; not built where the flags leave it out.
    const TObjectMesh& ObjectMesh() const { return m_mesh; }
    TObjectMesh& ObjectMesh() { return m_mesh; }
    // From object space to the world, in the last build.
    const Matrix3& ObjectTM() const { return m_objectTM; }

    // The items as render instances in world space; reads this build while it stands.
    std::unique_ptr<IInstanceSource> MakeInstanceSource() const;
    // Whether renderers take the object mesh at time t: where the object asks for meshes
    // (`rendermode`), shows proxy shapes, or has shadow planes for billboards. Builds for renderers
    // that instance templates too need no mesh otherwise.
    bool RendersMesh(TimeValue t) const;

    // An item of the last build as it comes to one of its effect programs, from 0; behind the last
    // one: to none. The items are made once more until it is met, whatever the list holds since.
    // None: no such item came there.
    std::optional<TProbedItem> ProbeItem(const TItemId& id, size_t program);

    // Geometry of the areas, kept for the next build.
    TAreaCache& Areas() { return m_areas; }

    // The object is about to be deleted: no further build starts.
    void SetDeleting() { m_deleting = true; }
    // Surface meshes are read again by the next build.
    void SetSurfacesChanged() { m_rereadSurfaces = true; }
    void SetValidity(const Interval& validity) { m_validity = validity; }
    // The result holds no more. Notes how much of it has changed.
    void Invalidate(TRemake what) {
        NoteChange(what);
        m_validity = Interval::Never();
    }
    // Something has changed that does not end the result; the next build sees it.
    void NoteChange(TRemake what) { m_remake = std::max(m_remake, what); }
    // The view of the last render stands in for a camera no more.
    void ForgetView() { m_view.reset(); }
    // Whether the last build was one for the view, without conditions of its own.
    bool IsForView() const;
    // As before any build failed: a render begins, and tells its own failures.
    void ResetStatus() { m_panel.status = TBuildStatus::kSuccess; }

private:
    void BuildAtOnce();
    void MakeAll();
    bool CanKeepItems() const;
    void MakeShownAgain();
    void KeepForSelection();
    void Run(const TParameters& parameters);
    bool ShowsProxies() const;
    TBuildStatus BuildSpecimens(const TParameters& parameters);
    TDensityMap LoadMap(const TParameters& parameters, const TInputMaker& maker);
    void BreakOff(TBuildStatus status, const char* why);
    TObjectMeshSettings MeshSettings(const TParameters& parameters, int threads) const;
    void MakeMaterial(const TParameters& parameters);
    void MakeMesh(const TObjectMeshSettings& settings);
    void FinishStatus();
    void TellMissingItems() const;
    void NarrowToReferences();
    void NarrowToSources(const TParameters& parameters);
    void RememberView();

    TDravin& m_object;
    TBuildProgress m_progress;
    bool m_deleting = false;
    bool m_rereadSurfaces = false;
    int m_buildCounter = 0;
    uint64_t m_buildNumber = 0;
    TAreaCache m_areas;
    std::optional<ViewState> m_view;  // of the last render; stands in for a camera
    TimeValue m_time = 0;
    TBuildFlags m_flags;
    Interval m_validity;
    Interval m_itemsValidity;  // of the items, whatever is shown of them
    TRemake m_remake = TRemake::kItems;
    bool m_lastForView = false, m_lastShowedProxies = false;  // of the build that made the items
    TPanelState m_panel;
    TBuildStatistics m_statistics;
    std::vector<TEffectError> m_effectErrors;
    std::string m_failure, m_refusal;
    bool m_outOfMemory = false, m_streamed = false;
    const TItemConsumer* m_consumer = nullptr;  // while a build runs
    Matrix3 m_objectTM;                         // in the last build
    std::unique_ptr<TBuildInput> m_input;
    TSpecBuildList m_specimens;
    TDravinItemList m_items{0u};
    TObjectMesh m_mesh;
    TDravinItemList m_lastItems{0u};  // of the build before, while only selected items are made
};
