#include "Dravin/panels/rollouts.h"

#include <fmt/format.h>

#include "Dravin/panels/number_entry.h"

namespace {

std::vector<TPanelButton> RowButtons(const std::string& topic) {
    return {{"Delete", topic + ".delete", "rows", true},
            {"Copy", topic + ".copy", "row"},
            {"Paste", topic + ".paste"}};
}

TPanelButton CurveButton(const char* label, const char* curve) {
    return {label, fmt::format("curve.edit curve={}", curve)};
}

const TPanelList& GeometryList() {
    using namespace geomParams;
    static const TPanelList list = [] {
        TPanelList l{"geometry",
                     {{kNamelist, "Name", {}},
                      {kGeomlist, "Kind", {"Off", "Template", "Object"}},
                      {kProblist, "Prob.", {}},
                      {kWidthlist, "Width", {}},
                      {kHeightlist, "Height", {}},
                      {kScalelist, "Scale %", {}},
                      {kZoffsetlist, "Z offset", {}},
                      {kCenterlist, "Centre %", {}},
                      {kRadiuslist, "Radius %", {}},
                      {kCobjlist, "Object", {}},
                      {kMatlist, "Material", {}}},
                     {{"Add...", "geometry.add"}}};
        for (TPanelButton& button : RowButtons("geometry")) l.buttons.push_back(std::move(button));
        l.buttons.push_back({"Move...", "geometry.move", "row"});
        l.buttons.push_back({"Normalise", "geometry.normalise"});
        l.buttons.push_back({"Randomise", "geometry.randomise"});
        return l;
    }();
    return list;
}

const TPanelList& AreaList() {
    using namespace areaParams;
    static const TPanelList list = [] {
        TPanelList l{
            "area",
            {{kPfAractivelist, "On", {}},
             {kArnamelist, "Name", {}},
             {kArtypelist, "Type", {"Spline", "Object", "Paint", "Surface", "Dravin"}, false},
             {kArincexclist, "Use", {"Include", "Exclude"}},
             {kArwidthlist, "Width", {}},
             {kArscalelist, "Density %", {}},
             {kArthresholdlist, "Threshold %", {}},
             {kArflafdenslist, "Falloff density %", {}},
             {kArflafscalist, "Falloff scale %", {}},
             {kArflinvlist, "Falloff inverted", {}},
             {kArboundchecklist, "Boundary check", {"Point", "Size", "Elements"}},
             {kArselspeclist, "Own geometry", {}},
             {kArspeclist, "Geometry ids", {}},
             {kArmaplist, "Map", {}},
             {kArsurfidlist, "Surfaces", {}},
             {kArforceopenlist, "Open", {}},
             {kArresollist, "Resolution", {}},
             {kArslicelist, "Height limit", {}},
             {kArslicetoplist, "Top", {}},
             {kArobscalelist, "Object scale %", {}},
             {kArzoffset, "Z offset", {}},
             {kArnodelist, "Object", {}}},
            {{"Spline...", "area.add kind=spline", "", false, true, "Adds a new Spline Area"},
             {"Object...", "area.add kind=object", "", false, true,
              "Adds a new Object Area (exclude only)"},
             {"Add Paint", "area.add kind=paint", "", false, false, "Adds a new Paint Area"},
             {"By Name", "area.add_by_name", "", false, false,
              "Adds multiple Spline/Object Areas by name"},
             {"Geometry", "area.geometry", "row", false, false,
              "Selects the subset of plants used on this area"},
             {"Paint", "area.brush mode=paint", "row"},
             {"Erase", "area.brush mode=erase", "row"}}};
        for (TPanelButton& button : RowButtons("area")) l.buttons.push_back(std::move(button));
        l.buttons.push_back({"Up", "area.up", "row", false, true,
                             "Move Up (excluding areas affect only the areas below it)"});
        l.buttons.push_back({"Down", "area.down", "row", false, true,
                             "Move Down (excluding areas affect only the areas below it)"});
        l.buttons.push_back({"To Paint", "area.to_paint", "row"});
        l.buttons.push_back({"To Spline", "area.to_spline", "row"});
        return l;
    }();
    return list;
}

const TPanelList& EffectList() {
    using namespace effectParams;
    static const TPanelList list{"effect",
                                 {{kEfenablelist, "On", {}}, {kEfnamelist, "Name", {}, false}},
                                 {{"Add...", "effect.add"},
                                  {"Delete", "effect.delete", "effect"},
                                  {"Up", "effect.up", "effect"},
                                  {"Down", "effect.down", "effect"},
                                  {"Rename...", "effect.rename", "effect"},
                                  {"Edit", "effect.edit", "effect"},
                                  {"Library", "effect.browse", "effect"}}};
    return list;
}

// The rollout of a block of the scatter object.
TRollout Of(DravinBlockId id, std::vector<TPanelGroup> groups) {
    const ParamBlockDesc2& block = DravinBlocks()[id];
    return {block.title, &block, block.rolloutOpen, std::move(groups)};
}

TRollout General() {
    using namespace genParams;
    return Of(kGenParams, {{"Object", {kIconsize, kSeed}},
                           {"Threads", {kAutothreads, kThreads}},
                           {"Presets",
                            {},
                            nullptr,
                            {{"Load...", "preset.load"},
                             {"Save...", "preset.save"},
                             {"Delete...", "preset.delete"},
                             {"Export", "preset.export", "", false, false},
                             {"Import", "preset.import", "", false, false}}}});
}

TRollout Geometry() {
    using namespace geomParams;
    return Of(kGeomParams, {{"", {}, &GeometryList()}, {"All entries", {kGlobscale, kConsmat}}});
}

TRollout Areas() {
    using namespace areaParams;
    return Of(kAreaParams, {{"", {}, &AreaList()},
                            {"Density at edges",
                             {kSpdensact, kSpdensinc, kSpdensexc},
                             nullptr,
                             {CurveButton("Curve", "spdenscurve")}},
                            {"Scale at edges",
                             {kSpscalact, kSpscalz, kSpscalinc, kSpscalexc},
                             nullptr,
                             {CurveButton("Curve", "spscalcurve")}}});
}

TRollout Distribution() {
    using namespace distParams;
    return Of(
        kDistParams,
        {{"", {kDistmode}},
         {"Map",
          {kMapname, kDistmap, kDistmapchan, kPixelsX, kPixelsY, kUnitsX, kUnitsY, kLockRatio,
           kOffsetX, kOffsetY, kDrotation, kSdgizmo},
          nullptr,
          {},
          0},
         {"Density", {kThreshold, kMaxdensity}, nullptr, {}, 0},
         {"Diversity",
          {kDivers, kDivtmap, kDivmapchan, kDivmapnoise, kClusize, kClurough, kClunoise, kCluedge},
          nullptr,
          {},
          0},
         {"Collisions", {kCollision, kRadius, kCollheight, kCollpreview}, nullptr, {}, 0},
         {"Path",
          {kDistpathnodes, kDistpathmode, kDistpathgeomid, kDistpathspacing, kDistpathoffset,
           kDistpathxfollow, kDistpathzfollow},
          nullptr,
          {},
          1},
         {"Reference",
          {kDistrefnodes, kDistrefmode, kDistrefgetrot, kDistrefgetscale},
          nullptr,
          {},
          2},
         {"Particle flow",
          {kDistpflownodes, kDistpflowgetrot, kDistpflowgetscale, kDistpflowallevents,
           kDistpfloweventslist},
          nullptr,
          {},
          3}});
}

TRollout Surfaces() {
    using namespace surfaceParams;
    return Of(kSurfaceParams,
              {{"", {kSurflist, kSurfmode, kSurfanim, kRandstacked}},
               {"Altitude",
                {kAltlimited, kAltmax, kAltmin, kSurfaltdens, kSurfaltscal},
                nullptr,
                {CurveButton("Density Curve", "altitude_density"),
                 CurveButton("Scale Curve", "altitude_scale")}},
               {"Slope",
                {kSlopelimited, kSlopemax, kSlopemin, kSurfslodens, kSurfsloscal},
                nullptr,
                {CurveButton("Density Curve", "slope_density"),
                 CurveButton("Scale Curve", "slope_scale")}},
               {"Direction", {kDirection, kScalelope, kLinkeditsurf}},
               {"UV", {kUvalign, kUvscalex, kUvmultscalex, kUvscaley, kUvmultscaley}}});
}

TRollout ItemsEditor() {
    using namespace editionParams;
    return Of(kEditionParams, {{"", {kMode, kConsgeom}},
                               {"Items",
                                {},
                                nullptr,
                                {{"Select all", "items.select_all"},
                                 {"Select none", "items.select_none"},
                                 {"Invert", "items.select_invert"},
                                 {"Move...", "items.move"},
                                 {"Rotate...", "items.rotate"},
                                 {"Scale...", "items.scale"},
                                 {"Add...", "items.add"},
                                 {"Clone", "items.clone"},
                                 {"Delete", "items.delete"},
                                 {"Detach", "items.detach"}}}});
}

TRollout CameraRollout() {
    using namespace camParams;
    return Of(kCamParams,
              {{"Camera",
                {kCamera, kCamauto, kCamlookat},
                nullptr,
                {{"Assign Camera", "camera.assign"}, {"Copy Parameters", "camera.copy"}}},
               {"Visibility", {kCamlimit, kCamwidth, kCamfar, kCambho}},
               {"Look-at", {kUselookat, kLookat}},
               {"Level of detail", {kCamlod, kCamloddist, kCamlodenvrange, kCamlodlookat}},
               {"Falloff",
                {kCamdensact, kCamscaact, kCamenvrange, kCamdensear, kCamdensfar},
                nullptr,
                {CurveButton("Density Curve", "camdenscurve"),
                 CurveButton("Scale Curve", "camscacurve")}}});
}

TRollout Shadows() {
    using namespace shadowParams;
    return Of(kShadowParams, {{"Billboards",
                               {kUsefakeshadows, kLight, kHshadow, kVshadow, kHsplanes, kCustshadow,
                                kHsoffset, kHsscale},
                               nullptr,
                               {{"Assign Light", "light.assign"}}},
                              {"Self-shadow", {kSelfshadow, kSsitself}}});
}

TRollout TransformRollout() {
    using namespace transformParams;
    return Of(
        kTransformParams,
        {{"Translation",
          {kApplytranslation, kTransxmin, kTransxmax, kTransymin, kTransymax, kTranszmin,
           kTranszmax, kTransmap, kTransmapchan, kTransmapx, kTransmapy, kTransmapz, kTranscolormap,
           kTransprobmap}},
         {"Rotation",
          {kApplyrotation, kXrotmin, kXrotmax, kYrotmin, kYrotmax, kZrotmin, kZrotmax, kRotmap,
           kRotmapchan, kRotmapx, kRotmapy, kRotmapz, kRotcolormap, kRotprobmap, kUserotprobcurve},
          nullptr,
          {CurveButton("Probability Curve", "rotprobcurve")}},
         {"Scale",
          {kApplyscale, kScalelock, kScalexmin, kScalexmax, kScaleymin, kScaleymax, kScalezmin,
           kScalezmax, kScamap, kScamapchan, kScamapx, kScamapy, kScamapz, kScacolormap,
           kScaprobmap, kUsescaprobcurve},
          nullptr,
          {CurveButton("Probability Curve", "scaprobcurve")}},
         {"Mirror", {kMirror}}});
}

TRollout MaterialRollout() {
    using namespace matParams;
    return Of(kMatParams, {{"Tint", {kTintmixmode, kTintmin, kTintmax, kTintmode}},
                           {"Gradient", {kTintcolor1, kTintcolor2}},
                           {"Map", {kTintmap, kTintmapmode, kTintmapchan}}});
}

TRollout Effects() {
    return Of(kEffectParams, {{"", {}, &EffectList()}, {"", {effectParams::kPfEfonlyrender}}});
}

TRollout AnimationRollout() {
    using namespace animParams;
    return Of(kAnimParams, {{"", {kAnimation, kAnimonlyrend}},
                            {"Samples", {kAnimsoffset, kAnimsamples}},
                            {"From map", {kAnimap, kAnimapchan, kAnimstart, kAnimend}}});
}

TRollout Display() {
    using namespace dispParams;
    return Of(
        kDispParams,
        {{"Viewport",
          {kVmesh, kVtype, kAdaptfaces, kCloudens, kCloudcolorid, kVmaxitems, kOpacity,
           kWireframe}},
         {"Render", {kRmesh, kRtype, kRendermode, kRskip, kRmaxitems, kMaxfaces, kHidecustom}},
         {"Update",
          {kManualupdate, kDisabled},
          nullptr,
          {{"Update", "update"},
           {"Update All", "update.all"},
           {"Freeze all...", "update.freeze"}}}});
}

std::string RangeText(const ParamDef& def) {
    if (!def.hasRange || !IsNumberType(def.type)) return {};
    constexpr double kUnlimited = 2147483647.0;
    if (def.max < kUnlimited)
        return fmt::format("{} to {}", ShownNumber(def.min), ShownNumber(def.max));
    return def.min <= -kUnlimited ? "any" : fmt::format("{} and more", ShownNumber(def.min));
}

std::string DefaultText(const ParamDef& def) {
    if (def.list || IsReferenceType(def.type)) return {};
    if (auto* text = std::get_if<std::string>(&def.defaultValue)) return *text;
    if (auto* number = std::get_if<float>(&def.defaultValue)) return ShownNumber(*number);
    auto* integer = std::get_if<int32_t>(&def.defaultValue);
    if (!integer) return {};
    if (def.type == ParamType::kBool) return *integer ? "on" : "off";
    if (*integer >= 0 && size_t(*integer) < def.entries.size())
        return def.entries[size_t(*integer)];
    return std::to_string(*integer);
}

}  // namespace

const std::string& CaptionOf(const ParamDef& def) {
    bool isOwn = !def.controlText.empty();
    return isOwn ? def.controlText : def.label.empty() ? def.name : def.label;
}

std::string HelpOf(const ParamDef& def) {
    std::string text = def.label.empty() ? def.name : def.label;
    if (!def.meaning.empty()) text += "\n" + def.meaning;
    if (std::string range = RangeText(def); !range.empty()) text += "\nRange: " + range;
    if (std::string value = DefaultText(def); !value.empty()) text += "\nDefault: " + value;
    return text + "\nIn scripts: " + def.name;
}

std::span<const TRollout> DravinRollouts() {
    static const TRollout rollouts[] = {
        General(),     Geometry(),         Areas(),   Distribution(),     Surfaces(),
        ItemsEditor(), CameraRollout(),    Shadows(), TransformRollout(), MaterialRollout(),
        Effects(),     AnimationRollout(), Display()};
    static_assert(std::size(rollouts) == kNumDravinBlocks);
    return rollouts;
}
