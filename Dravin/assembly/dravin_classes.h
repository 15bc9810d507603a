// The classes that the system brings along, so that scenes, scripts and panels find and make them.
#pragma once

#include <span>

#include "host/scene/plugin_loader.h"

class ClassRegistry;

// The ten classes of the plug-in, by their index.
std::span<const PluginClassDesc> DravinClassDescs();
// The modifier of leaf outlines, which stands beside them.
ClassDesc LeafModifierDesc();

// All of them. Once a session.
void RegisterDravinClasses(ClassRegistry& classes);
