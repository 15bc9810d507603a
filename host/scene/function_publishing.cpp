#include "host/scene/function_publishing.h"

#include <algorithm>

#include <fmt/format.h>

#include "host/params/reference.h"

namespace {

const char* TypeName(FPType type) {
    static constexpr const char* kNames[] = {"nothing", "bool",       "int",    "int64",
                                             "float",   "point3",     "matrix", "string",
                                             "pointer", "list of int"};
    return kNames[size_t(type)];
}

// The value as the function wants it; nothing where it is of another kind.
FPValue Converted(const FPValue& value, FPType type) {
    if (value.index() == size_t(type)) return value;
    if (auto* whole = std::get_if<int32_t>(&value)) {
        if (type == FPType::kInt64) return int64_t{*whole};
        if (type == FPType::kFloat) return float(*whole);
        if (type == FPType::kBool) return *whole != 0;
    }
    return {};
}

std::string Signature(const FPFunction& function) {
    std::string text = function.name;
    text += '(';
    for (size_t i = 0; i < function.arguments.size(); ++i)
        text += fmt::format("{}{} {}", i ? ", " : "", TypeName(function.arguments[i].type),
                            function.arguments[i].name);
    return text + ')';
}

template <class Test>
const FPFunction* FindFunction(std::span<const FPFunction> functions, const Test& test) {
    auto found = std::find_if(functions.begin(), functions.end(), test);
    return found == functions.end() ? nullptr : &*found;
}

}  // namespace

const FPFunction* FPInterface::Find(int id) const {
    return FindFunction(Functions(), [id](const FPFunction& f) { return f.id == id; });
}

const FPFunction* FPInterface::Find(std::string_view name) const {
    return FindFunction(Functions(), [name](const FPFunction& f) { return f.name == name; });
}

FPResult FPInterface::Call(int id, FPArguments arguments) { return Run(Find(id), arguments); }

FPResult FPInterface::Call(std::string_view name, FPArguments arguments) {
    return Run(Find(name), arguments);
}

FPResult FPInterface::Run(const FPFunction* function, FPArguments arguments) {
    if (!function) return {FPStatus::kUnknownFunction, {}, {}};
    auto refuse = [&] {
        return FPResult{FPStatus::kBadArguments, {}, "expected " + Signature(*function)};
    };
    if (arguments.size() != function->arguments.size()) return refuse();
    FPValues values;
    for (size_t i = 0; i < arguments.size(); ++i) {
        values.push_back(Converted(arguments[i], function->arguments[i].type));
        if (values.back().index() == 0) return refuse();
    }
    return {FPStatus::kDone, function->call(*this, values), {}};
}

FPInterface* InterfaceOf(ReferenceTarget& target, InterfaceId id) {
    auto* publisher = dynamic_cast<IPublisher*>(&target);
    return publisher ? publisher->GetInterface(id) : nullptr;
}

bool StaticInterfaces::Add(FPInterface& interface) {
    if (Find(interface.Id())) return false;
    m_interfaces.push_back(&interface);
    return true;
}

void StaticInterfaces::Remove(const FPInterface& interface) {
    std::erase(m_interfaces, &interface);
}

FPInterface* StaticInterfaces::Find(InterfaceId id) const {
    for (FPInterface* interface : m_interfaces)
        if (interface->Id() == id) return interface;
    return nullptr;
}

FPInterface* StaticInterfaces::Find(std::string_view name) const {
    for (FPInterface* interface : m_interfaces)
        if (interface->Name() == name) return interface;
    return nullptr;
}
