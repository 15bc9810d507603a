// The materials of a USD file in the making, as UsdPreviewSurface networks.
//
// Source: UsdPreviewSurface, version 2.5.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/io/usd_text.h"
#include "host/scene/material.h"

class UsdMaterials {
public:
    // root: path of the prim that holds the materials; usdPath: of the file, from whose folder
    // images are named. Warnings: what is left out, a sentence each.
    UsdMaterials(std::string root, const std::string& usdPath, std::vector<std::string>* warnings);

    // Path of the prim that shows a material, made at its first use; null is the host's default
    // grey. False with a reason in `error` when a map cannot be loaded.
    bool Add(const StandardMtl* material, std::string* path, std::string* error);

    // All prims.
    const std::string& Text() const { return m_text; }
    // Images that no file holds as they are shown, to be written beside: names without folder, and
    // bytes.
    const std::vector<std::pair<std::string, std::string>>& ImageFiles() const { return m_files; }

private:
    struct Image {
        std::string file;  // as the layer names it
        char alpha = 'a';  // the channel that holds an opacity
    };
    // One texture of a material, with what is before and behind it.
    struct Texture {
        const char* name;  // of its prim
        const Texmap* map = nullptr;
        Image image{};
        AColor scale{1, 1, 1, 1}, bias{0, 0, 0, 0};
        bool isColor = false;  // display colours, not plain numbers
        std::vector<std::string> outputs{};
    };

    bool FindColorImage(const Reference<Texmap>& map, Image* image, std::string* error);
    bool FindAlphaImage(const Reference<Texmap>& map, Image* image, std::string* error);
    bool BakeImage(const StandardMtl& carrier, Image* image, std::string* error);
    std::string FileFromFolder(const std::string& file) const;

    bool AddDiffuse(const StandardMtl& material, std::string* error);
    bool AddOpacity(const StandardMtl& material, std::string* error);
    bool AddPhysical(const class PhysicalMtl& material, std::string* error);
    void Connect(const char* type, const char* input, Texture& texture, const char* output);
    void WriteTextures();
    void WriteTexture(const Texture& texture);
    void TellOfLeftOut(const StandardMtl& material);
    void Warn(const StandardMtl& material, const std::string& text);

    std::string m_root, m_folder, m_stem;
    std::vector<std::string>* m_warnings;
    UsdNames m_names;
    std::string m_text;
    std::unordered_map<const StandardMtl*, std::string> m_paths;
    std::unordered_map<std::string, Image> m_baked;
    std::vector<std::pair<std::string, std::string>> m_files;

    // Of the material in hand.
    std::string m_name, m_path, m_inputs;
    std::vector<Texture> m_textures;
};
