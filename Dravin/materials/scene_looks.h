// Looks of a scene: its materials and texture maps, found by paths.
//
// A scene names some of them itself. Others are only held, by nodes, models and each other: these
// have paths that say where ("stone/diffuse_map", "Trees/materials.2"), or the material's own
// name. What the system makes for scatter objects by itself is none of them. Changes can be undone.
// The scene's thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/scene/scene.h"

enum class LookKind { kMaterial, kMap };

struct SceneLook {
    std::string path;  // no other look of its kind has it
    std::shared_ptr<ReferenceTarget> target;
    bool isNamed = false;  // the scene holds it under this name
};

// Those that the scene names first, by their names, then the others as nodes lead to them.
std::vector<SceneLook> LooksOf(const Scene& scene, LookKind kind);
// Null with the reason in `error`.
std::shared_ptr<ReferenceTarget> FindLook(const Scene& scene, LookKind kind,
                                          const std::string& path, std::string* error);
// What lists and buttons call a look or a node: the scene's name, its own, or its class; empty for
// null.
std::string LookName(const Scene& scene, const ReferenceTarget* target);

// Names a look in the scene: `wish`, or that with a number where it is taken. Gives the name.
std::string EnterLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look,
                      const std::string& wish);
// False with the reason in `error`: the name is empty or another's.
bool RenameLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look, const std::string& name,
                std::string* error);
// Whatever shows it shows nothing in its place.
void DeleteLook(Scene& scene, const std::shared_ptr<ReferenceTarget>& look);
// A copy under a name of its own, which shares the maps and materials below; null where the class
// cannot be copied.
std::shared_ptr<ReferenceTarget> CopyLook(Scene& scene, const ReferenceTarget& look);
// Those that the scene names and no node leads to.
std::vector<SceneLook> UnusedLooks(const Scene& scene, LookKind kind);
// The nodes that show a material, itself or below another.
std::vector<INode*> NodesWith(const Scene& scene, const Mtl& material);

// A number that changes with all that the look is at time t, and what is below it.
uint64_t LookPrint(ReferenceTarget& look, TimeValue t);
