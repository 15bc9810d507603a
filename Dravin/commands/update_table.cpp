// Commands that rebuild objects, or keep them from being rebuilt.
#include "Dravin/build/dravin_build.h"
#include "Dravin/build/evaluation.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

ParamInput Outcome(const TDravin& object) {
    return ParamInput(int64_t(object.Build().Statistics().itemCount));
}

}  // namespace

void AddUpdateCommands(TCommandTable& table) {
    table.Add({"update",
               "",
               "Rebuilds the object for the view, frozen or not, and gives the number of items.",
               TCommandTarget::kObject,
               {},
               [](TCommandCall& call) {
                   UpdateObject(*call.object);
                   return TCommandResult::Value(Outcome(*call.object));
               }});
    table.Add({"update.all",
               "",
               "Rebuilds all scatter objects of the scene, and gives how many there are.",
               TCommandTarget::kScene,
               {},
               [](TCommandCall& call) {
                   return TCommandResult::Value(ParamInput(int64_t(UpdateAllObjects(call.scene))));
               }});
    table.Add({"update.freeze",
               "",
               "Freezes all scatter objects of the session: views keep what was built last.",
               TCommandTarget::kScene,
               {{"on", Kind::kBool, "false lets them follow changes again"}},
               [](TCommandCall& call) {
                   FreezeAllObjects(call.Bool("on", true));
                   return TCommandResult();
               }});
    table.Add({"update.view",
               "",
               "Brings the object up to date where its result holds no more, as a view does; gives "
               "the number of items.",
               TCommandTarget::kObject,
               {},
               [](TCommandCall& call) {
                   call.node->EvalWorldState(call.scene.GetTime());
                   return TCommandResult::Value(Outcome(*call.object));
               }});
}
