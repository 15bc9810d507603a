#include "Dravin/config/index_file.h"
#include "fuzz/fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile file({reinterpret_cast<const char*>(data), size});
    IndexFile index = ReadIndexFile(file.Path(), 4);
    Promise(index.opened);
    for (const std::vector<std::string>& entry : index.entries) {
        Promise(entry.size() == 4);
        for (const std::string& field : entry) Promise(field.size() <= 4 * 99);
    }
    return 0;
}
