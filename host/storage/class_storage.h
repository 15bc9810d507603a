// Which fields the entities of each class are stored with: a table that the host and the modules
// above it fill, one visit a class that serves writing and reading alike.
//
//     storage.Register<CameraObject>([](auto& fields, CameraObject& camera) {
//         fields(1, camera.fovDegrees);
//     });
//
// A field's number means one thing for ever. Fields that older files lack keep what a new entity
// has. References in numbered slots need no fields; parameter blocks that an owner makes for itself
// are filled where they are. Not changed while files are read or written.
#pragma once

#include <map>
#include <set>

#include "host/storage/field_reader.h"

struct ClassStorage {
    uint16_t version = 0;  // of the fields
    // A new entity; none: the session's class registry makes it.
    std::function<std::shared_ptr<ReferenceTarget>()> make;
    std::function<void(ReferenceTarget&, FieldWriter&)> write;
    std::function<void(ReferenceTarget&, FieldReader&)> read;
};

class SceneStorage {
public:
    // With the host's own classes.
    SceneStorage();

    template <class T, class Visit>
    void Register(Visit visit, std::function<std::shared_ptr<ReferenceTarget>()> make = {}) {
        ClassStorage storage;
        storage.make = std::move(make);
        storage.write = [visit](ReferenceTarget& target, FieldWriter& fields) {
            visit(fields, static_cast<T&>(target));
        };
        storage.read = [visit](ReferenceTarget& target, FieldReader& fields) {
            visit(fields, static_cast<T&>(target));
        };
        m_classes[T::kClass.id] = std::move(storage);
    }
    // Entities of this class that files do not hold: whoever refers to one refers to nothing.
    void LeaveOut(ClassId id) { m_leftOut.insert(id); }

    // Null where the class has nothing to store beside its references.
    const ClassStorage* Find(ClassId id) const;
    bool IsLeftOut(ClassId id) const { return m_leftOut.contains(id); }

private:
    std::map<ClassId, ClassStorage> m_classes;
    std::set<ClassId> m_leftOut;
};

// The host's classes, by topic.
void RegisterObjectStorage(SceneStorage& storage);
void RegisterMaterialStorage(SceneStorage& storage);
void RegisterParamStorage(SceneStorage& storage);
