#include "Dravin/tools/lister.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "host/base/text.h"
#include "host/scene/node.h"

namespace {

constexpr const char* kHeaders[kNumListerColumns] = {
    "Geometry", "Areas",     "Distribution", "Items Editor", "Camera",
    "Surfaces", "Transform", "Effects",      "Animation",    "Display"};
constexpr const char* kAnimations[] = {"Static", "Follow", "Random", "Rand.map", "Frame map"};
constexpr const char* kDisplays[] = {"Mesh", "Proxy", "Adaptative", "Points-cloud"};

template <size_t n>
const char* Entry(const char* const (&entries)[n], int number) {
    return entries[std::clamp(number, 0, int(n) - 1)];
}

bool IsGenerating(const TDravin& object) {
    return object.Block(kEditionParams).GetInt(editionParams::kMode) == 0;
}

bool IsUv(const TDravin& object) {
    return object.Block(kSurfaceParams).GetInt(surfaceParams::kSurfmode) == 1;
}

std::string GeometryCell(const TDravin& object) {
    int n = object.Block(kGeomParams).Count(geomParams::kNamelist);
    return n == 1 ? "1 model" : fmt::format("{} models", n);
}

// The row that stands for the surfaces counts only while it is on.
std::string AreasCell(const TDravin& object) {
    if (!IsGenerating(object) || IsUv(object)) return {};
    const IParamBlock2& areas = object.Block(kAreaParams);
    int rows = areas.Count(areaParams::kArnamelist), n = rows;
    for (int i = 0; i < rows; ++i) {
        bool surface = areas.GetInt(areaParams::kArtypelist, 0, i) == kAreaSurface;
        if (surface && !areas.GetInt(areaParams::kPfAractivelist, 0, i)) --n;
    }
    if (n < 1) return {};
    return n < 2 ? "1 area" : fmt::format("{} areas", n);
}

std::string CameraCell(const TDravin& object) {
    const INode* camera = object.Block(kCamParams).GetNode(camParams::kCamera);
    return camera ? camera->GetName() : "No camera";
}

std::string SurfacesCell(const TDravin& object) {
    if (!IsGenerating(object)) return {};
    int n = object.Block(kSurfaceParams).Count(surfaceParams::kSurflist);
    return n == 0 ? "No surfaces" : fmt::format("{} {} Surf", n, IsUv(object) ? "UV" : "XY");
}

std::string TransformCell(const TDravin& object) {
    using namespace transformParams;
    const IParamBlock2& block = object.Block(kTransformParams);
    std::string letters;
    if (block.GetInt(kApplytranslation)) letters += 'T';
    if (block.GetInt(kApplyrotation)) letters += 'R';
    if (block.GetInt(kApplyscale)) letters += 'S';
    return (letters.empty() ? "No" : letters) + " Transform";
}

std::string EffectsCell(const TDravin& object) {
    const IParamBlock2& block = object.Block(kEffectParams);
    bool any = false;
    for (int i = 0; i < block.Count(effectParams::kEfenablelist); ++i)
        any = any || block.GetInt(effectParams::kEfenablelist, 0, i);
    return any ? "Effects On" : "No Effects";
}

}  // namespace

std::span<const char* const, kNumListerColumns> ListerHeaders() { return kHeaders; }

std::string ListerItems(int n) {
    if (n < 1) return {};
    return n == 1 ? "1 item" : FormatCount(n) + " items";
}

TListerRow ListerRow(const TDravin& object) {
    return {GeometryCell(object),
            AreasCell(object),
            ListerItems(object.Build().Statistics().itemCount),
            IsGenerating(object) ? "Generate" : "Custom Edit",
            CameraCell(object),
            SurfacesCell(object),
            TransformCell(object),
            EffectsCell(object),
            Entry(kAnimations, object.Block(kAnimParams).GetInt(animParams::kAnimation)),
            Entry(kDisplays, object.Block(kDispParams).GetInt(dispParams::kVmesh))};
}
