// The items of a finished build as render instances: one prototype a source of the geometry list.
//
// A prototype shows its source at real size (object offset applied); an instance scales it to the
// item. Discarded items and those whose row shows nothing are left out. Items that stand across a
// border without some of their mesh's elements have prototypes of their own, one for each different
// set of hidden elements, behind the whole ones. Those meshes are weighed as they are made: beyond
// the memory that they may take, none are made any more and Refusal tells.
#pragma once

#include <map>
#include <unordered_map>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "host/scene/instance_source.h"

class TDravinInstances : public IInstanceSource {
public:
    // cutMemory: bytes that meshes without hidden elements may take together.
    TDravinInstances(const TDravin& object, const TDravinBuild& build, const Matrix3& objectTM,
                     uint64_t cutMemory = UINT64_MAX);

    std::string Refusal() const override;
    std::string SourceName() const override { return m_name; }
    size_t NumPrototypes() const override { return m_prototypes.size(); }
    std::string PrototypeName(size_t prototype) const override {
        return m_prototypes[prototype].name;
    }
    const Mesh* PrototypeMesh(size_t prototype) const override {
        return m_prototypes[prototype].mesh.get();
    }
    const Mtl* PrototypeMtl(size_t prototype) const override { return m_prototypes[prototype].mtl; }
    size_t NumInstances() const override { return m_items.size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override;

private:
    struct Prototype {
        std::string name;
        std::shared_ptr<const Mesh> mesh;
        const Mtl* mtl = nullptr;
        Matrix3 toUnit;  // real size -> unit size
        const TDravinMeshSample* sample = nullptr;
    };
    static constexpr uint32_t kNone = 0xFFFFFFFFu;
    using HiddenElements = std::vector<bool>;
    using CutPrototypes = std::map<std::pair<uint32_t, HiddenElements>, uint32_t>;

    void AddRow(size_t row, const TSpecBuild& specimen);
    // Of the whole source that an item shows.
    uint32_t WholePrototypeOf(const ItemPlace& place) const;
    // Of item i without its hidden elements; kNone when all are hidden.
    uint32_t CutPrototypeOf(size_t i, uint32_t whole, CutPrototypes& known);
    uint32_t AddCut(uint32_t whole, const HiddenElements& hidden, size_t number);

    const TDravinBuild& m_build;
    uint64_t m_cutMemory, m_cutBytes = 0;
    std::string m_name;
    Matrix3 m_objectTM;
    bool m_scaleOnSlope = false;
    std::vector<Prototype> m_prototypes;
    std::vector<std::vector<uint32_t>> m_prototypeOfElement;  // by row and element
    std::vector<uint32_t> m_items;                            // list index of each instance
    std::unordered_map<uint32_t, uint32_t> m_cutItems;        // list index -> prototype
};
