#include "fuzz/fuzz_file.h"
#include "host/io/npz_array.h"
#include "host/io/npz_reader.h"

// Whatever is believed of an archive lies within it.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string error;
    auto entries = ReadNpzEntries(bytes, &error);
    Promise(entries || !error.empty());
    if (!entries) return 0;
    for (const NpzEntry& entry : *entries) {
        Promise(entry.bytes.empty() ||
                (entry.bytes.data() >= bytes.data() && entry.bytes.end() <= bytes.end()));
        auto array = ReadNpzArray(entry, &error);
        if (array)
            Promise(array->cells.size() ==
                    array->rows * ArrayCellBytes(array->column, array->width));
    }
    return 0;
}
