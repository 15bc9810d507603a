#include "host/params/class_registry.h"

#include <algorithm>

const char* SuperClassName(SuperClass super) {
    switch (super) {
        case SuperClass::kNone:
            return "none";
        case SuperClass::kNode:
            return "node";
        case SuperClass::kGeomObject:
            return "geometry object";
        case SuperClass::kCamera:
            return "camera";
        case SuperClass::kLight:
            return "light";
        case SuperClass::kShape:
            return "shape";
        case SuperClass::kHelper:
            return "helper";
        case SuperClass::kParticles:
            return "particle system";
        case SuperClass::kModifier:
            return "modifier";
        case SuperClass::kController:
            return "controller";
        case SuperClass::kMaterial:
            return "material";
        case SuperClass::kTexmap:
            return "texture map";
        case SuperClass::kParamBlock:
            return "parameter block";
        case SuperClass::kReferenceTarget:
            return "reference target";
        case SuperClass::kShadowType:
            return "shadow type";
        case SuperClass::kUtility:
            return "utility";
    }
    return "";
}

bool ClassRegistry::Register(ClassDesc desc) {
    if (!desc.info.id || !desc.create || Find(desc.info.id)) return false;
    if (Find(desc.info.super, desc.internalName)) return false;
    m_classes.push_back(std::make_unique<ClassDesc>(std::move(desc)));
    return true;
}

bool ClassRegistry::Unregister(ClassId id) {
    return std::erase_if(m_classes, [id](const auto& c) { return c->info.id == id; }) > 0;
}

const ClassDesc* ClassRegistry::Find(ClassId id) const {
    for (const auto& c : m_classes)
        if (c->info.id == id) return c.get();
    return nullptr;
}

const ClassDesc* ClassRegistry::Find(SuperClass super, std::string_view internalName) const {
    for (const auto& c : m_classes)
        if (c->info.super == super && c->internalName == internalName) return c.get();
    return nullptr;
}

std::vector<const ClassDesc*> ClassRegistry::OfSuperClass(SuperClass super) const {
    std::vector<const ClassDesc*> found;
    for (const auto& c : m_classes)
        if (c->info.super == super) found.push_back(c.get());
    return found;
}

std::shared_ptr<ReferenceTarget> ClassRegistry::Create(ClassId id) const {
    const ClassDesc* desc = Find(id);
    return desc ? desc->create() : nullptr;
}
