// Commands on the distribution map.
#include <cmath>

#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "host/scene/scene.h"

namespace {

// The map's left and upper border go through the first corner; from there it reaches to the second.
TCommandResult Fit(TCommandCall& call) {
    IParamBlock2& map = call.object->Block(kDistParams);
    TimeValue t = call.scene.GetTime();
    Point3 at = call.Point("position");
    if (call.Text("corner") == "left_up") {
        map.SetValue(distParams::kOffsetX, t, at.x);
        map.SetValue(distParams::kOffsetY, t, at.y);
        return {};
    }
    map.SetValue(distParams::kLockRatio, t, 0);  // before one size would take the other along
    map.SetValue(distParams::kUnitsX, t, std::abs(at.x - map.GetFloat(distParams::kOffsetX, t)));
    map.SetValue(distParams::kUnitsY, t, std::abs(at.y - map.GetFloat(distParams::kOffsetY, t)));
    return {};
}

}  // namespace

void AddDistributionCommands(TCommandTable& table) {
    using Kind = TArgumentKind;
    table.Add({"distribution.fit",
               "Fit Map",
               "Puts a corner of the distribution map at a place; the second one sets its size.",
               TCommandTarget::kObject,
               {{"corner", Kind::kText, "which one", true, {"left_up", "right_down"}},
                {"position", Kind::kPoint, "in the world; its x and y count", true}},
               Fit});
}
