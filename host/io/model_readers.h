// The readers behind ImportModel, one a format. Each takes the path and the file's bytes, fills a
// model (names, meshes, materials; transforms stay the identity but for glTF) or gives a reason in
// `error`. Results are not yet checked against broken indices or numbers beyond what each reader
// needs.
#pragma once

#include <string_view>

#include "host/io/mesh_import.h"

bool ReadObj(const std::string& path, std::string_view bytes, ImportedModel* model,
             std::string* error);
bool ReadPly(const std::string& path, std::string_view bytes, ImportedModel* model,
             std::string* error);
bool ReadStl(const std::string& path, std::string_view bytes, ImportedModel* model,
             std::string* error);
bool ReadGltf(const std::string& path, std::string_view bytes, ImportedModel* model,
              std::string* error);

// Materials of an OBJ file's library, by name in file order. A missing library is a warning.
struct NamedMtl {
    std::string name;
    std::shared_ptr<Mtl> material;
};
void ReadMtl(const std::string& path, std::vector<NamedMtl>* materials,
             std::vector<std::string>* warnings);

// The texture map of an image named by a model file at `modelPath`: `image` is relative to that
// file and may use either slash. Null, with a warning, when there is no such file.
std::shared_ptr<Texmap> TextureBeside(const std::string& modelPath, const std::string& image,
                                      std::vector<std::string>* warnings);

// The material of a mesh whose face ids index `used`: none, one, or a multi-material.
std::shared_ptr<Mtl> CombineMaterials(const std::vector<std::shared_ptr<Mtl>>& used);
