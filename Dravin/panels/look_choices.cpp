#include "Dravin/panels/look_choices.h"

#include "Dravin/materials/scene_looks.h"
#include "host/io/bitmap.h"
#include "host/io/new_entity.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"

namespace {

// `look` enters the scene under a name and is put into the slot.
TPanelResult Put(TPanel& panel, TParamKey key, const std::shared_ptr<ReferenceTarget>& look,
                 const std::string& name) {
    UndoStep step(panel.StepName(key));
    EnterLook(panel.GetScene(), look, name);
    TPanelResult result = panel.SetTarget(key, look);
    if (!result) step.Cancel();
    return result;
}

}  // namespace

std::vector<const ClassDesc*> LookClasses(ParamType type) {
    std::vector<const ClassDesc*> classes;
    HostContext* session = HostContext::Current();
    if (!session) return classes;
    SuperClass super = type == ParamType::kMaterial ? SuperClass::kMaterial : SuperClass::kTexmap;
    for (const ClassDesc* desc : session->classes.OfSuperClass(super))
        if (desc->isPublic) classes.push_back(desc);
    return classes;
}

std::shared_ptr<ReferenceTarget> LookAt(const TPanel& panel, TParamKey key) {
    if (panel.IsEmpty()) return nullptr;
    ParamValue value =
        TPanel::TableOf(*panel.All()[0], key).Get(key.id, panel.GetScene().GetTime());
    return std::get<std::shared_ptr<ReferenceTarget>>(value);
}

TPanelResult PutNewLook(TPanel& panel, TParamKey key, ClassId id) {
    for (const ClassDesc* desc : LookClasses(key.Def().type))
        if (desc->info.id == id) return Put(panel, key, NewEntity(*desc), desc->info.name);
    return {"there is no such class", {}};
}

TPanelResult PutImage(TPanel& panel, TParamKey key, const std::string& file) {
    return Put(panel, key, MakeBitmapTex(file), file.substr(file.find_last_of("/\\") + 1));
}

TPanelResult PutCopy(TPanel& panel, TParamKey key) {
    std::shared_ptr<ReferenceTarget> look = LookAt(panel, key);
    if (!look) return {"there is nothing to copy", {}};
    UndoStep step(panel.StepName(key));
    std::shared_ptr<ReferenceTarget> copy = CopyLook(panel.GetScene(), *look);
    TPanelResult result = copy ? panel.SetTarget(key, copy)
                               : TPanelResult{look->ClassName() + " cannot be copied", {}};
    if (!result) step.Cancel();
    return result;
}
