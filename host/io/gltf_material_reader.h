// Materials of a glTF file; what they hold beyond those of the host is counted as left out.
//
// One without metal, gloss, normal map and light of its own becomes a standard material. Where a
// file says nothing of metal it means none here: many exporters leave out what the format takes
// for metal.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "host/io/model_readers.h"

namespace tinygltf {
class Model;
struct Material;
struct Texture;
struct TextureInfo;
}  // namespace tinygltf

class PhysicalMtl;

class GltfMaterialReader {
public:
    GltfMaterialReader(const tinygltf::Model& model, ModelFiles& files);

    // The material of that number, read once and noted for the report; null for none.
    std::shared_ptr<StandardMtl> Get(int index);

private:
    struct BaseColor;

    BaseColor FindBaseColor(const tinygltf::Material& source) const;
    // Null for a material that a standard one can show.
    std::shared_ptr<PhysicalMtl> ReadPhysical(const tinygltf::Material& source,
                                              ImportedMaterial* report);
    // `report` hears of the texture in `slot`, where it is given.
    std::shared_ptr<BitmapTex> Texture(const tinygltf::TextureInfo& info, const char* slot,
                                       ImportedMaterial* report);
    int ImageOf(const tinygltf::Texture& texture) const;
    std::shared_ptr<BitmapTex> Image(size_t index, const char* slot, ImportedMaterial* report);
    std::shared_ptr<BitmapTex> PackedImage(size_t index, const char* slot,
                                           ImportedMaterial* report);
    void Wrap(const tinygltf::Texture& texture, BitmapTex* map);

    const tinygltf::Model& m_model;
    ModelFiles& m_files;
    std::vector<std::shared_ptr<StandardMtl>> m_materials;
    std::map<size_t, std::shared_ptr<const Bitmap>> m_packed;  // decoded images; null: unreadable
};
