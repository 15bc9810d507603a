// The buttons "Update" and "Update All": explicit rebuilds, whatever is frozen.
#pragma once

class TDravin;
class Scene;

// Reads everything again and builds for the view. Ends a render that was left open, unless the
// object is locked by one.
void UpdateObject(TDravin& object);
// The same for every scatter object that a node of the scene shows; how many there are.
int UpdateAllObjects(const Scene& scene);
// "Freeze ALL Dravin objects" of the session; builds nothing by itself.
void FreezeAllObjects(bool frozen);
bool AreAllObjectsFrozen();
