#include "host/scene/param_desc.h"

#include <cassert>

const char* ParamTypeName(ParamType type) {
    switch (type) {
        case ParamType::kFloat:
            return "float";
        case ParamType::kInt:
            return "int";
        case ParamType::kBool:
            return "bool";
        case ParamType::kWorld:
            return "world";
        case ParamType::kString:
            return "string";
        case ParamType::kFilename:
            return "filename";
        case ParamType::kTexmap:
            return "texmap";
        case ParamType::kMaterial:
            return "material";
        case ParamType::kNode:
            return "node";
        case ParamType::kPoint3:
            return "point3";
        case ParamType::kColor:
            return "color";
        case ParamType::kTime:
            return "time";
        case ParamType::kReference:
            return "reference";
    }
    return "";
}

bool IsReferenceType(ParamType type) {
    return type == ParamType::kTexmap || type == ParamType::kMaterial || type == ParamType::kNode ||
           type == ParamType::kReference;
}

bool IsNumberType(ParamType type) {
    return type == ParamType::kFloat || type == ParamType::kInt || type == ParamType::kBool ||
           type == ParamType::kWorld || type == ParamType::kTime;
}

ParamValue ZeroValue(ParamType type) {
    switch (type) {
        case ParamType::kFloat:
        case ParamType::kWorld:
            return 0.0f;
        case ParamType::kInt:
        case ParamType::kBool:
        case ParamType::kTime:
            return int32_t{0};
        case ParamType::kString:
        case ParamType::kFilename:
            return std::string();
        case ParamType::kPoint3:
            return Point3{};
        case ParamType::kColor:
            return Color{};
        default:
            return std::shared_ptr<ReferenceTarget>();
    }
}

const char* ClassTestName(ClassTest test) {
    switch (test) {
        case ClassTest::kAny:
            return "any object";
        case ClassTest::kGeometry:
            return "a geometry object";
        case ClassTest::kShape:
            return "a shape";
        case ClassTest::kCamera:
            return "a camera";
        case ClassTest::kLight:
            return "a light";
        case ClassTest::kParticles:
            return "a particle system";
    }
    return "";
}

ParamBlockDesc2::ParamBlockDesc2(int blockId, std::string blockName, std::string rolloutTitle,
                                 int slot, bool open, std::vector<ParamDef> defs)
    : id(blockId),
      name(std::move(blockName)),
      title(std::move(rolloutTitle)),
      referenceSlot(slot),
      rolloutOpen(open),
      params(std::move(defs)) {
    for (size_t i = 0; i < params.size(); ++i) {
        [[maybe_unused]] bool newId = m_byId.emplace(params[i].id, int(i)).second;
        [[maybe_unused]] bool newName = m_byName.emplace(params[i].name, int(i)).second;
        assert(newId && newName);
        assert(params[i].defaultValue.index() == ZeroValue(params[i].type).index());
    }
}

const ParamDef* ParamBlockDesc2::Find(ParamID paramId) const {
    int index = IndexOf(paramId);
    return index < 0 ? nullptr : &params[size_t(index)];
}

const ParamDef* ParamBlockDesc2::Find(std::string_view paramName) const {
    auto it = m_byName.find(paramName);
    return it == m_byName.end() ? nullptr : &params[size_t(it->second)];
}

int ParamBlockDesc2::IndexOf(ParamID paramId) const {
    auto it = m_byId.find(paramId);
    return it == m_byId.end() ? -1 : it->second;
}
