// Material libraries of OBJ files, and what the readers share about materials.

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/io/bitmap.h"
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
    MtlReader(const std::string& path, std::vector<NamedMtl>* materials,
              std::vector<std::string>* warnings)
        : m_path(path), m_materials(materials), m_warnings(warnings) {}

    void Read(std::string_view bytes) {
        TextScanner text(bytes);
        while (text.NextLine()) {
            std::string_view keyword = text.Word();
            if (keyword == "newmtl") {
                m_current = std::make_shared<StandardMtl>();
                m_current->name = Trimmed(text.Rest());
                m_materials->push_back({m_current->name, m_current});
            } else if (m_current) {
                Statement(keyword, text);
            }
        }
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
        } else if (keyword == "d" && text.Number(&value)) {
            m_current->opacity = std::clamp(value, 0.0f, 1.0f);
        } else if (keyword == "Tr" && text.Number(&value)) {
            m_current->opacity = std::clamp(1 - value, 0.0f, 1.0f);
        } else if (keyword == "map_Kd") {
            m_current->diffuseMap = Map(text);
        } else if (keyword == "map_d") {
            m_current->opacityMap = Map(text);
        }
    }
    std::shared_ptr<Texmap> Map(TextScanner& text) {
        MapStatement statement = ReadMap(text);
        std::shared_ptr<Texmap> map = TextureBeside(m_path, statement.file, m_warnings);
        if (!map) return nullptr;
        map->tiling = statement.tiling, map->offset = statement.offset;
        if (statement.clamp) static_cast<BitmapTex*>(map.get())->wrap = BitmapTex::Wrap::kClamp;
        return map;
    }

    const std::string& m_path;
    std::vector<NamedMtl>* m_materials;
    std::vector<std::string>* m_warnings;
    std::shared_ptr<StandardMtl> m_current;
};

}  // namespace

void ReadMtl(const std::string& path, std::vector<NamedMtl>* materials,
             std::vector<std::string>* warnings) {
    std::string error;
    std::optional<std::string> bytes = ReadWholeFile(path, kMaxLibraryBytes, &error);
    if (!bytes) return warnings->push_back(error);
    MtlReader(path, materials, warnings).Read(*bytes);
}

std::shared_ptr<Texmap> TextureBeside(const std::string& modelPath, const std::string& image,
                                      std::vector<std::string>* warnings) {
    std::string relative = image;
    std::replace(relative.begin(), relative.end(), '\\', '/');
    std::filesystem::path folder = std::filesystem::path(modelPath).parent_path();
    std::filesystem::path named = folder / relative, beside = folder / named.filename();
    std::string error, ignored;
    if (image.empty()) {
        warnings->push_back(fmt::format("{}: a map names no file", modelPath));
        return nullptr;
    }
    // Paths of the author's own machine are common; the image itself often lies beside the model.
    std::filesystem::path path = named;
    if (!RegularFileSize(named.string(), &error)) path = beside;
    if (path == beside && !RegularFileSize(beside.string(), &ignored)) {
        warnings->push_back(fmt::format("{}: texture left out: {}", modelPath, error));
        return nullptr;
    }
    std::shared_ptr<BitmapTex> map = MakeBitmapTex(path.string());
    map->name = path.filename().string();
    return map;
}

std::shared_ptr<Mtl> CombineMaterials(const std::vector<std::shared_ptr<Mtl>>& used) {
    if (std::all_of(used.begin(), used.end(), [](auto& m) { return !m; })) return nullptr;
    if (used.size() == 1) return used[0];
    auto multi = std::make_shared<MultiMtl>();
    for (const std::shared_ptr<Mtl>& m : used) multi->Append(m);
    return multi;
}
