#include "fuzz/fuzz_file.h"
#include "host/io/height_source.h"

// A grid is refused with a place, or gives as many finite or missing values as its header says.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile file({reinterpret_cast<const char*>(data), size});
    OpenedHeights opened = OpenAscGrid(file.Path());
    Promise(opened.source ? opened.error.empty() : !opened.error.empty());
    if (!opened.source) return 0;
    int rows = 0;
    std::string error;
    auto take = [&](std::span<const float> row) {
        Promise(int(row.size()) == opened.source->Columns());
        for (float value : row) Promise(!(value - value != 0) || value != value);
        ++rows;
    };
    bool ok = opened.source->ReadRows(0, opened.source->Rows(), IHeightSource::Values::kOwn, take,
                                      &error);
    Promise(ok ? rows == opened.source->Rows() : !error.empty());
    return 0;
}
