// Settings in INI files: sections of `key=value` lines.
//
// Names of sections and keys count without regard to (ASCII) case; blanks around them and around
// values do not count, nor quotes around a whole value. Lines that begin with ';' or '#' are
// comments. Of several values of a key the first counts. What a file holds beside what is changed,
// comments and unknown keys included, stays as it is when it is saved. UTF-8, with or without a
// byte order mark.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class IniFile {
public:
    // Reads a file; one that does not exist is empty. False with a reason in `error` when it
    // cannot be read or is larger than 4 MiB.
    bool Load(const std::string& path, std::string* error);
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

    // Loads a file, changes it and saves it, while no other program that does so looks at it (a
    // lock on a file of its name with ".lock" behind it).
    static bool Edit(const std::string& path, const std::function<void(IniFile&)>& change,
                     std::string* error);

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
