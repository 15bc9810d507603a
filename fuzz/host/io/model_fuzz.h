// What every reader of models promises, whatever the bytes.
#pragma once

#include "fuzz/fuzz_file.h"
#include "host/geom/mesh_tools.h"
#include "host/io/model_readers.h"

// Reads the bytes and joins what they hold, as a scene does. A failure comes with a reason, and
// sound meshes stay sound when they are joined.
template <class Reader>
void FuzzModel(const Reader& read, const uint8_t* data, size_t size, const char* name) {
    ImportedModel model;
    std::string error;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (!read(name, bytes, &model, &error)) return Promise(!error.empty());
    for (const ImportedObject& object : model.objects) {
        Promise(object.mesh != nullptr);
        if (!Validate(*object.mesh).empty()) return;
    }
    JoinedModel joined = JoinObjects(model);
    Promise(joined.mesh && Validate(*joined.mesh).empty());
}
