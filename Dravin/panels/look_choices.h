// What may be put into a slot for a map or a material beside what the scene has: new ones, images,
// copies. Each is one undo step; what is new gets a name in the scene.
//
// The scene's thread, where its session is current.
#pragma once

#include <string>
#include <vector>

#include "Dravin/panels/panel_values.h"
#include "host/params/class_registry.h"

// Classes of maps or materials that users may make, as the session has them.
std::vector<const ClassDesc*> LookClasses(ParamType type);
// What stands in the slot of the panel's first thing; null for nothing.
std::shared_ptr<ReferenceTarget> LookAt(const TPanel& panel, TParamKey key);

TPanelResult PutNewLook(TPanel& panel, TParamKey key, ClassId id);
// A map of the image, which is not read yet.
TPanelResult PutImage(TPanel& panel, TParamKey key, const std::string& file);
// A copy of what stands there; nothing to copy is an error.
TPanelResult PutCopy(TPanel& panel, TParamKey key);
