// The import library's scenes as model streams.
#pragma once

#include <string>

#include "host/io/model_stream.h"

struct aiScene;

// path: of the file, whose ending tells the format where the scene does not. numAnimations: that
// the file held.
StreamModel ConvertScene(const std::string& path, const aiScene& scene, size_t numAnimations);
