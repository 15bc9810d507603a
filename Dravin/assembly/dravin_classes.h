// The classes that the system brings along, so that scenes, scripts and panels find and make them.
#pragma once

#include <span>

#include "host/scene/plugin_loader.h"

class ClassRegistry;

// The ten classes of the plug-in, by their index.
std::span<const PluginClassDesc> DravinClassDescs();
// What stands beside them: the modifier of leaf outlines, and what their objects are made of.
std::span<const ClassDesc> DravinPartDescs();

// All of them. Once a session.
void RegisterDravinClasses(ClassRegistry& classes);
