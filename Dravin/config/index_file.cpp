#include "Dravin/config/index_file.h"

#include <fstream>

#include "host/base/text.h"

namespace {

constexpr size_t kLongestLine = 259;
constexpr size_t kLongestField = 99;

bool IsTooLong(const std::string& line) {
    return CutText(line, kLongestLine).size() != line.size();
}

}  // namespace

IndexFile ReadIndexFile(const std::string& path, size_t numFields) {
    IndexFile index;
    std::ifstream file(path, std::ios::binary);
    std::string line;
    if (!file || !std::getline(file, line)) {
        index.opened = bool(file) || file.eof();
        return index;
    }
    index.opened = true;
    for (int number = 1; std::getline(file, line); ++number) {
        line = TrimRight(line, " \r\n");
        if (line.empty()) break;
        std::vector<std::string> fields = Split(line, ';');
        if (IsTooLong(line) || fields.size() != numFields) {
            index.badLine = number;
            break;
        }
        for (std::string& field : fields) field = CutText(field, kLongestField);
        index.entries.push_back(std::move(fields));
    }
    return index;
}
