#include "host/io/gltf_file.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>
#include <tiny_gltf.h>
#include <nlohmann/json.hpp>

#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/io/json_depth.h"

namespace {

constexpr uint64_t kMaxBufferBytes = uint64_t{4} << 30;
constexpr const char* kDraco = "KHR_draco_mesh_compression";
constexpr size_t kHeaderBytes = 12, kChunkHeaderBytes = 8;

// Extensions that are read.
constexpr std::string_view kRead[] = {"KHR_texture_transform",
                                      "KHR_mesh_quantization",
                                      "KHR_materials_emissive_strength",
                                      "KHR_draco_mesh_compression",
                                      "EXT_meshopt_compression",
                                      "EXT_mesh_gpu_instancing",
                                      "KHR_materials_pbrSpecularGlossiness",
                                      "EXT_texture_webp",
                                      "MSFT_texture_dds"};

// Extensions that say nothing about shapes: a file that requires one is shown without it.
bool ConcernsLooksOnly(std::string_view name) {
    for (std::string_view start :
         {"KHR_materials_", "EXT_materials_", "KHR_texture_", "EXT_texture_", "MSFT_texture_",
          "KHR_lights_", "EXT_lights_", "KHR_animation_", "KHR_xmp", "KHR_audio", "MSFT_packing_"})
        if (name.substr(0, start.size()) == start) return true;
    return false;
}

bool IsRead(std::string_view name) {
    return std::find(std::begin(kRead), std::end(kRead), name) != std::end(kRead);
}

// The library asks for files through these, by their names in the file.
bool IsImage(const std::string& name) {
    size_t dot = name.find_last_of('.');
    std::string ending = dot == name.npos ? "" : name.substr(dot);
    for (char& c : ending) c = char(std::tolower(uint8_t(c)));
    for (const char* known : {".png", ".jpg", ".jpeg", ".webp", ".ktx2", ".dds", ".avif"})
        if (ending == known) return true;
    return false;
}
bool FileExists(const std::string& name, void* files) {
    std::string ignored;
    return !IsImage(name) && static_cast<ModelFiles*>(files)->Resolve(name, &ignored);
}
std::string ExpandPath(const std::string& name, void*) { return name; }
bool ReadFile(std::vector<unsigned char>* out, std::string* error, const std::string& name,
              void* files) {
    std::string reason;
    std::optional<std::string> path = static_cast<ModelFiles*>(files)->Resolve(name, &reason);
    std::optional<std::string> bytes;
    if (path) bytes = ReadWholeFile(*path, kMaxBufferBytes, &reason);
    if (bytes)
        out->assign(bytes->begin(), bytes->end());
    else if (error)
        *error += reason;
    return bytes.has_value();
}
bool WriteNothing(std::string*, const std::string&, const std::vector<unsigned char>&, void*) {
    return false;
}
// Packed images stay encoded until a material wants them; files are read by their own reader.
bool KeepEncoded(tinygltf::Image* image, const int, std::string*, std::string*, int, int,
                 const unsigned char* bytes, int size, void*) {
    if (image->uri.empty()) image->image.assign(bytes, bytes + size);
    return true;
}

std::string Word(uint64_t value) {
    auto word = uint32_t(value);
    return {reinterpret_cast<const char*>(&word), sizeof word};
}

// A buffer that only stands for what is compressed elsewhere has no bytes; the library wants some.
bool FillFallbacks(nlohmann::json& root) {
    bool isChanged = false;
    if (!root.contains("buffers") || !root["buffers"].is_array()) return false;
    for (nlohmann::json& buffer : root["buffers"]) {
        if (!buffer.is_object() || buffer.contains("uri") || !buffer.contains("extensions") ||
            !buffer["extensions"].is_object())
            continue;
        for (const auto& [name, extension] : buffer["extensions"].items()) {
            bool isFallback = extension.is_object() && extension.contains("fallback") &&
                              extension["fallback"] == true;
            if (!isFallback) continue;
            buffer["uri"] = "data:application/octet-stream;base64,AA==";
            buffer["byteLength"] = 1;
            isChanged = true;
            break;
        }
    }
    return isChanged;
}

// Indices of packed primitives have no buffer either; they come with what is unpacked.
bool DropPackedIndices(nlohmann::json& root) {
    bool isChanged = false;
    if (!root.contains("meshes") || !root["meshes"].is_array()) return false;
    for (nlohmann::json& mesh : root["meshes"]) {
        if (!mesh.is_object() || !mesh.contains("primitives") || !mesh["primitives"].is_array())
            continue;
        for (nlohmann::json& primitive : mesh["primitives"])
            if (primitive.is_object() && primitive.contains("extensions") &&
                primitive["extensions"].is_object() && primitive["extensions"].contains(kDraco))
                isChanged |= primitive.erase("indices") > 0;
    }
    return isChanged;
}

// The JSON without what the library refuses in compressed files; empty when nothing is to change.
std::string WithoutGaps(std::string_view json) {
    bool mayHaveFallbacks = json.find("\"fallback\"") != json.npos;
    bool isPacked = json.find(kDraco) != json.npos;
    if (!mayHaveFallbacks && !isPacked) return {};
    nlohmann::json root = nlohmann::json::parse(json, nullptr, false);
    if (!root.is_object()) return {};
    bool isChanged = mayHaveFallbacks && FillFallbacks(root);
    if (isPacked) isChanged |= DropPackedIndices(root);
    return isChanged ? root.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) : "";
}

// The file with other JSON, `length` bytes of which stand in it now.
std::string WithJson(std::string_view bytes, size_t length, std::string json) {
    json.resize((json.size() + 3) / 4 * 4, ' ');
    std::string_view rest = bytes.substr(kHeaderBytes + kChunkHeaderBytes + length);
    uint64_t total = kHeaderBytes + kChunkHeaderBytes + json.size() + rest.size();
    std::string result = "glTF" + Word(2) + Word(total) + Word(json.size()) + "JSON" + json;
    return result.append(rest);
}

// glTF 1 names the things that glTF 2 numbers.
bool IsVersion1(std::string_view json) {
    nlohmann::json root = nlohmann::json::parse(json, nullptr, false);
    return root.is_object() && root.contains("meshes") && root["meshes"].is_object();
}

std::string Reason(const std::string& text) {
    std::string line = FirstLine(text);
    return line.empty() ? "the library cannot read it" : line;
}

class Parser {
public:
    Parser(ModelFiles& files, tinygltf::Model* model, ImportError* error)
        : m_files(files), m_model(model), m_error(error) {}

    bool Parse(std::string_view bytes) {
        bool isBinary = bytes.substr(0, 4) == "glTF";
        if (bytes.size() >= kMaxBufferBytes)
            return Fail("more than 4 GiB, which a glTF file cannot have; no option raises this",
                        ImportFailure::kLimit);
        std::string_view json = bytes;
        if (isBinary && !FindJson(bytes, &json)) return false;
        constexpr const char* kBlanks = " \t\r\n\xEF\xBB\xBF";
        size_t first = json.find_first_not_of(kBlanks);
        if (first == json.npos || json[first] != '{') return Fail("not a glTF file");
        if (size_t depth = JsonDepth(json); depth > kMaxJsonDepth)
            return Fail(
                fmt::format("{} levels of nesting, at most {} are read", depth, kMaxJsonDepth));
        std::string changed = WithoutGaps(json);
        if (!changed.empty() && isBinary) changed = WithJson(bytes, json.size(), changed);
        return Load(changed.empty() ? bytes : std::string_view(changed), isBinary);
    }

private:
    bool Fail(const std::string& what, ImportFailure kind = ImportFailure::kMalformed) {
        return FailImport(m_error, fmt::format("{}: {}", m_files.Path(), what), kind);
    }
    bool FindJson(std::string_view bytes, std::string_view* json) {
        constexpr size_t kStart = kHeaderBytes + kChunkHeaderBytes;
        uint32_t version = 0, length = 0;
        if (bytes.size() < kStart) return Fail("the file ends within its header");
        std::memcpy(&version, bytes.data() + 4, 4);
        std::memcpy(&length, bytes.data() + kHeaderBytes, 4);
        if (version != 2) return Fail(fmt::format("glTF {}, only version 2 is read", version));
        if (length > bytes.size() - kStart) return Fail("the file ends within its JSON");
        *json = bytes.substr(kStart, length);
        return true;
    }
    bool Load(std::string_view bytes, bool isBinary) {
        tinygltf::TinyGLTF parser;
        parser.SetImageLoader(KeepEncoded, nullptr);
        parser.SetFsCallbacks({FileExists, ExpandPath, ReadFile, WriteNothing, &m_files});
        std::string reason, warning;
        bool ok = isBinary ? parser.LoadBinaryFromMemory(
                                 m_model, &reason, &warning,
                                 reinterpret_cast<const unsigned char*>(bytes.data()),
                                 unsigned(bytes.size()), "")
                           : parser.LoadASCIIFromString(m_model, &reason, &warning, bytes.data(),
                                                        unsigned(bytes.size()), "");
        if (!ok && !isBinary && IsVersion1(bytes)) return Fail("glTF 1, only version 2 is read");
        if (!ok) return Fail(Reason(reason));
        const std::string& version = m_model->asset.version;
        if (!version.empty() && version[0] != '2')
            return Fail(fmt::format("glTF {}, only version 2 is read", version));
        return true;
    }

    ModelFiles& m_files;
    tinygltf::Model* m_model;
    ImportError* m_error;
};

bool NoteExtensions(const tinygltf::Model& model, ModelFiles& files, ImportError* error) {
    std::vector<std::string> names = model.extensionsUsed;
    for (const std::string& name : model.extensionsRequired) {
        if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        if (!IsRead(name) && !ConcernsLooksOnly(name))
            return FailImport(error, fmt::format("{}: requires the extension {}, which is not read",
                                                 files.Path(), name));
    }
    std::string unread;
    for (const std::string& name : names) {
        files.Model().extensions.push_back({name, IsRead(name)});
        if (!IsRead(name)) unread += (unread.empty() ? "" : ", ") + name;
    }
    if (!unread.empty()) files.Warn("extensions that are not read: " + unread);
    return true;
}

}  // namespace

bool ParseGltf(std::string_view bytes, ModelFiles& files, tinygltf::Model* model,
               ImportError* error) {
    return Parser(files, model, error).Parse(bytes) && NoteExtensions(*model, files, error);
}

bool UnpackGltf(ModelFiles& files, tinygltf::Model* model, ImportError* error) {
    return UnpackMeshoptViews(files, model, error) && UnpackDracoPrimitives(files, model, error);
}
