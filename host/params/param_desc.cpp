#include "host/params/param_desc.h"

#include <cassert>

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
