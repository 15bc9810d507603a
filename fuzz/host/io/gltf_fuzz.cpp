#include "fuzz/host/io/model_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzModel(ReadGltf, data, size, "/nowhere/fuzz.gltf");
    return 0;
}
