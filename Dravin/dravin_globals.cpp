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
        // Arrays must not outlive the scene whose nodes they belong to.
        for (HostNotify notice : {HostNotify::kSystemPreNew, HostNotify::kSystemPreReset})
            on(notice, [](TDravinGlobals& g) { g.surfaces.Clear(); });
        on(HostNotify::kFilePreOpen, [](TDravinGlobals& g) {
            g.surfaces.Clear();
            g.surfaces.SetOpening(true);
        });
        on(HostNotify::kFilePostOpen, [](TDravinGlobals& g) { g.surfaces.SetOpening(false); });
    }
};

}  // namespace

TDravinGlobals& DravinGlobals() { return HostContext::Current()->State<Globals>(); }
