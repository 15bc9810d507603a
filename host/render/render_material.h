// Materials as renderers ask them: brought to the time of the picture, their maps prepared.
//
// Immutable once a scene is built; threads share it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "host/render/render_texture.h"
#include "host/scene/material.h"

struct RenderMaterial {
    const Mtl* mtl = nullptr;  // never null in a finished one
    TimeValue time = 0;
    bool canCut = false, vertexColors = false, tintsInstances = false;
    // Mapping channel that meshes keep at hand: the first map's.
    int channel = 1;

    // The prepared form of a map that the material told of; null for any other.
    const RenderTexture* Find(const Texmap& map, MapUse use, float cutoff = 0) const {
        for (const Map& m : maps)
            if (m.map == &map && m.use == use && m.cutoff == cutoff) return m.texture;
        return nullptr;
    }

    struct Map {
        const Texmap* map;
        MapUse use;
        float cutoff;
        const RenderTexture* texture;
    };
    std::vector<Map> maps;  // a handful
};

// All materials and textures of one render, each prepared once.
class RenderMaterials {
public:
    explicit RenderMaterials(TimeValue time = 0);
    // Index of the material that `mtl` shows on faces of an id; 0 is the default grey. The material
    // is updated, and must outlive this.
    uint32_t Add(Mtl* mtl, int matID);
    const RenderMaterial& operator[](size_t i) const { return *m_materials[i]; }
    // What could not be prepared, each once.
    const std::vector<std::string>& Problems() const { return m_problems; }

private:
    std::unique_ptr<RenderMaterial> Prepare(Mtl& mtl);
    const RenderTexture* AddTexture(const ShadeNeeds::Map& need);

    TimeValue m_time;
    std::vector<std::string> m_problems;
    std::vector<std::unique_ptr<RenderMaterial>> m_materials;
    std::unordered_map<const Mtl*, uint32_t> m_indices;
    using TextureKey = std::tuple<const Texmap*, MapUse, float>;  // with the cutoff
    std::map<TextureKey, std::unique_ptr<RenderTexture>> m_textures;
    StandardMtl m_grey;
};
