#include "host/params/param_value.h"

#include <algorithm>
#include <cmath>

namespace {

using TargetPtr = std::shared_ptr<ReferenceTarget>;

double Number(const ParamValue& value) {
    if (auto* f = std::get_if<float>(&value)) return double(*f);
    return double(std::get<int32_t>(value));
}

int32_t Truncated(float f) {
    if (std::isnan(f)) return 0;
    return int32_t(std::clamp(double(f), -2147483648.0, 2147483647.0));
}

bool FitsType(const TargetPtr& target, ParamType type) {
    if (!target || type == ParamType::kReference) return true;
    SuperClass super = target->Class().super;
    if (type == ParamType::kNode) return super == SuperClass::kNode;
    if (type == ParamType::kTexmap) return super == SuperClass::kTexmap;
    return super == SuperClass::kMaterial;
}

}  // namespace

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

bool ConvertValue(ParamValue& value, ParamType type) {
    size_t wanted = ZeroValue(type).index();
    if (value.index() == wanted) {
        if (IsReferenceType(type)) return FitsType(std::get<TargetPtr>(value), type);
        if (type == ParamType::kBool) value = int32_t(std::get<int32_t>(value) != 0);
        return true;
    }
    if (auto* f = std::get_if<float>(&value); f && wanted == 1)
        return value = type == ParamType::kBool ? int32_t(*f != 0) : Truncated(*f), true;
    if (auto* i = std::get_if<int32_t>(&value); i && wanted == 0) return value = float(*i), true;
    return false;
}

ParamValue ShiftedValue(const ParamValue& a, const ParamValue& from, const ParamValue& to) {
    if (auto* x = std::get_if<float>(&a)) return *x + (std::get<float>(to) - std::get<float>(from));
    if (auto* x = std::get_if<int32_t>(&a)) {
        double moved = Number(*x) + Number(to) - Number(from);
        return int32_t(std::clamp(moved, -2147483648.0, 2147483647.0));
    }
    if (auto* x = std::get_if<Point3>(&a))
        return *x + (std::get<Point3>(to) - std::get<Point3>(from));
    if (auto* x = std::get_if<Color>(&a)) return *x + (std::get<Color>(to) - std::get<Color>(from));
    return to;
}

ParamValue KeyMath<ParamValue>::Linear(const ParamValue& a, const ParamValue& b, double u) {
    auto between = [&]<class T>(const T& x) -> ParamValue {
        if constexpr (requires { key_math::Linear(x, x, u); })
            return key_math::Linear(x, std::get<T>(b), u);
        else
            return x;
    };
    return std::visit(between, a);
}

ParamValue KeyMath<ParamValue>::Bezier(const ParamValue& a, const ParamValue& out,
                                       const ParamValue& in, const ParamValue& b,
                                       const key_math::BezierWeights& w) {
    auto between = [&]<class T>(const T& x) -> ParamValue {
        // A key that was made without handles has those of an empty value.
        auto handle = [](const ParamValue& v) {
            auto* h = std::get_if<T>(&v);
            return h ? *h : T{};
        };
        if constexpr (requires { key_math::Bezier(x, x, x, x, w); })
            return key_math::Bezier(x, handle(out), handle(in), std::get<T>(b), w);
        else
            return x;
    };
    return std::visit(between, a);
}
