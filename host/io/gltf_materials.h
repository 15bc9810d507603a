// The materials, textures, samplers and images of a glTF file in the making.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/io/gltf_text.h"
#include "host/scene/material.h"

class GltfMaterials {
public:
    // Images go into `buffer` when they are embedded, else into files named `prefix_N_name.ending`.
    GltfMaterials(GltfBuffer& buffer, bool embedImages, std::string prefix)
        : m_buffer(buffer), m_embed(embedImages), m_prefix(std::move(prefix)) {}

    // Number of the material, written at its first use; null is the host's default grey. False with
    // a reason in `error` when a map cannot be loaded.
    bool Add(const StandardMtl* material, size_t* number, std::string* error);

    // The JSON members of the file, each with a comma before it.
    std::string Members() const;
    bool UsesTextureTransform() const { return m_usesTransform; }
    bool UsesEmissiveStrength() const { return m_usesStrength; }
    // Image files to write beside the model: names without folder, and bytes.
    const std::vector<std::pair<std::string, std::string>>& ImageFiles() const { return m_files; }

private:
    // A texture reference as member `slot`, with a comma after it.
    std::string TextureMember(const char* slot, const StandardMtl& material, size_t image,
                              const std::string& more = "");
    // The base colour's texture; empty without a map. False when it cannot be loaded.
    bool AddBaseTexture(const StandardMtl& material, std::string* member, std::string* error);
    // The members of a physically based material: those inside and outside its usual model.
    bool AddPhysical(const class PhysicalMtl& material, std::string* inside, std::string* outside,
                     std::string* error);
    bool AddMap(const Reference<Texmap>& map, const char* slot, const std::string& more,
                std::string* member, std::string* error);
    std::string TransformMember(const class BitmapTex& map);
    size_t Sampler(const class BitmapTex* map);
    bool AddImage(const StandardMtl& material, std::string* error);

    GltfBuffer& m_buffer;
    bool m_embed;
    std::string m_prefix;
    bool m_usesTransform = false, m_usesStrength = false;
    JsonList m_materials, m_textures, m_samplers, m_images;
    std::unordered_map<const StandardMtl*, size_t> m_numbers;
    std::unordered_map<std::string, size_t> m_imageByKey, m_textureByText, m_samplerByText;
    std::vector<std::pair<std::string, std::string>> m_files;
};
