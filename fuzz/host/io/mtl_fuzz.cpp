#include "fuzz/fuzz_file.h"
#include "host/io/model_readers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile file({reinterpret_cast<const char*>(data), size});
    std::vector<NamedMtl> materials;
    std::vector<std::string> warnings;
    ReadMtl(file.Path(), &materials, &warnings);
    for (const NamedMtl& named : materials) {
        auto* material = dynamic_cast<const StandardMtl*>(named.material.get());
        Promise(material && material->opacity >= 0 && material->opacity <= 1);
    }
    return 0;
}
