// Materials of other scenes.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/scene/scene.h"

// The scene of a file, null with the reason in `why`.
using MaterialLibraryLoader =
    std::function<std::shared_ptr<Scene>(const std::string& path, std::string* why)>;

// The material of that name in the library file, entered into the scene's own materials; where the
// scene has one of that name already, that one. Can be undone. Null after a report (report_error.h)
// with the text in `error`: no library, no such material, or a texture map of that name.
std::shared_ptr<Mtl> LoadMaterialFromLibrary(Scene& scene, const std::string& library,
                                             const std::string& material,
                                             const std::string& caption,
                                             const MaterialLibraryLoader& load, std::string* error);
