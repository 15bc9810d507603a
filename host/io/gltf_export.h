// Instances and static meshes as glTF 2.0: `.gltf` with a `.bin` and image files beside it, or
// `.glb`.
//
// Each prototype becomes one mesh and one node with EXT_mesh_gpu_instancing (used, not required):
// float attributes TRANSLATION, ROTATION and SCALE, and `_ID` (unsigned integer); where an instance
// of the node is tinted also `_COLOR_0` (the colour that multiplies: white mixed with the tint by
// its blend) and `_TINT` (red, green, blue of the tint, and its blend). With `flat` every instance
// is a plain node instead, with id, color and tint in its extras. Mirroring instances stand in a
// node of their own, whose mesh is mirrored, so that no scale is negative; shear is left out, as
// the format has none. The root node turns y up and scales to metres; everything below is in the
// host's axes and units.
//
// Materials become metallic-roughness ones without metal: the diffuse map is the base colour
// texture, an opacity map an alpha mask, opacity below 1 blending. PNG and JPEG images are kept
// byte for byte, others are written as PNG; factors and vertex colours become linear light; maps
// that are no image are baked over [0, 1] x [0, 1] (noise becomes its middle colour).
// Multi-materials become primitives. Texture coordinates count v from the top.
//
// Instances are streamed twice in blocks, never held at once; meshes are. The files appear whole or
// not at all, the `.gltf` last.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "host/io/instance_placement.h"
#include "host/scene/material.h"

struct GltfOptions {
    bool flat = false;
    double unitScale = 1;        // metres in one scene unit
    bool embedTextures = false;  // of a `.gltf`: put images into the `.bin`; a `.glb` always does
    // Hears what was left out, a sentence each.
    std::vector<std::string>* warnings = nullptr;
    // Hears the finished share of the work in 0..1, in the calling thread; false ends the export,
    // which leaves nothing behind.
    std::function<bool(float share)> progress = {};
};

// False with a reason in `error` ("cancelled" at its end where `progress` ended it). Materials'
// maps are updated at time 0 when they are not yet.
bool ExportGltf(const std::string& path, std::span<const IInstanceSource* const> sources,
                std::span<const PlacedMesh> meshes, const GltfOptions& options, std::string* error);
