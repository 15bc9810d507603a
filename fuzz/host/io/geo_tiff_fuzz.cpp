#include <cmath>

#include "fuzz/fuzz_file.h"
#include "host/io/geo_tiff.h"

// Whatever the tags hold, cells are stated with finite sizes or not at all.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    GeoTiffTags tags = ReadGeoTiffTags({reinterpret_cast<const char*>(data), size});
    GeoScale scale = ScaleOf(tags, 100, 50);
    Promise(std::isfinite(scale.metresPerValue) && scale.metresPerValue > 0);
    Promise(!std::isnan(scale.cellX) && !std::isnan(scale.cellY));
    return 0;
}
