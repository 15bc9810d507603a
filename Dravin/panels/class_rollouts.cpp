#include "Dravin/panels/class_rollouts.h"

#include <algorithm>

#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/shadow/xshadow.h"

namespace {

constexpr const char* kProduct = "Dravin Pack";
constexpr const char* kMaker = "Tavu Software";

TClassPanel ShadowPanel() {
    using namespace xshadowParams;
    return {XShadow::kClass,
            &XShadowBlock(),
            {{XShadowBlock().title,
              {{"Image", {}, {kTypemap, kMap, kDisablecache}},
               {"", {}, {kSelfshadow}},
               {"Shadow Map", {}, {kBias, kSize, kSample, kAbsolute}},
               {"", {{XShadow::kClass.name}, {kMaker}}}}}}};
}

TClassPanel LeafPanel() {
    using namespace leafParams;
    TClassRollout parameters{
        LeafBlock().title,
        {{"", {}, {kMatid}},
         {"Mapping", {}, {kOffsetx, kOffsety, kScalex, kScaley, kFlipx, kFlipy, kAngle}},
         {"", {}, {kAction, kMapchan}},
         {"Display", {}, {kDisplay}},
         {"Sample",
          {{"Total leaves", "0"}},
          {},
          {{"Pick Sample", ""}, {"Update", ""}, {"Extract", "leaf.extract"}}}}};
    TClassRollout credits{"Credits", {{"", {{kProduct}, {kMaker}}}}};
    return {DLeaf::kClass, &LeafBlock(), {std::move(credits), std::move(parameters)}};
}

}  // namespace

std::span<const TClassPanel> ClassPanels() {
    static const TClassPanel panels[] = {ShadowPanel(), LeafPanel()};
    return panels;
}

const TClassPanel* FindClassPanel(ClassId id) {
    std::span<const TClassPanel> panels = ClassPanels();
    auto found = std::find_if(panels.begin(), panels.end(),
                              [id](const TClassPanel& panel) { return panel.of.id == id; });
    return found == panels.end() ? nullptr : &*found;
}
