#include "apps/dravin/build_outputs.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <set>

#include <fmt/format.h>

#include "Dravin/engine/item_fields.h"
#include "Dravin/mesh/mesh_materials.h"
#include "apps/dravin/xml_outputs.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"
#include "host/io/gltf_export.h"
#include "host/io/mesh_export.h"
#include "host/io/usd_writer.h"

namespace {

std::string EndingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return path == "-" ? ".json" : ending;
}

// Nodes of the objects' surfaces that a picture shows, each once. Hidden ones often lie in the same
// place as others, where a viewer would show both.
std::vector<INode*> SurfaceNodes(std::span<const SceneDravin> objects, TimeValue t) {
    std::vector<INode*> nodes;
    std::set<const INode*> seen;
    for (const SceneDravin& dravin : objects) {
        const IParamBlock2& block = dravin.object->Block(kSurfaceParams);
        for (int i = 0; i < block.Count(surfaceParams::kSurflist); ++i) {
            INode* node = block.GetNode(surfaceParams::kSurflist, t, i);
            if (!node || !node->GetObjectRef() || !seen.insert(node).second) continue;
            if (node->IsHidden() || !node->IsRenderable())
                PrintNote(
                    fmt::format("--surfaces: \"{}\" is hidden and left out", node->GetName()));
            else
                nodes.push_back(node);
        }
    }
    return nodes;
}

std::vector<PlacedMesh> SurfaceMeshes(std::span<INode* const> nodes, TimeValue t,
                                      std::vector<std::shared_ptr<const Mesh>>& keep) {
    std::vector<PlacedMesh> meshes;
    for (INode* node : nodes) {
        std::shared_ptr<const Mesh> mesh = node->GetObjectRef()->GetRenderMesh(t);
        if (!mesh) continue;
        keep.push_back(mesh);
        meshes.push_back({node->GetName(), mesh.get(), node->GetShownMtl(), node->GetObjectTM(t)});
    }
    return meshes;
}

// Whether all surfaces that an output shows can be triangles; the error is printed.
bool CheckSurfaces(std::span<INode* const> nodes) {
    for (const INode* node : nodes) {
        std::string refusal = node->GetObjectRef()->MeshRefusal();
        if (refusal.empty()) continue;
        PrintError(fmt::format("--surfaces: surface \"{}\": {}", node->GetName(), refusal));
        return false;
    }
    return true;
}

// Instances of all objects; a source that cannot have them all refuses, and the error is printed.
bool MakeSources(std::span<const SceneDravin> objects,
                 std::vector<std::unique_ptr<IInstanceSource>>* sources) {
    for (const SceneDravin& dravin : objects) {
        sources->push_back(dravin.object->Build().MakeInstanceSource());
        std::string refusal = sources->back()->Refusal();
        if (refusal.empty()) continue;
        PrintError(refusal);
        return false;
    }
    return true;
}

bool RunGltf(const std::string& path, std::span<const IInstanceSource* const> sources,
             std::span<const PlacedMesh> meshes, const Scene& scene, const BuildOptions& options,
             std::vector<std::string>* warnings, std::string* error) {
    ProgressBar bar("writing");
    GltfOptions gltf;
    gltf.flat = options.flat;
    gltf.unitScale = scene.unitScale;
    gltf.warnings = warnings;
    gltf.progress = [&bar](float share) { return bar.Update(share); };
    return ExportGltf(path, sources, meshes, gltf, error);
}

bool RunUsd(const std::string& path, std::span<const IInstanceSource* const> sources,
            std::span<const PlacedMesh> meshes, const Scene& scene, const BuildOptions& options,
            std::vector<std::string>* warnings, std::string* error) {
    ProgressBar bar("writing");
    UsdOptions usd;
    usd.unitScale = scene.unitScale;
    usd.threads = options.threads > 0 ? options.threads : NumProcessors();
    usd.progress = [&bar](float share) { return bar.Update(share); };
    return ExportUsd(path, sources, meshes, usd, warnings, error);
}

// The objects' meshes with their materials, which `materials` keeps.
std::vector<MeshFilePart> MeshParts(std::span<const SceneDravin> objects,
                                    std::deque<TMeshMaterials>& materials) {
    std::vector<MeshFilePart> parts;
    for (const SceneDravin& dravin : objects) {
        const TDravinBuild& build = dravin.object->Build();
        const TObjectMesh& mesh = build.ObjectMesh();
        if (mesh.GetMesh().faces.empty())
            PrintWarning(
                fmt::format("{}: no item shows a face; the mesh is empty", dravin.node->GetName()));
        const TMeshMaterials& shown =
            materials.emplace_back(mesh, build.Items(), build.Specimens(), dravin.node->GetMtl());
        parts.push_back({dravin.node->GetName(), &mesh.GetMesh(), build.ObjectTM(), shown.List(),
                         [&shown](size_t face) { return shown.OfFace(face); }});
    }
    return parts;
}

}  // namespace

bool IsBuildOutput(const std::string& path) {
    std::string ending = EndingOf(path);
    for (const char* known :
         {".json", ".csv", ".npz", ".xml", ".gltf", ".glb", ".usda", ".obj", ".ply"})
        if (ending == known) return true;
    return false;
}

std::optional<TableKind> TableKindOf(const std::string& path) {
    std::string ending = EndingOf(path);
    if (ending == ".json") return TableKind::kJson;
    if (ending == ".csv") return TableKind::kCsv;
    if (ending == ".npz") return TableKind::kNpz;
    return std::nullopt;
}

bool IsXmlOutput(const std::string& path) { return EndingOf(path) == ".xml"; }

bool IsMeshFile(const std::string& path) {
    std::string ending = EndingOf(path);
    return ending == ".obj" || ending == ".ply";
}

std::vector<std::string> ResolveFields(const std::vector<std::string>& fields) {
    if (fields.empty()) return DefaultItemFields();
    std::vector<std::string> all, chosen;
    for (const ItemField& field : ItemFields()) all.push_back(field.name);
    if (fields.size() == 1 && fields[0] == "all") return all;
    for (const std::string& name : fields) {
        if (!FindItemField(name)) {
            PrintError(
                fmt::format("--fields: no item field \"{}\"{}", name, DidYouMean(name, all)));
            return {};
        }
        if (std::find(chosen.begin(), chosen.end(), name) == chosen.end()) chosen.push_back(name);
    }
    return chosen;
}

int64_t NumItems(std::span<const SceneDravin> objects) {
    int64_t items = 0;
    for (const SceneDravin& dravin : objects)
        items += dravin.object->Build().Statistics().itemCount;
    return items;
}

void TellOfOutput(const std::string& path, int64_t items) {
    if (path == "-") return;
    std::error_code error;
    uintmax_t bytes = std::filesystem::file_size(path, error);
    if (error) return;  // a device
    PrintNote(fmt::format("{}: {} items, {} bytes", path, FormatGrouped(items),
                          FormatGrouped(int64_t(bytes))));
}

ExitCode WriteInstances(const std::string& path, std::span<const SceneDravin> objects, Scene& scene,
                        const BuildOptions& options) {
    TimeValue time = options.time.value_or(scene.GetTime());
    std::vector<INode*> surfaces;
    if (options.surfaces) surfaces = SurfaceNodes(objects, time);
    std::vector<std::unique_ptr<IInstanceSource>> sources;
    if (!CheckSurfaces(surfaces) || !MakeSources(objects, &sources)) return kExitLimit;
    std::vector<const IInstanceSource*> borrowed;
    for (const auto& source : sources) borrowed.push_back(source.get());
    std::vector<std::shared_ptr<const Mesh>> keep;
    std::vector<PlacedMesh> meshes = SurfaceMeshes(surfaces, time, keep);
    std::vector<std::string> warnings;
    std::string error;
    bool isUsd = EndingOf(path) == ".usda";
    if (!(isUsd ? RunUsd(path, borrowed, meshes, scene, options, &warnings, &error)
                : RunGltf(path, borrowed, meshes, scene, options, &warnings, &error))) {
        PrintError(error);
        return kExitNoOutput;
    }
    for (const std::string& warning : warnings) PrintWarning(fmt::format("{}: {}", path, warning));
    TellOfOutput(path, NumItems(objects));
    return kExitDone;
}

ExitCode WriteMeshFile(const std::string& path, std::span<const SceneDravin> objects,
                       const BuildOptions& options) {
    std::deque<TMeshMaterials> materials;
    std::vector<MeshFilePart> parts = MeshParts(objects, materials);
    ProgressBar bar("writing");
    MeshFileOptions file;
    file.threads = options.threads > 0 ? options.threads : NumProcessors();
    file.progress = [&bar](float share) { return bar.Update(share); };
    std::vector<std::string> warnings;
    std::string error;
    auto write = EndingOf(path) == ".obj" ? WriteObj : WritePly;
    if (!write(path, parts, file, &warnings, &error)) {
        PrintError(error);
        return kExitNoOutput;
    }
    for (const std::string& warning : warnings) PrintWarning(fmt::format("{}: {}", path, warning));
    TellOfOutput(path, NumItems(objects));
    return kExitDone;
}
