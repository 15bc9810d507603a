// The specimens of a build: every row of the geometry list with its sources, samples and sizes.
//
// Rebuilt before every build; one specimen a row, then the fallback specimen, which stands for the
// proxy shape. The engine sees the plain part of it (Dravin/engine/specimen.h); sources, samples
// and materials stay here for whoever shows the items.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Dravin/engine/build_status.h"
#include "Dravin/engine/item.h"
#include "Dravin/engine/specimen.h"
#include "Dravin/geometry/mesh_cache.h"
#include "Dravin/geometry/template_list.h"
#include "Dravin/geometry/tree_spec_list.h"

// Which materials of the object's automatic one the faces of a source show.
struct TConsolidatedIds {
    static constexpr int kKeptId = 999;  // an id of its own in longer materials, see below

    int base = 0;          // place of its first material among those of all sources
    int count = 1;         // of its own materials
    std::vector<int> map;  // by own material: its id in the object's; empty: the ids as they are
    bool usesMap = true;
    bool keepsLast = false;  // faces of id 999 keep it
    bool makesRoom = false;  // some source's do: other materials stand before or behind that id

    static int WithRoom(int place) { return place >= kKeptId ? place + 1 : place; }
    // Id in the object's material of a source's face, whose ids wrap around at `count`.
    int OfFace(int id) const {
        return keepsLast && id == kKeptId ? kKeptId : OfMaterial(id % count);
    }
    // Of the source's own material m.
    int OfMaterial(int m, bool ignoreMap = false) const {
        if (!usesMap || ignoreMap) return makesRoom ? WithRoom(base + m) : base + m;
        return map.empty() ? m : map[size_t(m) % map.size()];
    }
};

// One source object of a specimen.
struct TSpecBuildNode {
    TSpecEntry entry;  // of the row
    std::shared_ptr<INode>
        source;  // template node, custom object or group member; none: shows nothing
    std::shared_ptr<const TDravinMeshSample>
        sample;                 // of the source; the empty default without one
    Point3 offset;              // of a group member from the group's pivot
    TConsolidatedIds ids = {};  // of its faces in the object's automatic material

    // The row's material, else that of the source's node; null: the default grey.
    Mtl* Material() const {
        return entry.material ? entry.material.get() : source ? source->GetShownMtl() : nullptr;
    }
};

class TSpecBuild {
public:
    std::vector<TSpecBuildNode> nodes;
    std::vector<std::pair<TimeValue, TimeValue>> frames;
    std::optional<TLodLevels> lod;  // the nodes are levels, one of which an item shows
    bool proxyShape = false;        // shows the object's proxy shape instead of its sources
    int proxyMaterialId = 0;        // what proxy shapes of its items show

    // First and second value of frame f, clamped to the frames there are.
    TimeValue FrameFirst(int f) const { return Frame(f).first; }
    TimeValue FrameSecond(int f) const { return Frame(f).second; }
    // Node i modulo the number of nodes; null when there are none.
    const TSpecBuildNode* Node(int i) const {
        return nodes.empty() ? nullptr : &nodes[size_t(i) % nodes.size()];
    }

private:
    std::pair<TimeValue, TimeValue> Frame(int f) const {
        if (frames.empty()) return {0, 0};
        return frames[size_t(std::clamp(f, 0, int(frames.size()) - 1))];
    }
};

// Animation settings of a build, normalised: disabled and following objects have one sample.
struct TAnimationSettings {
    int mode = 0;  // AnimationMode
    int samples = 1;
    TimeValue offset = 0;          // between samples
    TimeValue start = 0, end = 0;  // of "Frame from Map"
    int ticksPerFrame = 160;

    // Number of samples, at least 1, and their (time, offset) pairs for a build at time t.
    int NumSamples() const;
    std::vector<std::pair<TimeValue, TimeValue>> Frames(TimeValue t) const;
};
TAnimationSettings NormaliseAnimation(TAnimationSettings settings, bool renderOnly, bool render);

struct TSpecListRequest {
    TimeValue time = 0;
    bool proxyMode = false;  // items show the proxy shape
    TAnimationSettings animation;
    // Whether an object is just being built, the scatter object itself or one that it is a source
    // of: such a source would never end. Empty: none is.
    std::function<bool(const Object&)> isOpen = {};
};

class TSpecBuildList {
public:
    // Builds all specimens; `valid` is narrowed by the sources' validity. kEmptyGeometryList when
    // there are no rows. Rows without an id get one, written to the list.
    TBuildStatus Build(TTreeSpecList& rows, TTemplates& templates, TDravinMeshCache& meshes,
                       TNuRandom& generator, const TSpecListRequest& request, int* specIdCounter,
                       Interval* valid);

    // Rows, without the fallback.
    size_t NumRows() const { return m_specimens.empty() ? 0 : m_specimens.size() - 1; }
    const TSpecBuild& Row(size_t i) const { return m_specimens[i]; }
    TSpecBuild& Row(size_t i) { return m_specimens[i]; }
    const TSpecBuild& Fallback() const { return m_specimens.back(); }
    // The source that an item shows: its row modulo the rows, its element modulo the row's nodes.
    const TSpecBuildNode* NodeOf(const TDravinItem& item) const;
    bool HasCustomObjects() const { return m_hasCustomObjects; }

    // The part that the engine sees, one entry a row. withParts: with the places of the parts of
    // meshes, which cost an analysis of each mesh at its first use.
    std::vector<TSpecimen> EngineSpecimens(bool withParts = false) const;

private:
    std::vector<TSpecBuild> m_specimens;
    bool m_hasCustomObjects = false;
};
