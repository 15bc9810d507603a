#include "Dravin/panels/option_list.h"

#include <algorithm>

namespace {

#define OPTION(name) #name, &TOptions::name

std::vector<TOptionGroup> MakeGroups() {
    constexpr auto kChoice = TOptionKind::kChoice;
    constexpr auto kNumber = TOptionKind::kNumber;
    return {
        {"Display",
         {{OPTION(pointCloudStyle),
           "Points-cloud style",
           "Size of the dots that stand for items.",
           kChoice,
           {"Small Dot", "Large Dot"}},
          {OPTION(directXAccel), "Accelerated display",
           "Scenes that are opened draw their items directly."},
          {OPTION(useLaubwerkCloud), "Clouds of plant objects",
           "Plants that bring a point cloud along show it."},
          {OPTION(showMapInViewport),
           "Materials in viewports",
           "What viewports show of automatic materials.",
           kChoice,
           {"Nothing", "Diffuse maps", "Materials as they are"}}}},
        {"Building",
         {{OPTION(optimizeAutomaterial), "Optimise automatic materials",
           "Equal materials of several models become one."},
          {OPTION(copyMaterialFromObjects), "Take materials from objects",
           "Objects that are added to the geometry list keep the material that they have then."},
          {OPTION(vshadowPlaneOffset),
           "Shadow plane offset",
           "Vertical shadow planes stand so far towards the light, percent of a unit.",
           kNumber,
           {},
           0,
           100},
          {OPTION(disableMultithreadRender), "One thread at render time",
           "Builds for renders take one processor."}}},
        {"Messages",
         {{OPTION(noPopups), "No message boxes while rendering",
           "What goes wrong in a render is written to the log only."},
          {OPTION(forceLog), "Always log",
           "Objects write what they do whatever the log level, and not in renders alone."}}},
        {"Kept for other programs",
         {{OPTION(defaultCreationMode),
           "New objects are made",
           "What the mouse makes of a new scatter object.",
           kChoice,
           {"At a click", "In custom edit mode", "With a drag, and no geometry"}},
          {OPTION(checkTexturePaths), "Check texture folders at the start",
           "The folders of textures are among those of the host."},
          {OPTION(collectTexturePaths), "Collect texture folders",
           "Of models that come from the library."},
          {OPTION(assignGeomName), "Name entries after their objects",
           "Rows of the geometry list have the names of their objects."},
          {OPTION(suggestDisplayAdjust), "Suggest display limits", "After large builds."},
          {OPTION(showEdgeMode), "Edge display", "Offers it for proxies."},
          {"MentalRayDirectMode", &TOptions::mentalRayDirectMode, "Direct mode",
           "Of a renderer that takes items one by one."},
          {OPTION(disableMRTintByElement), "No tint by element", "Of that renderer."},
          {OPTION(disableXRefPopups), "No messages about external references",
           "When scenes that refer to others are opened."},
          {OPTION(rollupGeom), "Geometry rollout", "Is open in the panel of the object."},
          {OPTION(rollupDist), "Distribution rollout", "Is open in the panel of the object."},
          {OPTION(rollupAreas), "Areas rollout", "Is open in the panel of the object."},
          {OPTION(rollupEdit), "Items editor rollout", "Is open in the panel of the object."},
          {OPTION(rollupCam), "Camera rollout", "Is open in the panel of the object."},
          {OPTION(rollupShad), "Shadows rollout", "Is open in the panel of the object."},
          {OPTION(rollupSurf), "Surfaces rollout", "Is open in the panel of the object."},
          {OPTION(rollupTrans), "Transform rollout", "Is open in the panel of the object."},
          {OPTION(rollupMat), "Material rollout", "Is open in the panel of the object."},
          {OPTION(rollupEff), "Effects rollout", "Is open in the panel of the object."},
          {OPTION(rollupAnim), "Animation rollout", "Is open in the panel of the object."},
          {OPTION(rollupDisp), "Display rollout", "Is open in the panel of the object."},
          {OPTION(rollupAbout), "General rollout", "Is open in the panel of the object."}}}};
}

#undef OPTION

}  // namespace

const std::vector<TOptionGroup>& OptionGroups() {
    static const std::vector<TOptionGroup> groups = MakeGroups();
    return groups;
}

int ShownOption(const TOptionEntry& entry, int value) {
    if (entry.kind == TOptionKind::kSwitch) return value != 0;
    if (entry.kind == TOptionKind::kChoice)
        return std::clamp(value, 0, int(entry.choices.size()) - 1);
    return std::clamp(value, entry.min, entry.max);
}
