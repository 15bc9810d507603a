// One source of instances as a PointInstancer of a USD file in the making.
#pragma once

#include <string>
#include <vector>

#include "host/io/instance_placement.h"
#include "host/io/usd_mesh.h"

class UsdInstancer {
public:
    UsdInstancer(const IInstanceSource& source, AtomicFile& out, UsdArrays& arrays)
        : m_source(source), m_out(out), m_arrays(arrays) {}

    // Reads the instances once: what is shown, tinted, left out. To be called first.
    void Measure();
    // Appends the prim at `parent`/`identifier`, with its prototypes. False with a reason.
    bool Write(const std::string& parent, const std::string& identifier, UsdMeshWriter& meshes,
               std::string* error);
    void TellOfLeftOut(std::vector<std::string>* warnings) const;

    // How often the instances are read at the most, for the progress.
    static constexpr uint64_t kPasses = 10;

private:
    struct Survey {
        std::vector<uint64_t> counts;  // by group
        uint64_t numTinted = 0;
        LeftOutInstances leftOut;
        Box3 box;
    };
    static constexpr int32_t kNotShown = -1;

    void Count(const InstanceRecord& record, Survey& survey) const;
    void Merge(const Survey& survey);
    // The shown ones of instances first to last - 1.
    std::vector<InstanceRecord> Shown(size_t first, size_t last) const;
    template <class Element>
    void WriteArray(std::string_view head, std::string_view tail, const Element& element);
    void WriteArrays();
    void WriteColors();
    bool WritePrototypes(UsdMeshWriter& meshes, std::string* error);
    std::string PrototypeTargets(const std::string& path);

    const IInstanceSource& m_source;
    AtomicFile& m_out;
    UsdArrays& m_arrays;
    std::vector<Box3> m_boxes;  // by prototype; empty where it draws nothing
    Survey m_survey;
    std::vector<int32_t> m_numbers;          // prototype of the prim, by group
    std::vector<std::string> m_identifiers;  // by number
};
