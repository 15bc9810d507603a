// The scatter object and the LOD object in scene descriptions.
#pragma once

#include "host/io/scene_description.h"

// Registers the node types "dravin" and "lod".
void RegisterDravinNodes(SceneFormats& formats);
