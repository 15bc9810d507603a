// Commands that give settings of one scatter object to all.
#include <functional>

#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

bool Asks(const char* question, const char* caption) {
    return HostContext::Current()->UserInterface().Question(question, caption) == Answer::kYes;
}

// Sets parameters of a block, of every other scatter object of the scene, to what this one has.
void CopyToAll(TCommandCall& call, DravinBlockId id, std::initializer_list<ParamID> params) {
    TimeValue t = call.scene.GetTime();
    const IParamBlock2& from = call.object->Block(id);
    for (INode* node : call.scene.Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object || object == call.object) continue;
        for (ParamID param : params) object->Block(id).SetValue(param, t, from.GetValue(param, t));
    }
}

TCommandResult Done(bool isDone) { return TCommandResult::Value(ParamInput(isDone)); }

TCommandResult AssignCamera(TCommandCall& call) {
    bool wants =
        Asks("Do you want to assign current Camera to all Dravin Objects ?", "Assign Camera");
    if (wants) CopyToAll(call, kCamParams, {camParams::kCamera});
    return Done(wants);
}

TCommandResult CopyCamera(TCommandCall& call) {
    using namespace camParams;
    bool wants =
        Asks("Do you want to copy current parameters to all Dravin objects ?", "Copy Parameters");
    if (wants)
        CopyToAll(call, kCamParams,
                  {kCamera, kCamlimit, kUselookat, kCamwidth, kCamnear, kCamfar, kCamauto});
    return Done(wants);
}

TCommandResult AssignLight(TCommandCall& call) {
    bool wants =
        Asks("Do you want to assign current Light to all Dravin Objects ?", "Assign Light");
    if (wants) CopyToAll(call, kShadowParams, {shadowParams::kLight});
    return Done(wants);
}

}  // namespace

void AddShareCommands(TCommandTable& table) {
    table.Add({"camera.assign",
               "Assign Camera",
               "Gives all scatter objects this one's camera, after a question; gives whether it "
               "did.",
               TCommandTarget::kObject,
               {},
               AssignCamera});
    table.Add({"camera.copy",
               "Copy Parameters",
               "Gives all scatter objects this one's camera and how they are limited by it, after "
               "a question; gives whether it did.",
               TCommandTarget::kObject,
               {},
               CopyCamera});
    table.Add({"light.assign",
               "Assign Light",
               "Gives all scatter objects this one's light, after a question; gives whether it "
               "did.",
               TCommandTarget::kObject,
               {},
               AssignLight});
}
