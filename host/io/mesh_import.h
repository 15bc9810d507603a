// Models from files: OBJ, PLY, STL, glTF, and whatever the helper process reads.
//
// The reader is chosen by the file's ending. OBJ, PLY and STL are read here; glTF by a library; all
// other formats in a process of its own with limits on time and memory (import_helper.h), so that a
// damaged file can do no harm. Only regular files below the roots are opened (model_files.h);
// counts that a file claims are weighed against its length before anything is allocated;
// coordinates that are not finite and indices out of range are errors that name their place.
//
// A file's up axis becomes z: with y up (x, y, z) becomes (x, -z, y). glTF and OBJ have y up, PLY
// and STL z; the helper tells for each of its formats. Lengths of formats that state their unit
// become scene units; the numbers of the others stay.
//
// Where a format repeats a vertex to give it several normals or texture coordinates, vertices of
// bit-identical position are welded; the coordinates live in channels, vertex colours, as display
// colours, in channel 0. Thread safe.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/work_watch.h"
#include "host/geom/mesh.h"
#include "host/math/interval.h"
#include "host/scene/material.h"
#include "host/scene/object.h"

struct ImportedObject {
    std::string name;
    std::shared_ptr<Mesh> mesh;     // in the object's own space; may be shared between objects
    std::shared_ptr<Mtl> material;  // StandardMtl, MultiMtl (by face id), or null: the default grey
    Matrix3 transform;              // own space -> the file's world, in the host's axes
    Color color{1, 1, 1};           // display colour that multiplies the object's vertex colours
};

struct ImportedTexture {
    std::string slot;  // "diffuse" or "opacity"
    std::string file;  // as the model names it; "embedded" for an image within the model
    bool found = false;
};

enum class ImportedAlpha { kOpaque, kMask, kBlend };

// What the import report tells of a material.
struct ImportedMaterial {
    std::string name;
    std::vector<ImportedTexture> textures;
    ImportedAlpha alpha = ImportedAlpha::kOpaque;
};

struct ImportedExtension {
    std::string name;
    bool isRead = false;
};

struct ImportedAnimation {
    std::string name;  // "animation 2" where the file gives the third none
    double seconds = 0;
    bool isRead = false;
};

// Numbers are the exit codes of programs.
enum class ImportFailure : int {
    kNone = 0,
    kMissingInput = 3,
    kMalformed = 4,
    kLimit = 5,
    kCancelled = 130
};

struct ImportError {
    ImportFailure kind = ImportFailure::kNone;
    std::string text;
};

// A model that moves: its objects at other times than the pose that its file stores.
class IModelPoses {
public:
    virtual ~IModelPoses() = default;
    // From the first to the last key, ticks; the model stands still outside.
    virtual Interval Range() const = 0;
    // The objects at time t, with the materials of the model's own. False with a reason.
    virtual bool At(TimeValue t, std::vector<ImportedObject>* objects, ImportError* error) = 0;
};

struct ImportedModel {
    std::vector<ImportedObject> objects;
    std::shared_ptr<IModelPoses> poses;  // null: nothing moves
    std::vector<ImportedMaterial> materials;
    std::vector<ImportedExtension> extensions;
    std::vector<ImportedAnimation> animations;
    std::vector<std::string> warnings;  // what was left out, a sentence each
    std::string format;                 // "glTF", "OBJ", ...
    UpAxis up = UpAxis::kZ;             // of the file, or as the options say instead
    double metresPerUnit = 0;           // of the file's numbers; 0: the format states none
};

struct ImportOptions {
    std::optional<UpAxis> up;          // instead of what the format says
    bool keepNumbers = false;          // whatever unit the file states
    double unitScale = 1;              // metres in one scene unit
    std::string animation;             // by name; empty: the first, kNoAnimation: none
    std::vector<std::string> roots;    // folders beside the model's own that it may draw files from
    const WorkWatch* watch = nullptr;  // may cancel: an error like any other
};

// What stands for an animation's name where the model shall rest.
inline constexpr const char* kNoAnimation = "none";

// Reads all objects. False with a reason in `error`; the model is untouched then.
bool ImportModel(const std::string& path, const ImportOptions& options, ImportedModel* model,
                 ImportError* error);
bool ImportModel(const std::string& path, ImportedModel* model, std::string* error);

// The objects as one mesh in world space, with its material: a multi-material when the objects have
// several, whose entries the face ids then select. No mesh, with a reason in `error`, when it would
// have more faces than kMaxJoinedFaces.
struct JoinedModel {
    std::shared_ptr<Mesh> mesh;
    std::shared_ptr<Mtl> material;
    std::vector<std::string> warnings;
    std::shared_ptr<IMeshAnimation> animation;  // null: nothing moves
};
inline constexpr size_t kMaxJoinedFaces = 100'000'000;
JoinedModel JoinObjects(const ImportedModel& model, ImportError* error);

// One mesh of a file: the objects of that name, or with an empty name all of them, joined. None,
// with a reason in `error`, when the file cannot be read or has no such object (the nearest name is
// told). A file without faces gives an empty mesh and a message in `error`: the caller decides. The
// import report goes to the log.
JoinedModel ImportJoined(const std::string& path, const std::string& object,
                         const ImportOptions& options, ImportError* error);
// The same without material and options.
std::shared_ptr<Mesh> ImportMesh(const std::string& path, const std::string& object,
                                 std::string* error);
