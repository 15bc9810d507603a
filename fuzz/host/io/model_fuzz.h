// What every reader of models promises, whatever the bytes.
#pragma once

#include "fuzz/fuzz_file.h"
#include "host/geom/mesh_tools.h"
#include "host/io/import_report.h"
#include "host/io/model_readers.h"

// Reads the bytes, reports and joins what they hold, as a scene does. A failure comes with a
// reason, and sound meshes stay sound when they are joined.
template <class Reader>
void FuzzModel(const Reader& read, const uint8_t* data, size_t size, const char* name) {
    ImportedModel model;
    ModelFiles files(name, {}, &model);
    ImportError error;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (!read(bytes, files, &error))
        return Promise(!error.text.empty() && error.kind != ImportFailure::kNone);
    size_t numFaces = 0;
    for (const ImportedObject& object : model.objects) {
        Promise(object.mesh != nullptr);
        if (!Validate(*object.mesh).empty()) return;
        numFaces += object.mesh->NumFaces();
    }
    Promise(!ImportReportJson(name, model).empty());
    constexpr size_t kManyFaces = 1 << 20;  // of many instances: sound, but slow to join
    if (numFaces > kManyFaces) return;
    JoinedModel joined = JoinObjects(model, &error);
    Promise(joined.mesh && Validate(*joined.mesh).empty());
}
