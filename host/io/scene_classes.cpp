#include "host/io/scene_classes.h"

#include <nlohmann/json.hpp>

#include "host/params/param_block.h"
#include "host/scene/host_context.h"

using Json = nlohmann::ordered_json;

namespace {

const ClassRegistry* Classes() {
    HostContext* session = HostContext::Current();
    return session ? &session->classes : nullptr;
}

}  // namespace

const ClassDesc* FindSceneClass(SuperClass super, const std::string& type) {
    const ClassRegistry* classes = Classes();
    return classes ? classes->Find(super, type) : nullptr;
}

std::vector<std::string> SceneClassNames(SuperClass super) {
    std::vector<std::string> names;
    if (const ClassRegistry* classes = Classes())
        for (const ClassDesc* desc : classes->OfSuperClass(super))
            names.push_back(desc->internalName);
    return names;
}

std::vector<std::shared_ptr<IParamBlock2>> ParamBlocksOf(const ReferenceTarget& entity) {
    std::vector<std::shared_ptr<IParamBlock2>> blocks;
    for (int i = 0; i < entity.NumRefs(); ++i)
        if (auto block = std::dynamic_pointer_cast<IParamBlock2>(entity.GetReference(i)))
            blocks.push_back(std::move(block));
    return blocks;
}

// A parameter may refer to anything in the scene, so its value is looked at when all is there.
std::shared_ptr<ReferenceTarget> ReadByClass(const ClassDesc& desc, DescriptionObject& keys,
                                             DescriptionContext& context) {
    std::shared_ptr<ReferenceTarget> entity = desc.create();
    if (!entity) return nullptr;
    for (const std::shared_ptr<IParamBlock2>& block : ParamBlocksOf(*entity))
        for (const ParamDef& def : block->GetDesc().params) {
            if (def.transient) continue;
            if (auto value = keys.Find(def.name.c_str()))
                context.WhenAllExist([block, &def, value = *value, &context] {
                    ReadParam(*block, def, value, context);
                });
        }
    return entity;
}

bool WriteByClass(const ReferenceTarget& entity, Json& keys, const DescriptionWriter& writer) {
    const ClassRegistry* classes = Classes();
    const ClassDesc* desc = classes ? classes->Find(entity.Class().id) : nullptr;
    if (!desc) return false;
    keys["type"] = desc->internalName;
    for (const std::shared_ptr<IParamBlock2>& block : ParamBlocksOf(entity))
        for (const ParamDef& def : block->GetDesc().params)
            if (Json value = def.transient ? Json() : writer.Param(*block, def); !value.is_null())
                keys[def.name] = std::move(value);
    return true;
}
