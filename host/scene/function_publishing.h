// Functions that objects and modules publish: found by interface and by number or name, called with
// plain values.
//
// Scripts, renderers and bindings reach a module through here without its headers. An interface is
// either a mixin (one an object, found through the object) or static (one a session, found through
// the session's list). Numbers and names of interfaces and functions are fixed for good. One
// thread.
//
//     FPInterface* trees = InterfaceOf(*object, {0x6afe7c5e, 0x15813e00});
//     FPResult count = trees->Call("count", {});
//     if (count.status == FPStatus::kDone) Use(std::get<int32_t>(count.values[0]));
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/math/matrix3.h"
#include "host/params/class_id.h"

class FPInterface;
class ReferenceTarget;

using InterfaceId = ClassId;

// kPointer: a raw address, of what the function says.
enum class FPType {
    kNone,
    kBool,
    kInt,
    kInt64,
    kFloat,
    kPoint3,
    kMatrix,
    kString,
    kPointer,
    kInts
};

struct FPPointer {
    void* address = nullptr;
    friend bool operator==(const FPPointer&, const FPPointer&) = default;
};

// In the order of FPType.
using FPValue = std::variant<std::monostate, bool, int32_t, int64_t, float, Point3, Matrix3,
                             std::string, FPPointer, std::vector<int32_t>>;
using FPValues = std::vector<FPValue>;
using FPArguments = std::span<const FPValue>;

struct FPArgument {
    const char* name;
    FPType type;
};

enum class FPStatus {
    kDone,
    kUnknownFunction,  // the interface has no such function
    kBadArguments,     // too few, too many, or of another kind; nothing was done
};

// values: the result, if the function has one, then what it writes to by-reference arguments.
struct FPResult {
    FPStatus status = FPStatus::kDone;
    FPValues values;
    std::string error;  // of bad arguments: what is wanted
};

struct FPFunction {
    int id;
    const char* name;
    FPType result;
    std::vector<FPArgument> arguments;
    std::vector<FPArgument> outputs;  // by-reference arguments, in order
    // Arguments have the kinds that the function names.
    FPValues (*call)(FPInterface& interface, FPArguments arguments);
};

enum class FPKind { kStatic, kMixin };

class FPInterface {
public:
    virtual ~FPInterface() = default;

    virtual InterfaceId Id() const = 0;
    virtual const char* Name() const = 0;
    virtual FPKind Kind() const = 0;
    virtual std::span<const FPFunction> Functions() const = 0;

    // Null when there is none.
    const FPFunction* Find(int id) const;
    const FPFunction* Find(std::string_view name) const;
    // Whole numbers stand in for wider ones, for numbers and for truths.
    FPResult Call(int id, FPArguments arguments);
    FPResult Call(std::string_view name, FPArguments arguments);
    FPResult Call(int id, std::initializer_list<FPValue> arguments) {
        return Call(id, FPArguments(arguments.begin(), arguments.size()));
    }
    FPResult Call(std::string_view name, std::initializer_list<FPValue> arguments) {
        return Call(name, FPArguments(arguments.begin(), arguments.size()));
    }

private:
    FPResult Run(const FPFunction* function, FPArguments arguments);
};

// What publishes mixins derives from this.
class IPublisher {
public:
    // Null when there is none; lives as long as the publisher.
    virtual FPInterface* GetInterface(InterfaceId id) = 0;

protected:
    ~IPublisher() = default;
};

// The mixin of a scene entity; null when it publishes none of that number.
FPInterface* InterfaceOf(ReferenceTarget& target, InterfaceId id);

// The static interfaces of a session: HostContext::State<StaticInterfaces>().
class StaticInterfaces {
public:
    // Borrowed until Remove. False, and nothing done, when its number is taken.
    bool Add(FPInterface& interface);
    void Remove(const FPInterface& interface);
    // Null when there is none.
    FPInterface* Find(InterfaceId id) const;
    FPInterface* Find(std::string_view name) const;

private:
    std::vector<FPInterface*> m_interfaces;
};
