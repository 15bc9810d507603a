// What kind of thing a class of the scene is, and the number that names it in files.
#pragma once

#include <cstdint>
#include <functional>

// Two numbers that no other class has.
struct ClassId {
    uint32_t a = 0, b = 0;
    explicit operator bool() const { return a != 0 || b != 0; }
    friend bool operator==(const ClassId&, const ClassId&) = default;
    friend auto operator<=>(const ClassId&, const ClassId&) = default;
};

enum class SuperClass : uint32_t {
    kNone = 0,
    kNode = 0x1,
    kGeomObject = 0x10,
    kCamera = 0x20,
    kLight = 0x30,
    kShape = 0x40,
    kHelper = 0x50,
    kParticles = 0x60,
    kModifier = 0x810,
    kController = 0x9000,
    kMaterial = 0xC00,
    kTexmap = 0xC10,
    kParamBlock = 0x82,
    kReferenceTarget = 0x100,
    kShadowType = 0x10D0,
    kUtility = 0x1020,
};

// Name of a superclass as listings show it.
const char* SuperClassName(SuperClass super);

// A class as its objects tell it: one constant a class, named kClass.
struct ClassInfo {
    ClassId id;
    SuperClass super = SuperClass::kReferenceTarget;
    const char* name = "ReferenceTarget";  // for users
};

template <>
struct std::hash<ClassId> {
    size_t operator()(const ClassId& id) const noexcept {
        return std::hash<uint64_t>()(uint64_t(id.a) << 32 | id.b);
    }
};
