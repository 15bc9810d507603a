#include "Dravin/config/effect_library.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/main_folder.h"
#include "host/base/atomic_file.h"
#include "host/base/file_input.h"
#include "host/base/text.h"

namespace fs = std::filesystem;

std::vector<std::string> ShippedEffects() {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(EffectFolder(), error))
        if (entry.path().extension() == ".xml") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool FindShippedEffect(const std::string& name, std::string* path, std::string* error) {
    std::vector<std::string> names = ShippedEffects();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        *error = fmt::format("unknown effect \"{}\" in {}{}", name, EffectFolder(),
                             DidYouMean(name, names));
        return false;
    }
    *path = (fs::path(EffectFolder()) / (name + ".xml")).string();
    return true;
}

namespace {

constexpr const char* kEnding = ".xml";
constexpr uint64_t kMaxBytes = 16 << 20;

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

bool Fail(std::string* error, const std::string& path, const std::error_code& code) {
    *error = fmt::format("{}: {}", path, code.message());
    return false;
}

bool Exists(const std::string& path) {
    std::error_code code;
    return fs::symlink_status(path, code).type() != fs::file_type::not_found;
}

}  // namespace

std::optional<std::string> TEffectLibrary::PathOf(const std::string& name,
                                                  std::string* error) const {
    bool isGood = !name.empty() && name.find('\0') == name.npos && name.back() != '/';
    for (const fs::path& part : fs::path(name))
        isGood &= !part.empty() && part.string().front() != '.' && part.string() != "/";
    if (isGood) return (fs::path(m_folder) / name).string();
    *error = fmt::format(
        "\"{}\" is no name in a library: it is empty, leaves the library or begins with a dot",
        CutText(name, 60));
    return std::nullopt;
}

std::optional<std::vector<TEffectLibrary::Entry>> TEffectLibrary::List(const std::string& folder,
                                                                       std::string* error) const {
    std::optional<std::string> path = folder.empty() ? m_folder : PathOf(folder, error);
    if (!path) return std::nullopt;
    std::error_code code;
    std::vector<Entry> entries;
    for (fs::directory_iterator it(*path, code), end; !code && it != end; it.increment(code)) {
        std::error_code unknown;
        std::string name = it->path().filename().string();
        if (name.front() == '.') continue;
        if (it->is_directory(unknown))
            entries.push_back({name, true});
        else if (Lower(it->path().extension().string()) == kEnding)
            entries.push_back({it->path().stem().string(), false});
    }
    if (code) return Fail(error, *path, code), std::nullopt;
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        return std::pair(Lower(a.name), a.name) < std::pair(Lower(b.name), b.name);
    });
    return entries;
}

std::optional<std::string> TEffectLibrary::Load(const std::string& name, std::string* error) const {
    std::optional<std::string> path = PathOf(name, error);
    return path ? ReadWholeFile(*path + kEnding, kMaxBytes, error) : std::nullopt;
}

bool TEffectLibrary::Save(const std::string& name, const std::string& text, bool replaces,
                          std::string* error) {
    std::optional<std::string> path = PathOf(name, error);
    if (!path) return false;
    if (!replaces && Exists(*path + kEnding)) {
        *error = fmt::format("the library has an effect \"{}\" already", name);
        return false;
    }
    std::error_code code;
    fs::create_directories(fs::path(*path).parent_path(), code);
    if (code) return Fail(error, *path, code);
    AtomicFile file;
    if (!file.Open(*path + kEnding, error)) return false;
    file.Write(text);
    return file.Commit(error);
}

bool TEffectLibrary::Rename(const std::string& name, const std::string& newName,
                            std::string* error) {
    std::optional<std::string> from = PathOf(name, error), to = PathOf(newName, error);
    if (!from || !to) return false;
    std::error_code unknown;
    bool isFolder = fs::is_directory(*from, unknown);
    if (!isFolder) *from += kEnding, *to += kEnding;
    if (Exists(*to)) {
        *error = fmt::format("the library has a \"{}\" already", newName);
        return false;
    }
    std::error_code code;
    fs::create_directories(fs::path(*to).parent_path(), code);
    if (!code) fs::rename(*from, *to, code);
    return !code || Fail(error, *from, code);
}

bool TEffectLibrary::MakeFolder(const std::string& name, std::string* error) {
    std::optional<std::string> path = PathOf(name, error);
    if (!path) return false;
    std::error_code code;
    fs::create_directories(*path, code);
    return !code || Fail(error, *path, code);
}

bool TEffectLibrary::Delete(const std::string& name, std::string* error) {
    std::optional<std::string> path = PathOf(name, error);
    if (!path) return false;
    if (Exists(*path + kEnding)) *path += kEnding;
    std::error_code code;
    if (fs::remove_all(*path, code) > 0 && !code) return true;
    if (code) return Fail(error, *path, code);
    *error = fmt::format("the library has no \"{}\"", name);
    return false;
}
