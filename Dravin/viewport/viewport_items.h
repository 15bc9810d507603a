// The items of a scatter object's last build as viewports show them.
#pragma once

#include "Dravin/viewport/viewport_scene.h"

class TDravin;

// The node's kind, mesh, icon and items. The object's last build stays as it is.
void ShowScatter(TDravin& object, INode& node, TimeValue t, int threads, TViewNode* out);
