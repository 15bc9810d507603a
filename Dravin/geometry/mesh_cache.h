// The samples of all source objects of a process, one entry a scene node.
//
// An entry keeps one sample for each validity interval and is shared by every specimen and item
// that shows the node. It listens to its node and looks at what changed at the next lookup: a
// changed object drops the samples, a changed transform too unless only the translation changed.
// Entries are made, flushed and dropped on the building thread; lookups of existing entries may run
// in several threads.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <shared_mutex>
#include <vector>

#include "Dravin/geometry/mesh_sample.h"
#include "host/scene/node.h"

class TDravinMeshNode : public ReferenceMaker {
public:
    explicit TDravinMeshNode(INode& node);

    // The sample that is exact at t, made when there is none. The node must still exist.
    // plantClouds: as MakeMeshSample takes it.
    std::shared_ptr<const TDravinMeshSample> Get(TimeValue t, bool plantClouds);
    // Drops the samples that nobody asked for since the last call and nobody holds.
    void DropUnused();

    // Whether the node was deleted from the scene.
    bool IsDeleted() const { return !m_node; }
    size_t NumSamples() const { return m_samples.size(); }

    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;

private:
    struct Handle {
        std::shared_ptr<const TDravinMeshSample> sample;
        std::unique_ptr<std::atomic<bool>> used;
    };
    std::shared_ptr<const TDravinMeshSample> Find(TimeValue t) const;
    void DropOutdated(TimeValue t);
    // Everything about the node but its translation that a sample depends on.
    struct Placing {
        Matrix3 transform;  // without translation
        ObjectOffset offset;
        Matrix3 toReal;

        friend bool operator==(const Placing&, const Placing&) = default;
    };
    Placing PlacingAt(TimeValue t) const;

    Reference<INode> m_node{this};
    // Messages only raise flags: one may arrive while this entry makes a sample, under its own
    // lock.
    std::atomic<bool> m_moved{true}, m_changed{false};
    Placing m_placing;
    mutable std::shared_mutex m_lock;  // of all below
    std::vector<Handle> m_samples;
};

class TDravinMeshCache {
public:
    // The sample of a node at time t; the shared empty sample for null. A pass key other than the
    // last one flushes first.
    std::shared_ptr<const TDravinMeshSample> Get(INode* node, TimeValue t, int32_t passKey);

    // Starts a pass: samples that the last one did not use and nobody holds are dropped, as are the
    // entries of deleted nodes. Does nothing while the cache is suspended.
    void Flush(int32_t passKey);
    // While suspended nothing is flushed (a scene is being opened).
    void Suspend(bool suspend) { m_suspended = suspend; }
    // Whether plants that know clouds of their own give them. A change drops all samples.
    void UsePlantClouds(bool use);
    void Clear() { m_entries.clear(); }

    size_t NumEntries() const { return m_entries.size(); }
    // Samples kept by the entries.
    size_t NumSamples() const;

private:
    std::map<const INode*, std::unique_ptr<TDravinMeshNode>> m_entries;
    std::shared_ptr<const TDravinMeshSample> m_empty = std::make_shared<const TDravinMeshSample>();
    int32_t m_passKey = 0;
    bool m_suspended = false, m_plantClouds = true;
};
