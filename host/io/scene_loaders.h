// The loaders of scene descriptions over the host's importers, primitives and texture maps.
#pragma once

#include "host/io/external_scenes.h"

// Images are read as soon as a description names them: a missing or damaged one is an error at
// once. openScene: reads the scenes whose objects others show; none: such objects are errors.
std::shared_ptr<ISceneLoaders> MakeSceneLoaders(SceneOpener openScene = {});
