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

// Horizontal, degrees, between 0 and 180 exclusively.
float ReadFieldOfView(const DescriptionValue& value);
Animated<float> ReadAnimatedFov(const DescriptionValue& value);

// The host's own types.
void RegisterHostMaterials(SceneFormats& formats);
void RegisterHostTexmaps(SceneFormats& formats);
void RegisterMeshTypes(SceneFormats& formats);
void RegisterHeightfieldType(SceneFormats& formats);
void RegisterOtherTypes(SceneFormats& formats);
