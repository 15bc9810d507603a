// What a line of the log says, whoever says it.
#pragma once

#include <string>

// Of "DRAVIN 6.3.1 'grass' : BuildItemArray", "BuildItemArray"; other lines as they are.
inline std::string MessageOfLine(const std::string& line) {
    if (!line.starts_with("DRAVIN ")) return line;
    if (size_t named = line.find("' : "); named != std::string::npos) return line.substr(named + 4);
    return line.substr(line.find(' ', 7) + 1);
}
