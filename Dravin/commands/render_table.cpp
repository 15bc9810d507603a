// Commands on how the scene is rendered.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

constexpr int kMostPixels = 65535, kMostSamples = 1 << 16;

// Whether the argument, where it is there, is a whole number from 1 to `most`; taken over then.
bool TakeCount(TCommandCall& call, const char* name, int most, int& value, std::string* error) {
    if (!call.Has(name)) return true;
    int wanted = call.Int(name);
    if (wanted < 1 || wanted > most) {
        *error = fmt::format("{} is {}, expected 1 to {}", name, wanted, most);
        return false;
    }
    value = wanted;
    return true;
}

TCommandResult SetRender(TCommandCall& call) {
    TCommandResult result;
    SceneRenderSettings settings = call.scene.render;
    if (!TakeCount(call, "width", kMostPixels, settings.width, &result.error) ||
        !TakeCount(call, "height", kMostPixels, settings.height, &result.error) ||
        !TakeCount(call, "samples", kMostSamples, settings.samples, &result.error))
        return result;
    settings.exposure = float(call.Real("exposure", settings.exposure));
    settings.renderer = call.Text("renderer", settings.renderer);
    std::string camera = call.Text("camera");
    INode* node = call.scene.FindNode(camera);
    if (!camera.empty() && !(node && node->GetObjectRef() && node->GetObjectRef()->IsCamera()))
        return TCommandResult::Error(fmt::format("the scene has no camera \"{}\"", camera));
    call.scene.render = settings;
    if (call.Has("camera"))
        call.scene.SetRenderCamera(node ? std::static_pointer_cast<INode>(node->shared_from_this())
                                        : nullptr);
    return result;
}

}  // namespace

void AddRenderCommands(TCommandTable& table) {
    table.Add({"scene.render",
               "Set Render Settings",
               "Sets how the scene is rendered; what is not named stays.",
               TCommandTarget::kScene,
               {{"width", Kind::kInteger, "pixels, from 1"},
                {"height", Kind::kInteger, "pixels, from 1"},
                {"samples", Kind::kInteger, "rays a pixel, from 1"},
                {"exposure", Kind::kReal, "stops"},
                {"renderer", Kind::kText, "which one", false, {"raytrace", "scanline", "viewport"}},
                {"camera", Kind::kText, "name of the camera of pictures; empty: none"}},
               SetRender});
}
