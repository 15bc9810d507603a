#include "fuzz/host/io/model_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzModel(ReadPly, data, size, "/nowhere/fuzz.ply");
    return 0;
}
