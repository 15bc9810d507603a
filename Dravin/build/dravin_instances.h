// The items of a finished build as render instances: one prototype a source of the geometry list.
//
// A prototype shows its source at real size (object offset applied); an instance scales it to the
// item. Discarded items and those whose row shows nothing are left out.
#pragma once

#include <map>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "host/scene/instance_source.h"

class TDravinInstances : public IInstanceSource {
public:
    TDravinInstances(const TDravin& object, const TDravinBuild& build, const Matrix3& objectTM);

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
    };
    static constexpr uint32_t kNone = 0xFFFFFFFFu;

    void AddRow(size_t row, const TSpecBuild& specimen);
    uint32_t PrototypeOf(const TDravinItem& item) const;

    const TDravinBuild& m_build;
    std::string m_name;
    Matrix3 m_objectTM;
    bool m_scaleOnSlope = false;
    std::vector<Prototype> m_prototypes;
    std::vector<std::vector<uint32_t>> m_prototypeOfElement;  // by row and element
    std::vector<uint32_t> m_items;                            // list index of each instance
};
