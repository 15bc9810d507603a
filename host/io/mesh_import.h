// Models from files: OBJ, PLY, STL, glTF, and whatever the helper process reads.
//
// The reader is chosen by the file's ending. OBJ, PLY and STL are read here; glTF by a library; all
// other formats in a process of its own with limits on time and memory (import_helper.h), so that a
// damaged file can do no harm. Only regular files are opened; counts that a file claims are weighed
// against its length before anything is allocated; coordinates that are not finite and indices out
// of range are errors that name their place. Coordinates stay as numbers in the file; formats with
// y up (glTF, and those of the helper that say so) are turned: (x, y, z) becomes (x, -z, y).
//
// Where a format repeats a vertex to give it several normals or texture coordinates, vertices of
// bit-identical position are welded; the coordinates live in channels. Thread safe.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/geom/mesh.h"
#include "host/scene/material.h"

struct ImportedObject {
    std::string name;
    std::shared_ptr<Mesh> mesh;     // in the object's own space; may be shared between objects
    std::shared_ptr<Mtl> material;  // StandardMtl, MultiMtl (by face id), or null: the default grey
    Matrix3 transform;              // own space -> the file's world, in the host's axes
};

struct ImportedModel {
    std::vector<ImportedObject> objects;
    std::vector<std::string> warnings;  // what was left out, a sentence each
};

// Reads all objects. False with a reason in `error`; the model is untouched then.
bool ImportModel(const std::string& path, ImportedModel* model, std::string* error);

// One mesh in world space: the named object, or with an empty name all of them joined. Null with a
// reason in `error` when the file cannot be read or has no such object (the nearest name is told).
// A file without faces gives an empty mesh and a message in `error`: the caller decides.
std::shared_ptr<Mesh> ImportMesh(const std::string& path, const std::string& object,
                                 std::string* error);

// The same with its material: a multi-material when the joined objects have several, whose entries
// the face ids then select.
struct JoinedModel {
    std::shared_ptr<Mesh> mesh;
    std::shared_ptr<Mtl> material;
};
JoinedModel JoinObjects(const ImportedModel& model);
// Reads a file like ImportMesh, with the material. No mesh when it cannot be read.
JoinedModel ImportJoined(const std::string& path, const std::string& object, std::string* error);
