// The items of a finished build as render instances: one prototype a source of the geometry list.
//
// A prototype shows its source at real size (object offset applied); an instance scales it to the
// item. Where items show a source at different times, each time has a prototype of its own, made
// when the first item shows it. Discarded items and those whose row shows nothing are left out.
// Items that stand across a border without some of their mesh's elements have prototypes of their
// own, one for each different set of hidden elements, behind the whole ones. Those meshes are
// weighed as they are made: beyond the memory that they may take, none are made any more and
// Refusal tells.
#pragma once

#include <map>
#include <unordered_map>
#include <vector>

#include "Dravin/build/cut_mesh.h"
#include "Dravin/build/dravin_build.h"
#include "Dravin/build/item_shading.h"
#include "Dravin/materials/shaded_items.h"
#include "host/scene/instance_source.h"

class TDravinInstances : public IInstanceSource, public IShadedItems {
public:
    // cutMemory: bytes that meshes without hidden elements may take together.
    TDravinInstances(const TDravin& object, const TDravinBuild& build, const Matrix3& objectTM,
                     uint64_t cutMemory = UINT64_MAX);

    std::string Refusal() const override;
    std::string SourceName() const override { return m_name; }
    const INode* SourceNode() const override { return m_node; }
    size_t NumPrototypes() const override { return m_prototypes.size(); }
    std::string PrototypeName(size_t prototype) const override {
        return m_prototypes[prototype].name;
    }
    const Mesh* PrototypeMesh(size_t prototype) const override {
        return m_prototypes[prototype].mesh.get();
    }
    Mtl* PrototypeMtl(size_t prototype) const override { return m_prototypes[prototype].mtl; }
    size_t NumInstances() const override { return m_items.size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override;
    InstanceDetails GetDetails(size_t instance) const override;
    void PrepareShading() const override;
    const void* GetInterface(uint32_t number) const override {
        return number == IShadedItems::kInterface ? static_cast<const IShadedItems*>(this)
                                                  : nullptr;
    }

    TShadedItem ItemOf(uint32_t instance, uint32_t face) const override;
    TElementRandoms ElementOf(uint32_t instance, uint32_t face) const override;
    uint32_t ItemIndexOf(uint32_t instance, uint32_t) const override { return m_items[instance]; }
    uint32_t SampleFaceOf(uint32_t instance, uint32_t face) const override;
    const TTintSettings& ObjectTint() const override { return m_tint.settings; }
    int ObjectBlend() const override { return m_tint.blend; }

private:
    struct Prototype {
        std::string name;
        std::shared_ptr<const Mesh> mesh;
        Mtl* mtl = nullptr;
        Matrix3 toUnit;  // real size -> unit size
        std::shared_ptr<const TDravinMeshSample> sample;
        std::vector<uint32_t> sampleFaces;  // of each face, where some are left out
    };
    // The prototypes of a row: node n at sample f stands at n * numSamples + f; kNotMade before an
    // item shows it, kNone without geometry.
    struct Row {
        const TSpecBuild* specimen;
        size_t numSamples;
        std::vector<uint32_t> prototypes;
    };
    static constexpr uint32_t kNone = 0xFFFFFFFFu, kNotMade = kNone - 1;
    using CutPrototypes = std::map<std::pair<uint32_t, THiddenElements>, uint32_t>;

    // Where the row's list has the whole source that an item shows; null without rows.
    const Row* RowOf(const TDravinItem& item) const;
    static size_t PlaceInRow(const Row& row, const TDravinItem& item);
    uint32_t WholePrototypeOf(const TDravinItem& item) const;
    uint32_t MakeWholePrototype(const TDravinItem& item);
    uint32_t AddPrototype(const Row& row, size_t node, size_t frame);
    // Of the list's item, without its hidden elements where it has any.
    uint32_t PrototypeOf(const TDravinItem& item, uint32_t index) const;
    const Prototype* ShownBy(uint32_t instance) const;
    // Of item i without its hidden elements; kNone when all are hidden.
    uint32_t CutPrototypeOf(size_t i, uint32_t whole, CutPrototypes& known);
    uint32_t AddCut(uint32_t whole, const THiddenElements& hidden, size_t number);

    const TDravinBuild& m_build;
    TCutMeshes m_cuts;
    std::string m_name;
    INode* m_node;
    Matrix3 m_objectTM;
    bool m_scaleOnSlope = false;
    std::vector<Prototype> m_prototypes;
    std::vector<Row> m_rows;
    std::vector<uint32_t> m_items;                      // list index of each instance
    std::unordered_map<uint32_t, uint32_t> m_cutItems;  // list index -> prototype
    TObjectTint m_tint;
    mutable std::vector<TShadedItem> m_shaded;  // by instance, after PrepareShading
};
