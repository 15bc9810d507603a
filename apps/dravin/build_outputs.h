// Writes finished builds by the ending of the output.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"

// Endings that outputs may have; "-" is JSON on standard output.
bool IsBuildOutput(const std::string& path);
inline constexpr const char* kBuildOutputs = ".json, .csv, .npz, .gltf, .glb or -";

// Field names of an output: the default ones, a list, or "all". Empty, with the error printed, for
// an unknown name.
std::vector<std::string> ResolveFields(const std::vector<std::string>& fields);

// Whether this kind of output tells the status of the build.
bool HoldsStatus(const std::string& path);

// Writes one output and tells what was written; errors are printed.
ExitCode WriteBuildOutput(const std::string& path, std::span<const SceneDravin> objects,
                          Scene& scene, const std::vector<std::string>& fields,
                          const BuildOptions& options);
