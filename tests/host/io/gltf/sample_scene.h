// A scene with one of everything that the glTF export knows, for the tests here and the outside
// readers (check.mjs).
#pragma once

#include <string>
#include <vector>

#include "host/io/gltf_export.h"

// Instances that mirror, turn and scale, over several blocks of the export.
class SampleSource : public IInstanceSource {
public:
    // Writes its texture files into `folder`.
    SampleSource(const std::string& folder, size_t numInstances);

    std::string SourceName() const override { return "meadow \"1\""; }
    size_t NumPrototypes() const override { return m_meshes.size(); }
    std::string PrototypeName(size_t p) const override { return "plant" + std::to_string(p); }
    const Mesh* PrototypeMesh(size_t p) const override { return &m_meshes[p]; }
    Mtl* PrototypeMtl(size_t p) const override { return m_materials[p].get(); }
    size_t NumInstances() const override { return m_numInstances; }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override;

    InstanceRecord Instance(size_t i) const;

private:
    std::vector<Mesh> m_meshes;
    std::vector<std::shared_ptr<Mtl>> m_materials;
    size_t m_numInstances;
};
