// The import library's scenes as model streams.
#pragma once

#include <string>

#include "host/io/model_stream.h"

struct aiScene;

// path: of the file, whose ending tells the format where the scene does not. animation: the one
// that is read, as ImportOptions names it.
StreamModel ConvertScene(const std::string& path, const aiScene& scene,
                         const std::string& animation);
