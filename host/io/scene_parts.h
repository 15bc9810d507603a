// Parts of the scene description's reader and writer that stand in files of their own.
#pragma once

#include "host/io/scene_description.h"

// Each entry is registered in the scene under its name.
void ReadTexmaps(const DescriptionValue& value, DescriptionContext& context);
void ReadMaterials(const DescriptionValue& value, DescriptionContext& context);
// Fails when a multi-material holds itself, directly or through others, or when more than
// kMaxMtlNesting stand inside each other. After a failure all materials are taken apart, so that
// they can go.
void CheckMaterialNesting(const DescriptionValue& value, const DescriptionContext& context);

// The object with the modifiers of a list on it, in its order from the base up; the base itself for
// an empty list, null after a failure.
std::shared_ptr<Object> ReadModifiers(const DescriptionValue& list, std::shared_ptr<Object> base,
                                      DescriptionContext& context);
// The list of `derived`, and of what it stands on where that is derived, too.
nlohmann::ordered_json WriteModifiers(const DerivedObject& derived,
                                      const DescriptionWriter& writer);

// Horizontal, degrees, between 0 and 180 exclusively.
float ReadFieldOfView(const DescriptionValue& value);
Animated<float> ReadAnimatedFov(const DescriptionValue& value);

// The host's own types.
void RegisterHostMaterials(SceneFormats& formats);
void RegisterHostTexmaps(SceneFormats& formats);
void RegisterMeshTypes(SceneFormats& formats);
void RegisterHeightfieldType(SceneFormats& formats);
void RegisterExternalType(SceneFormats& formats);
void RegisterOtherTypes(SceneFormats& formats);
void RegisterHostModifiers(SceneFormats& formats);
