// Materials of a glTF file: base colour and alpha; what else they hold is counted as left out.
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

class GltfMaterialReader {
public:
    GltfMaterialReader(const tinygltf::Model& model, ModelFiles& files);

    // The material of that number, read once and noted for the report; null for none.
    std::shared_ptr<StandardMtl> Get(int index);

private:
    struct BaseColor;

    BaseColor FindBaseColor(const tinygltf::Material& source) const;
    void CountLeftOut(const tinygltf::Material& source);
    std::shared_ptr<BitmapTex> Texture(const tinygltf::TextureInfo& info, ImportedMaterial* report);
    int ImageOf(const tinygltf::Texture& texture) const;
    std::shared_ptr<BitmapTex> Image(size_t index, ImportedMaterial* report);
    std::shared_ptr<BitmapTex> PackedImage(size_t index, ImportedMaterial* report);
    void Wrap(const tinygltf::Texture& texture, BitmapTex* map);

    const tinygltf::Model& m_model;
    ModelFiles& m_files;
    std::vector<std::shared_ptr<StandardMtl>> m_materials;
    std::map<size_t, std::shared_ptr<const Bitmap>> m_packed;  // decoded images; null: unreadable
};
