#include "fuzz/fuzz_file.h"
#include "host/io/point_cache_file.h"

// Whatever is believed of a cache lies within its bytes, and its times rise.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (bool isMdd : {false, true}) {
        ImportError error;
        auto layout = ReadPointCacheLayout(bytes, isMdd, 160, &error);
        Promise(bool(layout) == error.text.empty());
        if (!layout) continue;
        Promise(layout->samplesAt + layout->numSamples * layout->SampleBytes() <= size);
        constexpr uint64_t kMost = 64;
        for (uint64_t s = 0; s < std::min(layout->numSamples, kMost); ++s) {
            std::vector<Point3> points;
            std::string reason;
            bool ok = ReadPointCacheSample(bytes, *layout, s, &points, &reason);
            Promise(ok == reason.empty());
            Promise(s == 0 || layout->TimeOf(bytes, s) > layout->TimeOf(bytes, s - 1));
        }
    }
    return 0;
}
