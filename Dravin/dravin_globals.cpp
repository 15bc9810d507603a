#include "Dravin/dravin_globals.h"

#include "Dravin/config/main_folder.h"
#include "Dravin/config/settings.h"
#include "Dravin/dravin.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

#include <set>

namespace {

struct Globals : TDravinGlobals {
    Globals() {
        options = LoadOptions(OptionsFile());
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
            g.openingFile = true;
            g.surfaces.SetOpening(true);
            g.meshes.Suspend(true);
        });
        on(HostNotify::kFilePostOpen, [](TDravinGlobals& g) {
            g.openingFile = false;
            g.surfaces.SetOpening(false);
            g.meshes.Suspend(false);
            BoundUndo();
        });
        for (HostNotify notice : {HostNotify::kSystemPostNew, HostNotify::kSystemPostReset})
            on(notice, [](TDravinGlobals&) { BoundUndo(); });
        BoundUndo();
    }
    // Every scene has an undo list of its own.
    static void BoundUndo() { HostContext::Current()->Undo().SetMemoryLimit(UndoMemoryLimit()); }
};

}  // namespace

TDravinGlobals& DravinGlobals() { return HostContext::Current()->State<Globals>(); }

void SweepSurfaceCache(const Scene& scene) {
    std::vector<TSurfaceCache::Use> uses;
    Hold* hold = CurrentHold();
    bool edits = !hold || !hold->IsRestoring();  // lists that undo brings back stay as they were
    for (INode* node : scene.Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object) continue;
        IParamBlock2& block = object->Block(kSurfaceParams);
        int kind = block.GetInt(surfaceParams::kSurfmode) != 0;
        std::set<const INode*> seen;
        for (int i = 0; i < block.Count(surfaceParams::kSurflist);) {
            const INode* surface = block.GetNode(surfaceParams::kSurflist, 0, i);
            if (surface && !seen.insert(surface).second && edits) {
                NotifySuspender quiet(block);
                AccessorSuspender silent(block);
                block.Delete(surfaceParams::kSurflist, i);
                continue;
            }
            if (surface) uses.push_back({surface, kind});
            ++i;
        }
    }
    DravinGlobals().surfaces.Sweep(uses);
}
