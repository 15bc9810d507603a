#include "host/base/ini_file.h"

#include <algorithm>
#include <cassert>
#include <filesystem>

#include "host/base/atomic_file.h"
#include "host/base/file_input.h"
#include "host/base/file_lock.h"
#include "host/base/text.h"

namespace fs = std::filesystem;

namespace {

char ToLower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return ToLower(x) == ToLower(y); });
}

std::string_view Unquoted(std::string_view value) {
    bool quoted = value.size() >= 2 && value.front() == value.back() &&
                  (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

// Reads back as `value`, blanks and quotes at its ends included.
std::string Written(std::string_view value) {
    std::string text(value);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\0'; }, ' ');
    bool changes = Unquoted(Trim(text)) != text;
    return changes ? std::string("\"").append(text).append("\"") : text;
}

}  // namespace

bool IniFile::Load(const std::string& path, std::string* error, uint64_t limit) {
    m_sections.clear();
    std::error_code unknown;
    if (!fs::exists(path, unknown)) return true;
    std::optional<std::string> text = ReadWholeFile(path, limit, error);
    if (text) Parse(*text);
    return text.has_value();
}

void IniFile::Parse(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    m_sections.assign(1, {});
    if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = TrimRight(text.substr(0, end), "\r\n");
        text.remove_prefix(std::min(end + 1, text.size()));
        std::string_view content = Trim(line);
        if (content.starts_with('[') && content.find(']') != content.npos) {
            std::string_view name = Trim(content.substr(1, content.find(']') - 1));
            m_sections.push_back({std::string(name), std::string(line), {}});
            continue;
        }
        Line read{std::string(line), {}, {}};
        size_t equals = content.find('=');
        bool isComment = content.starts_with(';') || content.starts_with('#');
        if (!isComment && equals != content.npos) {
            read.key = Trim(content.substr(0, equals));
            read.value = Unquoted(Trim(content.substr(equals + 1)));
        }
        m_sections.back().lines.push_back(std::move(read));
    }
}

std::string IniFile::Text() const {
    std::string text;
    for (const Section& section : m_sections) {
        if (!section.header.empty()) text.append(section.header).append("\n");
        for (const Line& line : section.lines) text.append(line.text).append("\n");
    }
    return text;
}

bool IniFile::Save(const std::string& path, std::string* error) const {
    std::error_code failed;
    fs::create_directories(fs::path(path).parent_path(), failed);  // Open tells what comes of it
    AtomicFile file;
    if (!file.Open(path, error)) return false;
    file.Write(Text());
    return file.Commit(error);
}

bool IniFile::Edit(const std::string& path, const std::function<void(IniFile&)>& change,
                   std::string* error) {
    auto always = [&](IniFile& file) { return change(file), true; };
    return TryEdit(path, always, error);
}

bool IniFile::TryEdit(const std::string& path, const std::function<bool(IniFile&)>& change,
                      std::string* error, uint64_t limit) {
    std::error_code failed;
    fs::create_directories(fs::path(path).parent_path(), failed);  // Lock tells what comes of it
    FileLock lock;
    IniFile file;
    if (!lock.Lock(path, error) || !file.Load(path, error, limit)) return false;
    return !change(file) || file.Save(path, error);
}

const IniFile::Line* IniFile::Find(std::string_view section, std::string_view key) const {
    if (key.empty()) return nullptr;
    for (const Section& s : m_sections)
        if (SameName(s.name, section))
            for (const Line& line : s.lines)
                if (SameName(line.key, key)) return &line;
    return nullptr;
}

std::optional<std::string> IniFile::Get(std::string_view section, std::string_view key) const {
    const Line* line = Find(section, key);
    return line ? std::optional(line->value) : std::nullopt;
}

int IniFile::GetInt(std::string_view section, std::string_view key, int otherwise) const {
    const Line* line = Find(section, key);
    return line ? ParseLeadingInteger(line->value) : otherwise;
}

void IniFile::Set(std::string_view section, std::string_view key, std::string_view value) {
    std::string written = Written(value);
    std::string text = std::string(key).append("=").append(written);
    Line fresh{std::move(text), std::string(key), std::string(Unquoted(written))};
    if (const Line* line = Find(section, key)) {
        *const_cast<Line*>(line) = std::move(fresh);
        return;
    }
    auto found = std::find_if(m_sections.begin(), m_sections.end(),
                              [&](const Section& s) { return SameName(s.name, section); });
    if (found == m_sections.end()) {
        std::string header = std::string("[").append(section).append("]");
        found = m_sections.insert(found, {std::string(section), std::move(header), {}});
    }
    // Before the blank lines that set the next section apart.
    auto place = found->lines.end();
    while (place != found->lines.begin() && Trim((place - 1)->text).empty()) --place;
    found->lines.insert(place, std::move(fresh));
}

void IniFile::Remove(std::string_view section, std::string_view key) {
    if (key.empty()) return;
    for (Section& s : m_sections)
        if (SameName(s.name, section))
            std::erase_if(s.lines, [&](const Line& line) { return SameName(line.key, key); });
}

std::vector<std::string> IniFile::Sections() const {
    std::vector<std::string> names;
    for (const Section& section : m_sections)
        if (!section.header.empty()) names.push_back(section.name);
    return names;
}

std::vector<std::string> IniFile::Keys(std::string_view section) const {
    std::vector<std::string> keys;
    for (const Section& s : m_sections)
        if (SameName(s.name, section))
            for (const Line& line : s.lines)
                if (!line.key.empty()) keys.push_back(line.key);
    return keys;
}

bool IniFile::HasSection(std::string_view section) const {
    return std::any_of(m_sections.begin(), m_sections.end(), [&](const Section& s) {
        return !s.header.empty() && SameName(s.name, section);
    });
}

IniFile::Entries IniFile::ReadSection(std::string_view section) const {
    Entries entries;
    for (const Section& s : m_sections)
        if (!s.header.empty() && SameName(s.name, section))
            for (const Line& line : s.lines)
                if (!line.key.empty())
                    entries.emplace_back(
                        line.key,
                        Trim(std::string_view(line.text).substr(line.text.find('=') + 1)));
    return entries;
}

void IniFile::ReplaceSection(std::string_view section, const Entries& entries) {
    Section fresh{std::string(section), std::string("[").append(section).append("]"), {}};
    for (const auto& [key, value] : entries) {
        assert(Trim(value) == value && value.find_first_of("\r\n") == value.npos);
        std::string text = std::string(key).append("=").append(value);
        fresh.lines.push_back({std::move(text), key, std::string(Unquoted(value))});
    }
    auto found = std::find_if(m_sections.begin(), m_sections.end(), [&](const Section& s) {
        return !s.header.empty() && SameName(s.name, section);
    });
    if (found == m_sections.end()) {
        m_sections.push_back(std::move(fresh));
        return;
    }
    // Further sections of the name would come back the next time that it is read.
    size_t place = size_t(found - m_sections.begin());
    m_sections[place] = std::move(fresh);
    m_sections.erase(std::remove_if(m_sections.begin() + int64_t(place) + 1, m_sections.end(),
                                    [&](const Section& s) { return SameName(s.name, section); }),
                     m_sections.end());
}

bool IniFile::RemoveSection(std::string_view section) {
    return std::erase_if(m_sections, [&](const Section& s) {
               return !s.header.empty() && SameName(s.name, section);
           }) > 0;
}

bool IniFile::RenameSection(std::string_view section, std::string_view name) {
    bool isThere = false;
    for (Section& s : m_sections) {
        if (s.header.empty() || !SameName(s.name, section)) continue;
        isThere = true;
        s.name = name;
        s.header = std::string("[").append(name).append("]");
    }
    return isThere;
}
