// The process' surface arrays, shared by all scatter objects.
//
// An entry belongs to a surface node and a kind (XY or UV) and remembers the time at which its
// array was made. Objects on the same surface in the same mode share one array. Arrays are handed
// out by shared pointer and never change; a rebuilt entry gets a new one. Used on the building
// thread only, before workers start.
#pragma once

#include <map>
#include <memory>
#include <span>

#include "Dravin/engine/surface_array.h"
#include "Dravin/engine/surface_uv.h"
#include "host/scene/node.h"

class TSurfaceCache {
public:
    // The array of a node as it is; built at time 0 when missing. Null when the node shows no
    // geometry.
    std::shared_ptr<const TSurfXYArray> Get(INode* node, int kind, int threads);
    // The array at time t: an entry of another time is built again, and every entry when `reread`.
    std::shared_ptr<const TSurfXYArray> GetAt(INode* node, int kind, TimeValue t, bool reread,
                                              int threads);

    // The array of a mapping channel of an entry that Get or GetAt made; null when the mesh has
    // no such mapping.
    std::shared_ptr<const TSurfUVArray> GetUv(INode* node, int kind, int channel, int threads);

    // One surface in use by an object of the scene.
    struct Use {
        const INode* node;
        int kind;
    };
    // Drops the entries that none of `uses` names. Does nothing while a scene file is being opened.
    void Sweep(std::span<const Use> uses);

    void Clear() { m_entries.clear(); }
    void SetOpening(bool opening) { m_opening = opening; }
    size_t NumEntries() const { return m_entries.size(); }
    // Number of arrays built so far.
    size_t NumBuilt() const { return m_built; }

private:
    struct Entry : ReferenceMaker {
        Reference<INode> node{this};
        std::shared_ptr<const HeightField> heights;  // or
        std::shared_ptr<const Mesh> mesh;
        std::shared_ptr<const TSurfXYArray> array;
        std::map<int, std::shared_ptr<const TSurfUVArray>> uv;  // by mapping channel
        TimeValue time = 0;
        bool stale = false;  // the node or its object changed

        RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;
    };
    using Key = std::pair<const INode*, int>;

    Entry* Find(INode* node, int kind);
    Entry* Build(INode* node, int kind, TimeValue t, int threads);

    std::map<Key, std::unique_ptr<Entry>> m_entries;
    bool m_opening = false;
    bool m_sweeping = false;
    size_t m_built = 0;
};
