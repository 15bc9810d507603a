// The library of distribution maps that ships with the product.
#pragma once

#include <string>
#include <vector>

class TDistMapLibrary {
public:
    struct Entry {
        std::string name, file;  // the last entry, "Other", has no file: a map of the user's own
    };

    // Reads the index of `folder` on first need; while the list holds entries it is not read again.
    // False when the index cannot be opened or has a bad line: the user is told (not in quiet
    // mode), the entries before the bad line stay, and "Other" is not appended.
    bool Read(const std::string& folder);

    const std::vector<Entry>& Entries() const { return m_entries; }

private:
    std::vector<Entry> m_entries;
};
