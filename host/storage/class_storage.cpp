#include "host/storage/class_storage.h"

SceneStorage::SceneStorage() {
    RegisterObjectStorage(*this);
    RegisterMaterialStorage(*this);
    RegisterParamStorage(*this);
}

const ClassStorage* SceneStorage::Find(ClassId id) const {
    auto it = m_classes.find(id);
    return it == m_classes.end() ? nullptr : &it->second;
}
