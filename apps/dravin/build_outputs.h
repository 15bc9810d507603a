// The outputs of a build, told by their endings, and those that show instances.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"

// Endings that outputs may have; "-" is JSON on standard output.
bool IsBuildOutput(const std::string& path);
inline constexpr const char* kBuildOutputs =
    ".json, .csv, .npz, .xml, .gltf, .glb, .usda, .obj, .ply or -";

// Outputs that are tables of items (item_outputs.h); none for the others.
enum class TableKind { kJson, kCsv, kNpz };
std::optional<TableKind> TableKindOf(const std::string& path);

// Outputs that hold the object mesh.
bool IsMeshFile(const std::string& path);

// Field names of an output: the default ones, a list, or "all". Empty, with the error printed, for
// an unknown name.
std::vector<std::string> ResolveFields(const std::vector<std::string>& fields);

// Writes the instances of finished builds as glTF or USD and tells what was written; errors are
// printed.
ExitCode WriteInstances(const std::string& path, std::span<const SceneDravin> objects, Scene& scene,
                        const BuildOptions& options);

// Writes the object meshes of finished builds as OBJ or PLY; otherwise as WriteInstances.
ExitCode WriteMeshFile(const std::string& path, std::span<const SceneDravin> objects,
                       const BuildOptions& options);

// Tells how many items and bytes an output holds.
void TellOfOutput(const std::string& path, int64_t items);
// Items of finished builds together.
int64_t NumItems(std::span<const SceneDravin> objects);
