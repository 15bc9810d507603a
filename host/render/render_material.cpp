#include "host/render/render_material.h"

#include <algorithm>

namespace {

constexpr Color kDefaultGrey{0.5f, 0.5f, 0.5f};

}  // namespace

RenderMaterials::RenderMaterials(TimeValue time) : m_time(time) {
    m_grey.diffuse = kDefaultGrey;
    m_materials.push_back(Prepare(m_grey));
}

uint32_t RenderMaterials::Add(Mtl* mtl, int matID) {
    Mtl* shown = MtlOfFace(mtl, matID);
    if (!shown) return 0;
    auto [place, isNew] = m_indices.try_emplace(shown, uint32_t(m_materials.size()));
    if (isNew) m_materials.push_back(Prepare(*shown));
    return place->second;
}

std::unique_ptr<RenderMaterial> RenderMaterials::Prepare(Mtl& mtl) {
    std::vector<std::string> problems;
    ShadeNeeds needs;
    for (Mtl* part : WithSubMtls(mtl)) {
        part->Update(m_time, &problems);
        part->TellNeeds(&needs);
    }
    for (std::string& problem : problems)
        if (std::find(m_problems.begin(), m_problems.end(), problem) == m_problems.end())
            m_problems.push_back(std::move(problem));
    // Maps may ask for others, which join the end of the list.
    for (size_t i = 0; i < needs.maps.size(); ++i) needs.maps[i].map->TellNeeds(&needs);
    auto material = std::make_unique<RenderMaterial>();
    material->mtl = &mtl;
    material->time = m_time;
    material->canCut = needs.canCut;
    material->vertexColors = needs.vertexColors;
    material->tintsInstances = needs.tintsInstances;
    if (!needs.maps.empty()) material->channel = needs.maps[0].map->channel;
    for (const ShadeNeeds::Map& need : needs.maps)
        if (!material->Find(*need.map, need.use, need.cutoff))
            material->maps.push_back({need.map, need.use, need.cutoff, AddTexture(need)});
    return material;
}

const RenderTexture* RenderMaterials::AddTexture(const ShadeNeeds::Map& need) {
    auto& texture = m_textures[{need.map, need.use, need.cutoff}];
    if (!texture) texture = std::make_unique<RenderTexture>(*need.map, need.use, need.cutoff);
    return texture.get();
}
