#include "host/io/mtl_writer.h"

#include <fmt/format.h>

#include "host/base/near_path.h"
#include "host/scene/texmaps.h"

namespace {

constexpr float kDefaultGrey = 0.5f;  // as the renderer shows it

std::string ColorText(const Color& c) { return fmt::format("{} {} {}", c.r, c.g, c.b); }

// Readers take a name to the next blank or to the end of the line.
std::string WithoutBlanks(std::string name) {
    for (char& c : name)
        if (static_cast<unsigned char>(c) <= ' ') c = '_';
    return name;
}

}  // namespace

const std::string& MtlWriter::NameOf(const StandardMtl* material) {
    auto [entry, isNew] = m_names.try_emplace(material);
    if (!isNew) return entry->second;
    std::string& name = entry->second;
    if (!material) {
        name = UniqueName("default_grey");
        Color grey{kDefaultGrey, kDefaultGrey, kDefaultGrey};
        m_text += fmt::format("\nnewmtl {}\nKd {}\n", name, ColorText(grey));
        return name;
    }
    name = UniqueName(material->name->empty() ? "material" : WithoutBlanks(material->name));
    const Color& color = material->diffuseMap ? material->mapFactor : material->diffuse;
    m_text +=
        fmt::format("\nnewmtl {}\nKd {}\nd {}\n", name, ColorText(color), material->opacity.Get());
    AddMap("map_Kd", *material, material->diffuseMap.Get());
    AddMap("map_d", *material, material->opacityMap.Get());
    return name;
}

std::string MtlWriter::UniqueName(const std::string& wanted) {
    std::string name = wanted;
    for (int k = 2; !m_taken.insert(name).second; ++k) name = fmt::format("{}_{}", wanted, k);
    return name;
}

void MtlWriter::AddMap(const char* keyword, const StandardMtl& material, const Texmap* map) {
    if (!map) return;
    std::string place = fmt::format("material \"{}\": ", material.name.Get());
    if (map->ImageFile().empty())
        return Warn(fmt::format("{}a map without an image file is left out ({})", place, keyword));
    auto* bitmap = dynamic_cast<const BitmapTex*>(map);
    if (map->RotationDegrees() != 0) Warn(place + "the rotation of a map is left out");
    if (bitmap && bitmap->wrap == BitmapTex::Wrap::kMirror)
        Warn(place + "a mirrored map is written as a repeated one");
    if (bitmap && bitmap->alphaOnly)
        Warn(fmt::format("{}{} names an image whose alpha alone is meant", place, keyword));
    m_text += keyword;
    if (!(map->tiling.Get() == Point2{1, 1}))
        m_text += fmt::format(" -s {} {} 1", map->tiling->x, map->tiling->y);
    if (!(map->offset.Get() == Point2{}))
        m_text += fmt::format(" -o {} {} 0", map->offset->x, map->offset->y);
    if (bitmap && bitmap->wrap == BitmapTex::Wrap::kClamp) m_text += " -clamp on";
    m_text += ' ' + NearPath(map->ImageFile(), m_folder) + '\n';
}
