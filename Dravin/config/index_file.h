// Index files of the shipped libraries: a header line, then one entry a line, fields split at ';'.
#pragma once

#include <string>
#include <vector>

struct IndexFile {
    bool opened = false;
    int badLine = 0;  // 1-based number of the data line at which reading stopped, 0 for none
    std::vector<std::vector<std::string>> entries;  // those before the bad line

    bool IsGood() const { return opened && badLine == 0; }
};

// Reads UTF-8 text (a byte order mark is skipped). Trailing blanks are dropped; an empty line or
// the end of the file ends the list. A line is bad when it is over 259 characters or does not have
// exactly numFields fields (empty ones count). Fields are cut at 99 characters.
IndexFile ReadIndexFile(const std::string& path, size_t numFields);
