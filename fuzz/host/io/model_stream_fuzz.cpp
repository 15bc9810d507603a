#include "fuzz/fuzz_file.h"
#include "host/io/model_stream.h"

// What is read can be written, and the bytes are the same again.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    std::string error;
    std::optional<StreamModel> model = ReadModelStream(bytes, &error);
    if (model) Promise(WriteModelStream(*model) == bytes);
    return 0;
}
