// Where a scatter object stands between the beginning and the end of a render.
//
// It is in one of three states: not rendering; rendering through its mesh; rendering through render
// nodes, between Begin and End. A render that never ends leaves the object in its state until the
// next one begins. One thread.
#pragma once

#include <memory>

#include "Dravin/build/dravin_build.h"
#include "Dravin/render/node_generator.h"
#include "host/params/class_id.h"

class IUInterface;
class ITreesInterface;
class TDravin;
class TObjectRegistry;

class TRenderState {
public:
    // The object enters the session's list of objects, and leaves it with this.
    explicit TRenderState(TDravin& object);
    ~TRenderState();
    TRenderState(const TRenderState&) = delete;
    TRenderState& operator=(const TRenderState&) = delete;

    ITreesInterface& Trees() { return *m_trees; }
    IUInterface& Ui() { return *m_ui; }

    // A renderer of nodes begins: selects the generator of the records that it reads, and builds.
    void Begin(TimeValue t);
    // It ends. Renderers that go on by themselves keep nodes and state.
    void End(TimeValue t);

    // A render of whatever kind begins: marks it, and builds with render settings.
    void BuildForRender(TimeValue t);
    // It ends, whatever renderer it is: views show the object by their own settings again.
    void Finish(TimeValue t);

    bool IsRendering() const;
    bool IsInteractive() const { return m_isInteractive; }
    // The last build was a render's that has ended: nothing for views.
    bool IsLeftBehind() const { return m_leftBuild && m_leftBuild == BuildNumber(); }
    // Since the session's render began.
    bool wasRendered = false;

    // Null without Begin, and after End.
    TDravinBaseNodeGenerator* Generator() { return m_generator; }

private:
    uint64_t BuildNumber() const;
    bool ShowsBefore(TimeValue t, const TBuildFlags& flags) const;

    TDravin& m_object;
    std::shared_ptr<TObjectRegistry> m_registry;
    std::unique_ptr<ITreesInterface> m_trees;
    std::unique_ptr<IUInterface> m_ui;
    TDravinRenderNodeGenerator<TDravinInstanceV1> m_nodesV1;
    TDravinRenderNodeGenerator<TDravinInstanceV512> m_nodesV512;
    TDravinBaseNodeGenerator* m_generator = nullptr;
    bool m_isInteractive = false;
    uint64_t m_leftBuild = 0;
};

// Renderers that objects treat in their own ways.
inline constexpr ClassId kMentalRayId{0x58f67d6c, 0x4fcf3bc3};
inline constexpr ClassId kIrayId{0x3e7d7eba, 0x14c036ab};
inline constexpr ClassId kCoronaId{0x62a85dcc, 0x523c3604};

// The time that the host shows: of the object's scene, else of the session's.
TimeValue HostTimeOf(const TDravin& object);
