// The host's own classes.
#pragma once

#include "host/params/class_registry.h"

// Registers objects, helpers, cameras, lights, materials, texture maps, shadow types, controllers
// and modifiers of the host.
void RegisterHostClasses(ClassRegistry& classes);
