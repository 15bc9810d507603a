#include "apps/dravin/build_outputs.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/engine/build_input.h"
#include "apps/dravin/item_table.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"
#include "host/io/gltf_export.h"

namespace {

using Json = nlohmann::ordered_json;

std::string EndingOf(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    return path == "-" ? ".json" : ending;
}

int NumThreads(const BuildOptions& options) {
    return options.threads > 0 ? options.threads : NumProcessors();
}

// Candidates that each rule dropped, by the rule's name.
Json RejectedJson(const TRejections& rejected) {
    Json counts = Json::object();
    for (const TRejectionRule& rule : RejectionRules()) counts[rule.name] = rejected.*rule.count;
    return counts;
}

// The keys before the items, without the closing brace.
std::string ResultHead(const SceneDravin& dravin) {
    const TDravinBuild& build = dravin.object->Build();
    const TBuildStatistics& s = build.Statistics();
    TPanelMessage message = build.Message();
    Json head{{"object", dravin.node->GetName()},
              {"time", build.Time()},
              {"render", build.IsRender()},
              {"status", int(build.Status())},
              {"message", {message[0], message[1]}},
              {"statistics",
               {{"cells_in_area", s.cellsInArea},
                {"item_count", s.itemCount},
                {"created_count", s.createdCount},
                {"discarded_count", s.discardedCount},
                {"discarded_items", s.discardedItems},
                {"decimation", s.decimation},
                {"build_ms", s.buildMs},
                {"items_per_second", s.itemsPerSecond},
                {"rejected", RejectedJson(s.rejected)}}}};
    std::string text = head.dump();
    return text.substr(1, text.size() - 2);
}

bool WriteJson(const std::string& path, std::span<const SceneDravin> objects,
               const std::vector<std::string>& fields, const BuildOptions& options,
               std::string* error) {
    AtomicFile out;
    if (!out.Open(path, error)) return false;
    bool several = objects.size() > 1;
    out.Write(several ? "{\"dravin_items\":1,\"objects\":[" : "{\"dravin_items\":1,");
    for (size_t i = 0; i < objects.size(); ++i) {
        if (several) out.Write(i ? ",\n{" : "{");
        out.Write(ResultHead(objects[i]) + ",\n\"items\":");
        WriteTableJson(ItemTable(objects[i].object->Build().Items(), fields), NumThreads(options),
                       out);
        if (several) out.Write("}");
    }
    out.Write(several ? "]}\n" : "}\n");
    return out.Commit(error);
}

bool WriteTables(const std::string& path, const std::string& ending,
                 std::span<const SceneDravin> objects, const std::vector<std::string>& fields,
                 const BuildOptions& options, std::string* error) {
    std::vector<ItemTable> tables;
    tables.reserve(objects.size());
    std::vector<NamedTable> named;
    for (const SceneDravin& dravin : objects) {
        tables.emplace_back(dravin.object->Build().Items(), fields);
        named.push_back({dravin.node->GetName(), &tables.back()});
    }
    return ending == ".csv" ? WriteTableCsv(path, named, NumThreads(options), error)
                            : WriteTableNpz(path, named, error);
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

std::vector<GltfStaticMesh> SurfaceMeshes(std::span<INode* const> nodes, TimeValue t,
                                          std::vector<std::shared_ptr<const Mesh>>& keep) {
    std::vector<GltfStaticMesh> meshes;
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

ExitCode WriteGltf(const std::string& path, std::span<const SceneDravin> objects, Scene& scene,
                   const BuildOptions& options) {
    TimeValue time = options.time.value_or(scene.GetTime());
    std::vector<INode*> surfaces;
    if (options.surfaces) surfaces = SurfaceNodes(objects, time);
    std::vector<std::unique_ptr<IInstanceSource>> sources;
    if (!CheckSurfaces(surfaces) || !MakeSources(objects, &sources)) return kExitLimit;
    std::vector<const IInstanceSource*> borrowed;
    for (const auto& source : sources) borrowed.push_back(source.get());
    std::vector<std::shared_ptr<const Mesh>> keep;
    std::vector<GltfStaticMesh> meshes = SurfaceMeshes(surfaces, time, keep);
    GltfOptions gltf;
    gltf.flat = options.flat;
    gltf.unitScale = scene.unitScale;
    std::string error;
    if (ExportGltf(path, borrowed, meshes, gltf, &error)) return kExitDone;
    PrintError(error);
    return kExitNoOutput;
}

void TellOfOutput(const std::string& path, std::span<const SceneDravin> objects) {
    int64_t items = 0;
    for (const SceneDravin& dravin : objects)
        items += dravin.object->Build().Statistics().itemCount;
    std::error_code error;
    uintmax_t bytes = std::filesystem::file_size(path, error);
    if (error) return;  // a device
    PrintNote(fmt::format("{}: {} items, {} bytes", path, FormatGrouped(items),
                          FormatGrouped(int64_t(bytes))));
}

}  // namespace

bool IsBuildOutput(const std::string& path) {
    std::string ending = EndingOf(path);
    for (const char* known : {".json", ".csv", ".npz", ".gltf", ".glb"})
        if (ending == known) return true;
    return false;
}

bool HoldsStatus(const std::string& path) { return EndingOf(path) == ".json"; }

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

ExitCode WriteBuildOutput(const std::string& path, std::span<const SceneDravin> objects,
                          Scene& scene, const std::vector<std::string>& fields,
                          const BuildOptions& options) {
    std::string ending = EndingOf(path), error;
    bool written = false;
    if (ending == ".json") {
        written = WriteJson(path, objects, fields, options, &error);
    } else if (ending == ".csv" || ending == ".npz") {
        written = WriteTables(path, ending, objects, fields, options, &error);
    } else if (ExitCode code = WriteGltf(path, objects, scene, options); code == kExitDone) {
        written = true;
    } else {
        return code;
    }
    if (!written) PrintError(error);
    if (written && path != "-") TellOfOutput(path, objects);
    return written ? kExitDone : kExitNoOutput;
}
