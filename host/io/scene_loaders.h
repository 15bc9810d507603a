// The loaders of scene descriptions over the host's importers, primitives and texture maps.
#pragma once

#include "host/io/scene_description.h"

// Images are read as soon as a description names them: a missing or damaged one is an error at
// once.
std::shared_ptr<ISceneLoaders> MakeSceneLoaders();
