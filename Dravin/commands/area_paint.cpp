#include "Dravin/commands/area_paint.h"

#include "Dravin/dravin.h"
#include "Dravin/engine/build_input.h"
#include "host/params/restore.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"

using namespace areaParams;

namespace {

constexpr const char* kNeedsSurface =
    "The Paint Tool requires a XY surface to work.\n\nPlease, assign it in the Surface rollout.";
constexpr const char* kCaption = "Tavu Software";

struct PaintState {
    std::weak_ptr<TDravin> object;
    int areaId = 0;
    TPaintMode mode = TPaintMode::kPaint;
};

PaintState& State() { return HostContext::Current()->State<PaintState>(); }

TPaintShape* PaintOfRow(const TDravin& object, int row) {
    const IParamBlock2& block = object.Block(kAreaParams);
    if (row < 0 || row >= block.Count(kArpaintlist)) return nullptr;
    return dynamic_cast<TPaintShape*>(block.GetReference(kArpaintlist, 0, row));
}

// A row that nothing was painted in yet gets its shape.
TPaintShape& EnsurePaint(TDravin& object, int row) {
    if (TPaintShape* paint = PaintOfRow(object, row)) return *paint;
    IParamBlock2& block = object.Block(kAreaParams);
    if (block.Count(kArpaintlist) <= row) block.SetCount(kArpaintlist, row + 1);
    block.SetValue(kArpaintlist, 0, std::make_shared<TPaintShape>(), row);
    return *PaintOfRow(object, row);
}

bool HasXYSurface(const TDravin& object) {
    const IParamBlock2& block = object.Block(kSurfaceParams);
    if (block.GetInt(surfaceParams::kSurfmode) != kSurfaceXY) return false;
    for (int i = 0; i < block.Count(surfaceParams::kSurflist); ++i)
        if (block.GetNode(surfaceParams::kSurflist, 0, i)) return true;
    return false;
}

}  // namespace

// Rows without an id of their own have numbers below all ids.
constexpr int kFirstPlace = -2;

int AreaIdOf(const TDravin& object, int row) {
    const IParamBlock2& block = object.Block(kAreaParams);
    int id = block.GetInt(kAridlist, 0, row), count = 0;
    for (int i = 0; i < block.Count(kArnamelist); ++i) count += block.GetInt(kAridlist, 0, i) == id;
    return id >= 1 && count == 1 ? id : kFirstPlace - row;
}

int PaintRowOf(const TDravin& object, int areaId) {
    const IParamBlock2& block = object.Block(kAreaParams);
    for (int i = 0; i < block.Count(kArnamelist); ++i)
        if (block.GetInt(kArtypelist, 0, i) == kAreaPaint && AreaIdOf(object, i) == areaId)
            return i;
    return -1;
}

// --- regions

TPaintRegion PaintRegionOf(const TDravin& object, int areaId, double stepsPerUnit) {
    TPaintShape* paint = PaintOfRow(object, PaintRowOf(object, areaId));
    if (!paint) return TPaintRegion(stepsPerUnit);
    const TPaintRegion* region = paint->region.get();
    if (region && region->StepsPerUnit() == stepsPerUnit && region->Shape() == paint->shape)
        return *region;
    return TPaintRegion(paint->shape, stepsPerUnit);
}

bool SetPaintRegion(TDravin& object, int areaId, const TPaintRegion& region) {
    int row = PaintRowOf(object, areaId);
    if (row < 0 || region == PaintRegionOf(object, areaId, region.StepsPerUnit())) return false;
    TPaintShape& paint = EnsurePaint(object, row);
    if (IsRecording())
        CurrentHold()->Put(std::make_unique<AreaPaintRestore>(object, areaId, paint));
    HoldSuspender once(CurrentHold());  // the record above holds both
    paint.region = std::make_shared<const TPaintRegion>(region);
    paint.shape = region.Shape();
    return true;
}

AreaPaintRestore::AreaPaintRestore(TDravin& object, int areaId, const TPaintShape& paint)
    : m_object(object),
      m_keep(object.KeepForUndo()),
      m_areaId(areaId),
      m_shape(paint.shape),
      m_region(paint.region) {}

void AreaPaintRestore::Restore(bool) { Exchange(); }
void AreaPaintRestore::Redo() { Exchange(); }

void AreaPaintRestore::Exchange() {
    TPaintShape* paint = PaintOfRow(m_object, PaintRowOf(m_object, m_areaId));
    if (!paint) return;
    PolyShape present = paint->shape;
    std::swap(paint->region, m_region);
    paint->shape = std::exchange(m_shape, std::move(present));
}

size_t AreaPaintRestore::Size() const {
    size_t bytes = sizeof(*this) + (m_region ? m_region->Bytes() : 0);
    for (const PolyLine& line : m_shape.lines)
        bytes += sizeof(line) + line.points.capacity() * sizeof(Point3);
    return bytes;
}

// --- the brush

std::vector<INode*> PaintNodes(const TDravin& object) {
    const IParamBlock2& block = object.Block(kSurfaceParams);
    std::vector<INode*> nodes;
    for (int i = 0; i < block.Count(surfaceParams::kSurflist); ++i) {
        INode* node = block.GetNode(surfaceParams::kSurflist, 0, i);
        Object* shown = node ? node->GetObjectRef() : nullptr;
        if (shown && shown->IsGeomObject()) nodes.push_back(node);
    }
    return nodes;
}

std::optional<TPaintSession> PaintSession() {
    const PaintState& state = State();
    std::shared_ptr<TDravin> object = state.object.lock();
    if (!object || PaintRowOf(*object, state.areaId) < 0 || !HasXYSurface(*object))
        return std::nullopt;
    return TPaintSession{object, state.areaId, state.mode};
}

void StartPaint(TDravin& object, int row, TPaintMode mode) {
    int areaId = AreaIdOf(object, row);
    std::optional<TPaintSession> now = PaintSession();
    EndPaint();
    if (now && now->object.get() == &object && now->areaId == areaId && now->mode == mode) return;
    if (!HasXYSurface(object)) {
        IUserInterface& user = HostContext::Current()->UserInterface();
        user.MessageBox(kNeedsSurface, kCaption, MessageKind::kWarning);
        return user.ListenerPrint(kNeedsSurface);
    }
    if (PaintNodes(object).empty()) return;
    State() = {std::static_pointer_cast<TDravin>(object.shared_from_this()), areaId, mode};
}

void EndPaint() { State() = {}; }
