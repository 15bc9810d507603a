// Settings in INI files: sections of `key=value` lines.
//
// Names of sections and keys count without regard to (ASCII) case; blanks around them and around
// values do not count, nor quotes around a whole value. Lines that begin with ';' or '#' are
// comments. Of several values of a key the first counts. What a file holds beside what is changed,
// comments and unknown keys included, stays as it is when it is saved. UTF-8, with or without a
// byte order mark.
//
// Programs that change one file at the same time go through Edit.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class IniFile {
public:
    static constexpr uint64_t kUsualLimit = 4 << 20;

    // Reads a file; one that does not exist is empty. False with a reason in `error` when it
    // cannot be read or is larger than `limit` bytes.
    bool Load(const std::string& path, std::string* error, uint64_t limit = kUsualLimit);
    void Parse(std::string_view text);
    // The whole file, or nothing; its folder is made where there is none.
    bool Save(const std::string& path, std::string* error) const;
    std::string Text() const;

    std::optional<std::string> Get(std::string_view section, std::string_view key) const;
    // The integer at the beginning of the value, 0 where there is none ("x"); `otherwise` without
    // the key.
    int GetInt(std::string_view section, std::string_view key, int otherwise) const;
    // Line ends in the value become blanks.
    void Set(std::string_view section, std::string_view key, std::string_view value);
    void Remove(std::string_view section, std::string_view key);

    std::vector<std::string> Sections() const;
    std::vector<std::string> Keys(std::string_view section) const;

    // A section as a whole: its keys and values in the order of the lines, values with whatever
    // quotes they stand in.
    using Entries = std::vector<std::pair<std::string, std::string>>;
    bool HasSection(std::string_view section) const;
    Entries ReadSection(std::string_view section) const;
    // Puts these entries in the place of the section's lines, comments included, or at the end.
    // Keys and values must be single lines without blanks around them (asserted).
    void ReplaceSection(std::string_view section, const Entries& entries);
    // False where there is none of that name; all of several go.
    bool RemoveSection(std::string_view section);
    bool RenameSection(std::string_view section, std::string_view name);

    // Loads a file, changes it and saves it, while no other program that does so looks at it
    // (file_lock.h). False with a reason in `error`; the file is then as it was.
    static bool Edit(const std::string& path, const std::function<void(IniFile&)>& change,
                     std::string* error);
    // The same; where `change` returns false nothing is written, which is no error.
    static bool TryEdit(const std::string& path, const std::function<bool(IniFile&)>& change,
                        std::string* error, uint64_t limit = kUsualLimit);

private:
    struct Line {
        std::string text;  // as it stands in the file
        std::string key;   // empty: no setting
        std::string value;
    };
    struct Section {
        std::string name;  // empty: what stands before the first
        std::string header;
        std::vector<Line> lines;
    };
    const Line* Find(std::string_view section, std::string_view key) const;

    std::vector<Section> m_sections;
};
