#include "host/io/usd_writer.h"

#include <deque>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/atomic_file.h"
#include "host/base/text.h"
#include "host/io/usd_instances.h"

namespace {

constexpr const char* kRoot = "/World";

class Exporter {
public:
    Exporter(const std::string& path, const UsdOptions& options, std::vector<std::string>* warnings)
        : m_path(path),
          m_options(options),
          m_warnings(warnings),
          m_arrays(m_file, options.threads, [this](uint64_t rows) { return GoOn(rows); }),
          m_materials(std::string(kRoot) + "/Materials", path, warnings),
          m_meshes(m_file, m_arrays, m_materials, warnings) {}

    bool Run(std::span<const IInstanceSource* const> sources, std::span<const PlacedMesh> meshes,
             std::string* error) {
        m_error = error;
        m_names.Unique("Materials");
        for (const IInstanceSource* source : sources)
            m_work += (UsdInstancer::kPasses + 1) * source->NumInstances();
        for (const PlacedMesh& mesh : meshes) m_work += 4 * mesh.mesh->NumFaces();
        if (!m_file.Open(m_path, error)) return false;
        WriteHeader();
        for (const IInstanceSource* source : sources)
            if (!AddSource(*source)) return false;
        for (const PlacedMesh& mesh : meshes)
            if (!AddMesh(mesh)) return false;
        WriteMaterials();
        return Commit();
    }

private:
    bool Fail(const std::string& what) {
        *m_error = fmt::format("{}: cannot export: {}", m_path, what);
        return false;
    }
    // A reason of the parts in `reason`, or that the work was stopped.
    bool Check(bool isDone, const std::string& reason) {
        if (!isDone) return Fail(reason);
        return !m_arrays.IsStopped() || Fail("cancelled");
    }
    bool GoOn(uint64_t rows) {
        m_done += rows;
        if (!m_options.progress) return true;
        return m_options.progress(float(std::min(1.0, double(m_done) / double(m_work))));
    }

    void WriteHeader() {
        m_file.Write(
            fmt::format("#usda 1.0\n(\n"
                        "    customLayerData = {{\n"
                        "        string creator = \"Dravin Pack\"\n    }}\n"
                        "    defaultPrim = \"World\"\n    metersPerUnit = {}\n"
                        "    upAxis = \"Z\"\n)\n\ndef Xform \"World\"\n{{\n",
                        FormatNumber(m_options.unitScale)));
    }
    bool AddSource(const IInstanceSource& source) {
        UsdInstancer instancer(source, m_file, m_arrays);
        instancer.Measure();
        std::string reason;
        if (!Check(instancer.Write(kRoot, m_names.Unique(source.SourceName()), m_meshes, &reason),
                   reason))
            return false;
        instancer.TellOfLeftOut(m_warnings);
        return true;
    }
    bool AddMesh(const PlacedMesh& mesh) {
        std::string reason;
        UsdMeshPrim prim{m_names.Unique(mesh.name), mesh.name, mesh.mesh, mesh.material,
                         &mesh.transform};
        return Check(m_meshes.Write(prim, &reason), reason);
    }
    void WriteMaterials() {
        if (!m_materials.Text().empty())
            m_file.Write("    def Scope \"Materials\"\n    {\n" + m_materials.Text() + "    }\n");
        m_file.Write("}\n");
    }
    // All files or none, the images first, so that a reader that finds the layer finds all it
    // names.
    bool Commit() {
        std::deque<AtomicFile> images;
        std::vector<AtomicFile*> all;
        for (const auto& [file, bytes] : m_materials.ImageFiles()) {
            std::filesystem::path beside = std::filesystem::path(m_path).parent_path() / file;
            all.push_back(&images.emplace_back());
            if (!images.back().Open(beside.string(), m_error)) return false;
            images.back().Write(bytes);
        }
        all.push_back(&m_file);
        return AtomicFile::CommitTogether(all, m_error);
    }

    const std::string& m_path;
    const UsdOptions& m_options;
    std::vector<std::string>* m_warnings;
    std::string* m_error = nullptr;

    AtomicFile m_file;
    uint64_t m_work = 0, m_done = 0;  // rows
    UsdArrays m_arrays;
    UsdMaterials m_materials;
    UsdMeshWriter m_meshes;
    UsdNames m_names;
};

}  // namespace

bool ExportUsd(const std::string& path, std::span<const IInstanceSource* const> sources,
               std::span<const PlacedMesh> meshes, const UsdOptions& options,
               std::vector<std::string>* warnings, std::string* error) {
    return Exporter(path, options, warnings).Run(sources, meshes, error);
}
