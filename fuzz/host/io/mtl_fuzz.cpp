#include "fuzz/fuzz_file.h"
#include "host/io/model_readers.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzFile file({reinterpret_cast<const char*>(data), size});
    ImportedModel model;
    ModelFiles files(file.Path(), {}, &model);
    std::vector<NamedMtl> materials;
    ReadMtl(std::filesystem::path(file.Path()).filename().string(), files, &materials);
    for (const NamedMtl& named : materials)
        Promise(named.material && named.material->opacity >= 0 && named.material->opacity <= 1);
    Promise(model.materials.size() == materials.size());
    return 0;
}
