// A glTF file as the library parses it: JSON, buffers and packed images, not yet looked at.
#pragma once

#include <string_view>

#include "host/io/model_readers.h"

namespace tinygltf {
class Model;
}

// Parses text or binary glTF 2.0. Buffers beside the file are read through `files`; images stay
// encoded, those in files of their own unread. The extensions are noted for the report; a file that
// requires one without which its shapes cannot be told is refused.
bool ParseGltf(std::string_view bytes, ModelFiles& files, tinygltf::Model* model,
               ImportError* error);

// The compressed parts as plain ones: buffer views of EXT_meshopt_compression get buffers of their
// own, primitives of KHR_draco_mesh_compression accessors of their own. Claims are weighed against
// the compressed bytes before anything is unpacked.
bool UnpackGltf(ModelFiles& files, tinygltf::Model* model, ImportError* error);
// Its two halves.
bool UnpackMeshoptViews(ModelFiles& files, tinygltf::Model* model, ImportError* error);
bool UnpackDracoPrimitives(ModelFiles& files, tinygltf::Model* model, ImportError* error);
