// Material libraries of OBJ files, and what the readers share about materials.

#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/io/model_readers.h"
#include "host/io/text_scanner.h"

namespace {

constexpr uint64_t kMaxLibraryBytes = 64 << 20;

std::string Trimmed(std::string_view text) {
    size_t first = text.find_first_not_of(" \t\r"), last = text.find_last_not_of(" \t\r");
    return first == text.npos ? std::string() : std::string(text.substr(first, last - first + 1));
}

// What a map statement says: options, then the file name to the end of the line.
struct MapStatement {
    Point2 tiling{1, 1}, offset;
    bool clamp = false;
    std::string file;
};

void ReadPair(TextScanner& text, Point2* pair) {
    float third;
    if (text.Number(&pair->x) && text.Number(&pair->y)) text.Number(&third);
}

MapStatement ReadMap(TextScanner& text) {
    MapStatement map;
    while (!text.AtLineEnd() && text.Rest()[0] == '-') {
        std::string_view option = text.Word();
        float number;
        if (option == "-s") {
            ReadPair(text, &map.tiling);
        } else if (option == "-o") {
            ReadPair(text, &map.offset);
        } else if (option == "-clamp") {
            map.clamp = text.Word() == "on";
        } else if (option == "-mm" || option == "-t") {
            while (text.Number(&number)) {
            }
        } else {
            text.Word();  // every other option has one value
        }
    }
    map.file = Trimmed(text.Rest());
    return map;
}

class MtlReader {
public:
    MtlReader(ModelFiles& files, std::vector<NamedMtl>* materials)
        : m_files(files), m_materials(materials) {}

    void Read(std::string_view bytes) {
        TextScanner text(bytes);
        while (text.NextLine()) {
            std::string_view keyword = text.Word();
            if (keyword == "newmtl") {
                Close();
                m_current = std::make_shared<StandardMtl>();
                m_current->name = Trimmed(text.Rest());
                m_report.name = m_current->name;
                m_materials->push_back({m_current->name, m_current});
            } else if (keyword.substr(0, 1) == "#") {
                m_isMeshLab |= text.Rest().find("Meshlab") != std::string_view::npos ||
                               text.Rest().find("MeshLab") != std::string_view::npos;
            } else if (m_current) {
                Statement(keyword, text);
            }
        }
        Close();
    }

private:
    void Statement(std::string_view keyword, TextScanner& text) {
        float value = 0;
        if (keyword == "Kd") {
            Color c;
            if (text.Number(&c.r)) {
                c.g = c.b = c.r;
                if (text.Number(&c.g)) text.Number(&c.b);
                m_current->diffuse = c;
            }
        } else if (keyword == "d") {
            if (text.Number(&value)) m_dissolve = value;
        } else if (keyword == "Tr") {
            if (text.Number(&value)) m_transparency = value;
        } else if (keyword == "map_Kd") {
            m_current->diffuseMap = Map(text, "diffuse");
        } else if (keyword == "map_d") {
            m_current->opacityMap = Map(text, "opacity");
        } else if (keyword == "map_Bump" || keyword == "map_bump" || keyword == "bump" ||
                   keyword == "norm") {
            m_files.LeaveOut("bump map");
        } else if (keyword.substr(0, 4) == "map_" || keyword == "disp" || keyword == "refl") {
            m_files.LeaveOut("map of other properties");
        }
    }
    // `Tr` is 1 - `d`, except in MeshLab, where it is another word for it; `d` wins over both. A
    // file in which things vanish without a `d` had the other meaning in mind.
    void Close() {
        if (!m_current) return;
        float opacity = 1;
        if (m_dissolve)
            opacity = *m_dissolve;
        else if (m_transparency)
            opacity = m_isMeshLab || *m_transparency == 1 ? *m_transparency : 1 - *m_transparency;
        m_current->opacity = opacity >= 0 ? std::min(opacity, 1.0f) : 0;
        MendMaterial(*m_current, m_files);
        bool isOpaque = m_current->opacity == 1.0f && !m_current->opacityMap;
        m_report.alpha = isOpaque ? ImportedAlpha::kOpaque : ImportedAlpha::kBlend;
        m_files.Model().materials.push_back(std::move(m_report));
        m_report = {};
        m_current = nullptr;
        m_dissolve = m_transparency = std::nullopt;
    }
    std::shared_ptr<Texmap> Map(TextScanner& text, const char* slot) {
        MapStatement statement = ReadMap(text);
        std::shared_ptr<BitmapTex> map = m_files.Texture(statement.file, slot, &m_report);
        if (!map) return nullptr;
        map->tiling = statement.tiling, map->offset = statement.offset;
        if (statement.clamp) map->wrap = BitmapTex::Wrap::kClamp;
        return map;
    }

    ModelFiles& m_files;
    std::vector<NamedMtl>* m_materials;
    std::shared_ptr<StandardMtl> m_current;
    ImportedMaterial m_report;
    std::optional<float> m_dissolve, m_transparency;
    bool m_isMeshLab = false;
};

}  // namespace

void ReadMtl(const std::string& library, ModelFiles& files, std::vector<NamedMtl>* materials) {
    std::string error;
    std::optional<std::string> path = files.Resolve(library, &error), bytes;
    if (path) bytes = ReadWholeFile(*path, kMaxLibraryBytes, &error);
    if (!bytes) return files.Warn("material library left out: " + error);
    MtlReader(files, materials).Read(*bytes);
}

void MendMaterial(StandardMtl& material, ModelFiles& files) {
    if (material.opacity == 0.0f && !material.opacityMap) {
        files.Warn(fmt::format("material \"{}\" has no opacity at all; it is shown opaque",
                               material.name.Get()));
        material.opacity = 1;
    }
    if (material.diffuseMap && material.diffuse == Color{0, 0, 0}) {
        files.Warn(
            fmt::format("material \"{}\" has a texture under the colour black; the texture "
                        "is shown alone",
                        material.name.Get()));
        material.diffuse = {1, 1, 1};
    }
}

std::shared_ptr<StandardMtl> VertexColorMtl() {
    auto material = std::make_shared<StandardMtl>();
    material->name = "vertex colours";
    material->diffuse = {1, 1, 1};
    material->vertexColors = true;
    return material;
}

std::shared_ptr<Mtl> CombineMaterials(const std::vector<std::shared_ptr<Mtl>>& used) {
    if (std::all_of(used.begin(), used.end(), [](auto& m) { return !m; })) return nullptr;
    if (used.size() == 1) return used[0];
    auto multi = std::make_shared<MultiMtl>();
    for (const std::shared_ptr<Mtl>& m : used) multi->Append(m);
    return multi;
}
