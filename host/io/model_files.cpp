#include "host/io/model_files.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/io/bitmap.h"
#include "host/io/image_kind.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kMaxWarnings = 100;
constexpr size_t kMaxSearchedFiles = 10000;  // of a folder, for a name in another case

// Both separators, as stored paths have them.
fs::path NativePath(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return {text};
}

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

// The file of that name in a folder, or one that differs in the case of letters only.
fs::path FindInFolder(const fs::path& folder, const fs::path& name) {
    std::error_code failed;
    if (fs::exists(folder / name, failed)) return folder / name;
    size_t searched = 0;
    for (const auto& entry : fs::directory_iterator(folder, failed)) {
        if (Lower(entry.path().filename().string()) == Lower(name.string())) return entry.path();
        if (++searched > kMaxSearchedFiles) break;
    }
    return {};
}

// "3 maps of other properties", "2 lights".
std::string Counted(size_t count, const std::string& kind) {
    size_t noun = std::min(kind.find(" of "), kind.size());
    return fmt::format("{} {}{}{}", count, kind.substr(0, noun), count == 1 ? "" : "s",
                       kind.substr(noun));
}

bool IsReadableImage(const std::string& path, std::string* error) {
    uint64_t size = 0;
    auto head = ReadFileHead(path, kImageKindBytes, &size, error);
    if (!head) return false;
    if (!ImageKind(*head, path).empty()) return true;
    *error = DescribeUnreadImage(*head, path);
    return false;
}

}  // namespace

std::string DescribeUnreadImage(std::string_view head, const std::string& name) {
    bool isKtx = head.substr(1, 4) == "KTX ";
    return fmt::format("{} is {}, which is not read; images may be {}", name,
                       isKtx ? "a KTX texture" : "of an unknown kind", kImageKinds);
}

ModelFiles::ModelFiles(const std::string& modelPath, const std::vector<std::string>& roots,
                       ImportedModel* model)
    : m_path(modelPath), m_folder(fs::path(modelPath).parent_path()), m_model(model) {
    std::error_code failed;
    fs::path linked = fs::weakly_canonical(modelPath, failed).parent_path();
    for (const fs::path& root : {m_folder.empty() ? fs::path(".") : m_folder, linked}) {
        fs::path canonical = fs::weakly_canonical(root, failed);
        if (!canonical.empty()) m_roots.push_back(canonical);
    }
    for (const std::string& root : roots) {
        fs::path canonical = fs::weakly_canonical(root.empty() ? "." : root, failed);
        if (!canonical.empty()) m_roots.push_back(canonical);
    }
}

void ModelFiles::Warn(const std::string& what) {
    std::vector<std::string>& warnings = m_model->warnings;
    std::string text = fmt::format("{}: {}", m_path, what);
    if (std::find(warnings.begin(), warnings.end(), text) != warnings.end()) return;
    if (warnings.size() < kMaxWarnings)
        warnings.push_back(text);
    else if (warnings.size() == kMaxWarnings)
        warnings.push_back(fmt::format("{}: further warnings are left out", m_path));
}

void ModelFiles::Finish() {
    std::string text;
    for (const auto& [kind, count] : m_leftOut)
        if (count > 0) text += (text.empty() ? "" : ", ") + Counted(count, kind);
    if (!text.empty()) Warn("left out: " + text);
    m_leftOut.clear();
}

bool ModelFiles::IsInside(const fs::path& path) const {
    std::error_code failed;
    fs::path canonical = fs::weakly_canonical(path, failed);
    if (failed || canonical.empty()) return false;
    return std::any_of(m_roots.begin(), m_roots.end(), [&](const fs::path& root) {
        return std::mismatch(root.begin(), root.end(), canonical.begin(), canonical.end()).first ==
               root.end();
    });
}

std::optional<std::string> ModelFiles::Resolve(const std::string& name, std::string* error) const {
    if (name.empty() || name.find('\0') != name.npos)
        return *error = "no file is named", std::nullopt;
    fs::path path = m_folder / NativePath(name);
    if (!IsInside(path)) {
        *error = fmt::format(
            "{} lies outside the folders of the scene and the model, and is not "
            "opened; a scene in a folder that holds both reads it",
            name);
        return std::nullopt;
    }
    if (!RegularFileSize(path.string(), error)) return std::nullopt;
    return path.string();
}

std::optional<std::string> ModelFiles::FindImage(const std::string& image, std::string* error) {
    if (auto path = Resolve(image, error)) return path;
    fs::path named = NativePath(image), name = named.filename();
    fs::path above = m_folder / "..";
    std::vector<fs::path> folders{m_folder, m_folder / "textures", above / "textures",
                                  above / "materials" / "textures"};
    if (!named.is_absolute()) folders.insert(folders.begin(), m_folder / named.parent_path());
    for (fs::path folder : folders) {
        if (folder.empty()) folder = ".";
        if (!IsInside(folder)) continue;
        fs::path found = FindInFolder(folder, name);
        std::string ignored;
        if (found.empty() || !IsInside(found) || !RegularFileSize(found.string(), &ignored))
            continue;
        Warn(fmt::format("the texture {} is taken from {}", image, found.string()));
        return found.string();
    }
    return std::nullopt;
}

std::shared_ptr<BitmapTex> ModelFiles::Texture(const std::string& image, const std::string& slot,
                                               ImportedMaterial* material) {
    std::string error;
    std::optional<std::string> path;
    if (image.empty())
        error = "a map names no file";
    else
        path = FindImage(image, &error);
    if (material) material->textures.push_back({slot, image, path.has_value()});
    if (path && !IsReadableImage(*path, &error)) path.reset();
    if (!path) return Warn("texture left out: " + error), nullptr;
    std::shared_ptr<BitmapTex> map = MakeBitmapTex(*path);
    map->name = fs::path(*path).filename().string();
    return map;
}

std::shared_ptr<const Bitmap> ModelFiles::PackedImage(std::string_view bytes,
                                                      const std::string& name, std::string* error) {
    std::shared_ptr<const Bitmap> image =
        ReadBitmapFromMemory(bytes, name, error, m_packedImageBytes);
    if (image) m_packedImageBytes += image->BytesHeld();
    return image;
}
