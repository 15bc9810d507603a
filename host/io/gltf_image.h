// Images of a material as glTF wants them: one PNG or JPEG with the base colour and, for cut-outs,
// alpha.
#pragma once

#include <string>

#include "host/scene/material.h"

struct GltfImage {
    std::string bytes;     // the encoded file
    std::string mimeType;  // image/png or image/jpeg
    std::string name;      // a file name without folder and ending
};

// The base colour texture of a material with a diffuse or an opacity map. `key` tells images apart
// that need not be written twice. False with a reason in `error` when a map cannot be loaded.
bool MakeGltfImage(const StandardMtl& material, GltfImage* image, std::string* error);

// Key of the image that MakeGltfImage would make: the same for materials that can share it; empty
// when the material needs none.
std::string GltfImageKey(const StandardMtl& material);

// Whether the map's colours depend on more than texture coordinates, so that no image can stand for
// it.
bool IsSolid(const Texmap& map);
