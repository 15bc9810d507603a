#include "Dravin/storage/post_load.h"

#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

void ConvertProbabilities(IParamBlock2& geometry) {
    using namespace geomParams;
    int count = geometry.Count(kOldProblist);
    if (geometry.Count(kProblist) > 0) return;
    for (int i = 0; i < count; ++i)
        geometry.Append(kProblist, float(geometry.GetInt(kOldProblist, 0, i)));
}

// Objects had one surface once.
void ConvertSurface(TDravin& object) {
    TargetPtr surface = object.GetReference(kSlotLegacySurface);
    if (!surface) return;
    if (dynamic_cast<INode*>(surface.get()))
        object.Block(kSurfaceParams).Append(surfaceParams::kSurflist, surface);
    object.SetReference(kSlotLegacySurface, nullptr);
}

void ConvertDistribution(IParamBlock2& map) {
    using namespace distParams;
    if (!map.GetBool(kReserved1)) {
        map.SetValue(kDistmapchan, 0, 0);
        map.SetValue(kReserved1, 0, true);
    }
    // Other values stood under these numbers once.
    if (map.GetInt(kPixelsX) == 0) {
        map.SetValue(kPixelsY, 0, 0);
        map.SetValue(kPixelsX, 0, 1);
    }
    if (std::string name = map.GetString(kReserved17); !name.empty()) {
        map.SetValue(kMapname, 0, name);
        map.SetValue(kReserved17, 0, "");
    }
}

void ConvertDirection(IParamBlock2& surfaces) {
    using namespace surfaceParams;
    if (!surfaces.GetBool(kReserved7)) return;
    surfaces.SetValue(kDirection, 0, 0);
    surfaces.SetValue(kReserved7, 0, false);
}

// One area of a spline, or the row that stands for all surfaces.
void AddArea(IParamBlock2& areas, int type, const TargetPtr& node, bool excludes, float width,
             bool isActive) {
    using namespace areaParams;
    auto* spline = dynamic_cast<INode*>(node.get());
    std::string name = spline ? spline->GetName() : "";
    int id = 0;
    for (int i = 0; i < areas.Count(kAridlist); ++i)
        id = std::max(id, areas.GetInt(kAridlist, 0, i));
    const std::pair<ParamID, ParamValue> row[] = {
        {kArnamelist, DefaultAreaName(type, name)},
        {kAridlist, int32_t(id + 1)},
        {kPfAractivelist, int32_t(isActive)},
        {kArnodelist, node},
        {kArnodenamelist, name},
        {kArtypelist, int32_t(type)},
        {kArincexclist, int32_t(excludes)},
        {kArresollist, int32_t{512}},
        {kArslicelist, int32_t{0}},
        {kArslicetoplist, 0.0f},
        {kArwidthlist, width},
        {kArforceopenlist, int32_t{0}},
        {kArmaplist, TargetPtr()},
        {kArscalelist, 100.0f},
        {kArthresholdlist, 100.0f},
        {kArsurfidlist, std::string()},
        {kArflafdenslist, 100.0f},
        {kArflafscalist, 100.0f},
        {kArflinvlist, int32_t{0}},
        {kArselspeclist, int32_t{0}},
        {kArspeclist, std::string()},
        {kArpaintlist, TargetPtr()},
        {kArshapelist, int32_t{0}},
        {kArzoffset, 0.0f},
    };
    for (const auto& [column, value] : row) areas.Append(column, value);
}

// Objects had one spline of each kind once.
void ConvertSplines(IParamBlock2& areas) {
    using namespace areaParams;
    constexpr float kUsualWidth = 10;
    if (areas.Count(kArnamelist) > 0) return;
    TargetPtr include = areas.ShareReference(kReserved12),
              exclude = areas.ShareReference(kReserved13),
              following = areas.ShareReference(kReserved14);
    if (!include && !exclude && !following) return;
    auto add = [&](ParamID from, const TargetPtr& node, bool excludes, float width) {
        if (!node) return;
        AddArea(areas, kAreaSpline, node, excludes, width, true);
        areas.SetValue(from, 0, nullptr);
    };
    add(kReserved12, include, false, kUsualWidth);
    add(kReserved14, following, false, areas.GetFloat(kReserved15));
    add(kReserved13, exclude, true, kUsualWidth);
    AddArea(areas, kAreaSurface, nullptr, false, kUsualWidth, !include && !following);
}

// Lists that came later are filled up for areas of before.
void CompleteAreas(IParamBlock2& areas) {
    using namespace areaParams;
    int count = areas.Count(kArnamelist);
    while (areas.Count(kArboundchecklist) < count)
        areas.Append(kArboundchecklist, int32_t(areas.GetInt(kReserved19)));
    while (areas.Count(kArobscalelist) < count) areas.Append(kArobscalelist, 100.0f);
}

// Least translations had the other sign.
void ConvertTranslations(IParamBlock2& transform) {
    using namespace transformParams;
    for (ParamID id : {ParamID(kTransxmin), ParamID(kTransymin)}) {
        std::vector<ParamElement> elements = transform.GetElements(id);
        for (ParamElement& element : elements) {
            element.value = int32_t(-std::get<int32_t>(element.value));
            for (ParamKey& key : element.track.keys)
                for (ParamValue* value : {&key.value, &key.in, &key.out})
                    if (auto* number = std::get_if<int32_t>(value)) *number = -*number;
        }
        transform.SetElements(id, std::move(elements));
    }
}

// One percentage stood for both falloffs.
void ConvertFalloffs(IParamBlock2& areas) {
    using namespace areaParams;
    int count = areas.Count(kArflafdenslist);
    areas.SetCount(kArflafscalist, count);
    for (int i = 0; i < count; ++i)
        areas.SetValue(kArflafscalist, 0, areas.GetValue(kArflafdenslist, 0, i), i);
}

}  // namespace

void ConvertAfterLoading(TDravin& object) {
    HoldSuspender noUndo(CurrentHold());
    const int version = object.fileState.version;
    for (int id = 0; id < kNumDravinBlocks; ++id)
        object.Block(DravinBlockId(id)).SuspendAccessors();
    IParamBlock2& areas = object.Block(kAreaParams);
    ConvertProbabilities(object.Block(kGeomParams));
    ConvertSurface(object);
    ConvertDistribution(object.Block(kDistParams));
    ConvertDirection(object.Block(kSurfaceParams));
    ConvertSplines(areas);
    CompleteAreas(areas);
    if (version < 420) ConvertTranslations(object.Block(kTransformParams));
    if (version < 430) ConvertFalloffs(areas);
    if (version < 501)
        object.fileState.displayState = object.Block(kDispParams).GetInt(dispParams::kGeomtexid);
    for (int id = 0; id < kNumDravinBlocks; ++id) object.Block(DravinBlockId(id)).ResumeAccessors();
    object.fileState.version = TFileState::kVersion;
}
