// The readers behind ImportModel, one a format. Each takes the file's bytes and the files beside
// it, fills files.Model() (objects in the file's own axes and units, and what the report tells) or
// gives a reason in `error`. Results are not yet checked against broken indices or numbers beyond
// what each reader needs.
#pragma once

#include <string_view>

#include "host/io/model_files.h"

// Sets the error; false, for `return FailImport(...)`.
inline bool FailImport(ImportError* error, std::string text,
                       ImportFailure kind = ImportFailure::kMalformed) {
    *error = {kind, std::move(text)};
    return false;
}

bool ReadObj(std::string_view bytes, ModelFiles& files, ImportError* error);
bool ReadPly(std::string_view bytes, ModelFiles& files, ImportError* error);
bool ReadStl(std::string_view bytes, ModelFiles& files, ImportError* error);
bool ReadGltf(std::string_view bytes, ModelFiles& files, ImportError* error);

// Materials of an OBJ file's library that the model names, by name in file order. A missing library
// is a warning.
struct NamedMtl {
    std::string name;
    std::shared_ptr<StandardMtl> material;
};
void ReadMtl(const std::string& library, ModelFiles& files, std::vector<NamedMtl>* materials);

// Mends what the letter of a file makes invisible, with a warning: a material that is fully
// transparent without a map (writers disagree about which end of the scale is opaque) is opaque,
// and a texture under the colour black, which would swallow it, is shown alone.
void MendMaterial(StandardMtl& material, ModelFiles& files);

// The material of a mesh whose face ids index `used`: none, one, or a multi-material.
std::shared_ptr<Mtl> CombineMaterials(const std::vector<std::shared_ptr<Mtl>>& used);

// White under the mesh's vertex colours: for formats that have colours and no materials.
std::shared_ptr<StandardMtl> VertexColorMtl();
