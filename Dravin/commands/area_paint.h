// Painting the areas of a scatter object: the brush's regions with their undo records, and which
// area the brush is on. One thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/geometry/area_texts.h"
#include "Dravin/geometry/paint_region.h"
#include "host/params/hold.h"

class INode;
class Scene;
class TDravin;

// A row of the list of areas is found by its id, which it keeps when rows move. Where it has none
// of its own, as in scenes written by hand, a number stands for its place.
int AreaIdOf(const TDravin& object, int row);
// -1: the object has no paint area of that id.
int PaintRowOf(const TDravin& object, int areaId);

// What is painted of an area, in steps. What a brush has left there comes back to the step.
TPaintRegion PaintRegionOf(const TDravin& object, int areaId, double stepsPerUnit);
// Writes a region into the area's shape, and tells; can be undone. False, and nothing changes: the
// area is gone, or shows that region already.
bool SetPaintRegion(TDravin& object, int areaId, const TPaintRegion& region);

// The undo record of a stroke. It finds its area by the id, whether the brush is on it or not.
class AreaPaintRestore : public RestoreObj {
public:
    // paint: the area's, as it was before the stroke; it is about to change.
    AreaPaintRestore(TDravin& object, int areaId, const TPaintShape& paint);

    void Restore(bool isUndo) override;
    void Redo() override;
    size_t Size() const override;

private:
    void Exchange();

    TDravin& m_object;
    std::shared_ptr<void> m_keep;
    int m_areaId;
    PolyShape m_shape;  // that is not in the area now
    std::shared_ptr<const TPaintRegion> m_region;
};

// The nodes that a brush paints on: the object's surfaces that show a mesh.
std::vector<INode*> PaintNodes(const TDravin& object);

// The brush is on an area.
struct TPaintSession {
    std::shared_ptr<TDravin> object;
    int areaId = 0;
    TPaintMode mode = TPaintMode::kPaint;
};
// None: nothing is being painted. Lives as long as the session; it ends with its area and with the
// ground that it is painted on.
std::optional<TPaintSession> PaintSession();

// Puts the brush on a paint area; on another one, or in another mode, it goes on there; where it is
// already in that mode, painting ends. An object without a surface for XY mode is told so, and is
// not painted. row: of a paint area.
void StartPaint(TDravin& object, int row, TPaintMode mode);
void EndPaint();
