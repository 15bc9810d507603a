#include "common/presets/preset_file.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/base/utf8.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kLongestName = 200;

PresetResult Failure(PresetStatus status, std::string error) {
    return {status, std::move(error), {}};
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

bool StartsWithName(std::string_view text, std::string_view name) {
    return text.size() >= name.size() &&
           std::equal(name.begin(), name.end(), text.begin(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

bool SameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && StartsWithName(a, b);
}

PresetResult CheckName(const std::string& name) {
    std::string fault = PresetNameFault(name);
    if (fault.empty()) return {};
    return Failure(PresetStatus::kBadName, fmt::format("\"{}\" cannot name a preset: {}",
                                                       CutText(MendUtf8(name), 60), fault));
}

}  // namespace

std::string PresetNameFault(const std::string& name) {
    if (name.empty()) return "it is empty";
    if (name.size() > kLongestName) return fmt::format("it is longer than {} bytes", kLongestName);
    if (!IsUtf8(name)) return "it is not UTF-8";
    if (Trim(name) != name) return "it begins or ends with a blank";
    for (char c : name)
        if (c == '[' || c == ']' || uint8_t(c) < 0x20 || c == 0x7f)
            return "brackets and control characters end the line that it stands in";
    return {};
}

PresetResult PresetFile::Load(IniFile* file) const {
    std::error_code unknown;
    if (!fs::exists(m_path, unknown)) return {};
    std::string error;
    std::optional<uint64_t> size = RegularFileSize(m_path, &error);
    if (size && *size > kLargestFile)
        return Failure(
            PresetStatus::kTooLarge,
            fmt::format("{}: {} bytes are more than the {} of a file of presets; is it one?",
                        m_path, FormatGrouped(int64_t(*size)),
                        FormatGrouped(int64_t(kLargestFile))));
    std::optional<std::string> text;
    if (size) text = ReadWholeFile(m_path, kLargestFile, &error);
    if (!text) return Failure(PresetStatus::kUnreadable, fmt::format("{}: {}", m_path, error));
    PresetResult result;
    if (!IsUtf8(*text)) {
        result.warnings.push_back(
            fmt::format("{}: is not UTF-8; characters that cannot be read become U+FFFD", m_path));
        *text = MendUtf8(*text);
    }
    file->Parse(*text);
    return result;
}

std::vector<std::string> PresetFile::NamesIn(const IniFile& file) const {
    std::vector<std::string> names;
    for (const std::string& section : file.Sections())
        if (StartsWithName(section, m_className) && section.size() > m_className.size() + 1)
            names.push_back(section.substr(m_className.size() + 1));
    return names;
}

PresetResult PresetFile::NotThere(const IniFile& file, const std::string& name) const {
    std::error_code unknown;
    if (!fs::exists(m_path, unknown))
        return Failure(PresetStatus::kNoSuchPreset,
                       fmt::format("{}: there is no such file", m_path));
    std::vector<std::string> names = NamesIn(file);
    std::string has = names.empty() ? "it has none" : "it has " + ListedNames(names);
    if (name.empty())
        return Failure(PresetStatus::kNoSuchPreset, fmt::format("{}: holds no preset", m_path));
    return Failure(PresetStatus::kNoSuchPreset, fmt::format("{}: no preset \"{}\"{}; {}", m_path,
                                                            name, DidYouMean(name, names), has));
}

PresetResult PresetFile::List(std::vector<std::string>* names) const {
    IniFile file;
    PresetResult result = Load(&file);
    *names = NamesIn(file);
    return result;
}

PresetResult PresetFile::Read(std::string* name, IniFile::Entries* lines) const {
    IniFile file;
    PresetResult result = Load(&file);
    if (!result) return result;
    std::vector<std::string> sections = file.Sections();
    std::string section = SectionOf(*name);
    if (name->empty()) {
        if (sections.empty()) return NotThere(file, *name);
        section = sections.front();
        std::string prefix = m_className + ".";
        *name = StartsWithName(section, prefix) ? section.substr(prefix.size()) : section;
    }
    *lines = file.ReadSection(section);
    if (lines->empty()) return NotThere(file, *name);
    return result;
}

PresetResult PresetFile::Write(const std::string& name, const IniFile::Entries& lines) const {
    if (PresetResult fault = CheckName(name); !fault) return fault;
    std::string error;
    bool fits = true;
    auto change = [&](IniFile& file) {
        file.ReplaceSection(SectionOf(name), lines);
        return fits = file.Text().size() <= kLargestFile;
    };
    if (!IniFile::TryEdit(m_path, change, &error, kLargestFile))
        return Failure(PresetStatus::kNotWritten, error);
    if (!fits)
        return Failure(PresetStatus::kTooLarge,
                       fmt::format("{}: it would take more than {} bytes; delete presets, or use "
                                   "another file",
                                   m_path, FormatGrouped(int64_t(kLargestFile))));
    return {};
}

PresetResult PresetFile::WriteAlone(const std::string& name, const IniFile::Entries& lines) const {
    if (PresetResult fault = CheckName(name); !fault) return fault;
    IniFile file;
    file.ReplaceSection(SectionOf(name), lines);
    std::string error;
    if (!file.Save(m_path, &error)) return Failure(PresetStatus::kNotWritten, error);
    return {};
}

PresetResult PresetFile::Delete(const std::string& name) const {
    PresetResult result;
    std::string error;
    std::error_code unknown;
    if (!fs::exists(m_path, unknown)) return NotThere({}, name);
    auto change = [&](IniFile& file) {
        bool isThere = file.RemoveSection(SectionOf(name));
        if (!isThere) result = NotThere(file, name);
        return isThere;
    };
    if (!IniFile::TryEdit(m_path, change, &error, kLargestFile))
        return Failure(PresetStatus::kNotWritten, error);
    return result;
}

PresetResult PresetFile::Rename(const std::string& name, const std::string& newName) const {
    if (PresetResult fault = CheckName(newName); !fault) return fault;
    PresetResult result;
    std::string error;
    std::error_code unknown;
    if (!fs::exists(m_path, unknown)) return NotThere({}, name);
    auto change = [&](IniFile& file) {
        if (!SameName(name, newName) && file.HasSection(SectionOf(newName)))
            result =
                Failure(PresetStatus::kNameTaken,
                        fmt::format("{}: there is a preset \"{}\" already; delete it first, or "
                                    "choose another name",
                                    m_path, newName));
        else if (!file.RenameSection(SectionOf(name), SectionOf(newName)))
            result = NotThere(file, name);
        return bool(result);
    };
    if (!IniFile::TryEdit(m_path, change, &error, kLargestFile))
        return Failure(PresetStatus::kNotWritten, error);
    return result;
}
