// The classes of a session: found by number or name, made by their factories.
//
// The host's classes and those of plug-ins register alike; scene files, scripts and panels make
// objects through here. One thread.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/params/reference.h"

struct ClassDesc {
    ClassInfo info;
    std::string internalName;  // of scripts
    std::string category;      // in lists for users
    bool isPublic = true;      // users may create one
    // A new object of the class.
    std::function<std::shared_ptr<ReferenceTarget>()> create;
};

class ClassRegistry {
public:
    // False, and nothing done, when the number or the internal name (in the superclass) is taken,
    // or there is no number or factory.
    bool Register(ClassDesc desc);
    // False when it is not registered.
    bool Unregister(ClassId id);

    // Null when there is none.
    const ClassDesc* Find(ClassId id) const;
    const ClassDesc* Find(SuperClass super, std::string_view internalName) const;
    // In the order of their registration.
    std::vector<const ClassDesc*> OfSuperClass(SuperClass super) const;
    size_t Size() const { return m_classes.size(); }

    // A new object; null when the class is not known.
    std::shared_ptr<ReferenceTarget> Create(ClassId id) const;

private:
    std::vector<std::unique_ptr<ClassDesc>> m_classes;
};

// A description of class T, which has a constant kClass and can be made without arguments.
template <class T>
ClassDesc DescribeClass(std::string internalName, std::string category) {
    return {T::kClass, std::move(internalName), std::move(category), true,
            [] { return std::make_shared<T>(); }};
}
