// The import library's scenes as model streams.
#pragma once

#include <span>
#include <string>

#include "host/io/model_stream.h"

struct aiAnimation;
struct aiScene;

using Animations = std::span<const aiAnimation* const>;

// path: of the file, whose ending tells the format where the scene does not. animations: that the
// file held, of which one is read, by name as ImportOptions has it.
StreamModel ConvertScene(const std::string& path, const aiScene& scene,
                         const Animations& animations, const std::string& wantedAnimation);
