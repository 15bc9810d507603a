// The items of a scatter object's last build as viewports show them.
#pragma once

#include "Dravin/viewport/viewport_scene.h"

class TDravin;
class TViewMaterials;

// What a scatter object without items shows, object space. size: its `iconsize`.
PolyShape EmptyIcon(float size);

// The node's kind, mesh, icon and items. The object's last build stays as it is. before: what it
// showed last; may be null.
void ShowScatter(TDravin& object, INode& node, TimeValue t, int threads, const TViewScatter* before,
                 TViewMaterials& materials, TViewNode* out);
