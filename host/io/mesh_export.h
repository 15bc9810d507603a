// Meshes as OBJ and PLY files, for programs that know no instances.
//
// Points stand in world space, z up, in scene units, as they are in the scene: reading such an OBJ
// back wants "up": "z", as the format itself has y up. Mapping channel 1 is written. Hidden faces
// are left out, with the vertices that only they use. OBJ has materials, in a `.mtl` of the same
// name beside it, explicit normals, and smoothing groups, of which a face keeps its lowest; PLY is
// binary and has none of these. Left out are vertex colours, further mapping channels, and what
// materials and maps have beyond those formats; `warnings` tells.
//
// Text is made by several threads and streamed; the files are the same for any number of them, and
// appear whole or not at all, the `.obj` last.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "host/geom/mesh.h"
#include "host/scene/material.h"

struct MeshFilePart {
    std::string name;
    const Mesh* mesh = nullptr;  // indices in range
    Matrix3 toWorld;             // a mirroring one turns the faces round
    // What faces show, which materialOf chooses from; null: the host's default grey. Empty: nothing
    // is known of any.
    std::vector<const StandardMtl*> materials;
    std::function<uint32_t(size_t face)> materialOf = {};
};

struct MeshFileOptions {
    int threads = 1;
    // Hears the finished share of the work in 0..1, in the calling thread; false ends it.
    std::function<bool(float share)> progress = {};
};

// False with a reason in `error` ("cancelled" at its end where `progress` ended it), and no file
// written. `warnings`: what was left out, a sentence each.
bool WriteObj(const std::string& path, std::span<const MeshFilePart> parts,
              const MeshFileOptions& options, std::vector<std::string>* warnings,
              std::string* error);
bool WritePly(const std::string& path, std::span<const MeshFilePart> parts,
              const MeshFileOptions& options, std::vector<std::string>* warnings,
              std::string* error);

// Name of the material library beside an OBJ file.
std::string MaterialLibraryPath(const std::string& objPath);
