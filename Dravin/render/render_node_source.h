// The render nodes of a scatter object as the host's renderers take instances: a client of the
// published interface, which reads records of version 512.
//
// Every record that names a node is an instance. A prototype is what a node shows at a time, in a
// material, without the elements that a mask hides; it is made when the first record wants it, in
// the space of the node's object. Records are fetched when instances are read, and dropped when a
// renderer has its own copy, so that those of one object at a time stand in memory; beside them an
// instance takes eight bytes.
#pragma once

#include <map>
#include <mutex>
#include <vector>

#include "Dravin/build/cut_mesh.h"
#include "Dravin/build/item_shading.h"
#include "Dravin/materials/shaded_items.h"
#include "Dravin/render/instance_records.h"
#include "host/scene/instance_source.h"

class TDravin;
class TTreesInterface;

class TRenderNodeSource : public IInstanceSource, public IShadedItems {
public:
    // A render of the object must have begun, and not end before this goes. cutMemory: bytes that
    // meshes without hidden elements may take together.
    TRenderNodeSource(TDravin& object, uint64_t cutMemory);

    std::string Refusal() const override { return m_cuts.Refusal(m_name); }
    std::string SourceName() const override { return m_name; }
    const INode* SourceNode() const override { return m_node; }
    size_t NumPrototypes() const override { return m_prototypes.size(); }
    std::string PrototypeName(size_t prototype) const override;
    const Mesh* PrototypeMesh(size_t prototype) const override {
        return m_prototypes[prototype].mesh.get();
    }
    Mtl* PrototypeMtl(size_t prototype) const override { return m_prototypes[prototype].mtl; }
    size_t NumInstances() const override { return m_shown.size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override;
    void InstancesRead() const override;
    InstanceDetails GetDetails(size_t instance) const override;
    void PrepareShading() const override;
    const void* GetInterface(uint32_t number) const override {
        return number == IShadedItems::kInterface ? static_cast<const IShadedItems*>(this)
                                                  : nullptr;
    }

    TShadedItem ItemOf(uint32_t instance, uint32_t face) const override;
    TElementRandoms ElementOf(uint32_t instance, uint32_t face) const override;
    uint32_t ItemIndexOf(uint32_t instance, uint32_t) const override {
        return m_shown[instance].item;
    }
    uint32_t SampleFaceOf(uint32_t instance, uint32_t face) const override;
    const TTintSettings& ObjectTint() const override { return m_tint.settings; }
    int ObjectBlend() const override { return m_tint.blend; }

private:
    using Record = TDravinInstanceV512;
    struct Prototype {
        const INode* node;
        TimeValue time;
        Mtl* mtl;  // what is shown
        std::shared_ptr<const TDravinMeshSample> sample;
        std::shared_ptr<const Mesh> mesh;
        std::vector<uint32_t> sampleFaces;  // of each face, where some are left out
    };
    struct Shown {
        uint32_t item;  // in the object's list
        uint32_t prototype;
    };
    struct Key {
        const INode* node;
        const Mtl* material;
        TimeValue time;
        THiddenElements hidden;
        auto operator<=>(const Key&) const = default;
    };
    static constexpr uint32_t kNone = 0xFFFFFFFFu;

    void ReadRecords();
    uint32_t PrototypeOf(const Record& record);
    uint32_t MakePrototype(const Record& record, const Key& key);
    std::span<const Record> Records() const;

    TDravin& m_object;
    TTreesInterface& m_trees;
    INode* m_node;
    std::string m_name;
    Matrix3 m_objectTM;
    TObjectTint m_tint;
    TCutMeshes m_cuts;
    std::vector<Prototype> m_prototypes;
    std::map<Key, uint32_t> m_known;
    std::vector<Shown> m_shown;
    std::vector<uint32_t> m_recordOf;  // of each instance; empty: its own number
    mutable std::mutex m_recordsLock;
    mutable std::span<const Record> m_records;
    mutable std::vector<TShadedItem> m_shaded;  // by instance, after PrepareShading
};
