#include "Dravin/dravin_globals.h"

#include "Dravin/config/main_folder.h"
#include "host/scene/host_context.h"

namespace {

struct Globals : TDravinGlobals {
    Globals() {
        templates.ReadDefinitions(GeometryFolder());
        HostContext& context = *HostContext::Current();
        auto on = [&](HostNotify notice, auto action) {
            context.notifications.Register(notice,
                                           [this, action](HostNotify, INode*) { action(*this); });
        };
        for (HostNotify notice : {HostNotify::kSystemPreNew, HostNotify::kSystemPreReset})
            on(notice, [](TDravinGlobals& g) { g.DropSceneData(); });
        on(HostNotify::kFilePreOpen, [](TDravinGlobals& g) {
            g.DropSceneData();
            g.surfaces.SetOpening(true);
            g.meshes.Suspend(true);
        });
        on(HostNotify::kFilePostOpen, [](TDravinGlobals& g) {
            g.surfaces.SetOpening(false);
            g.meshes.Suspend(false);
        });
    }
};

}  // namespace

TDravinGlobals& DravinGlobals() { return HostContext::Current()->State<Globals>(); }
