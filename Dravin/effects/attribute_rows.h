// Rows of the table of attributes, made of functions for one item.
//
// A row is made of a function that reads the attribute of an item, as int32_t, float or Point3, and
// one that writes it; the loops over whole batches follow from them, so that nothing is called
// through a pointer for an item. What stands in a lane as it is comes with its column.
#pragma once

#include <algorithm>
#include <type_traits>
#include <utility>

#include "Dravin/effects/item_attributes.h"

namespace attribute_rows {

using tavuvm_expr::type_code;
using tavuvm_expr::value;
using tavuvm_expr::vector3;
using Source = const TAttributeSource&;
using Target = const TAttributeTarget&;
using Batch = const TAttributeBatch&;
using Items = std::span<const uint32_t>;

// --- what stands in a lane as it is

template <TPointLane TItemLanes::*kLane>
Point3 PointIn(Source s) {
    return (s.lanes.*kLane)[s.k];
}
template <TPointLane TItemLanes::*kLane>
void SetPoint(Target t, const Point3& p) {
    (t.lanes.*kLane).Set(t.k, p);
}
template <TPointLane TItemLanes::*kLane>
TAttributeColumn Points(const TItemLanes& lanes) {
    const TPointLane& p = lanes.*kLane;
    return {{p.x.Data(), p.y.Data(), p.z.Data()}};
}
template <TLane<float> TItemLanes::*kLane>
float FloatIn(Source s) {
    return (s.lanes.*kLane)[s.k];
}
template <TLane<float> TItemLanes::*kLane>
TAttributeColumn Floats(const TItemLanes& lanes) {
    return {{(lanes.*kLane).Data(), nullptr, nullptr}};
}

// --- numbers on their way

template <class T>
struct KindOf;
template <>
struct KindOf<int32_t> {
    static constexpr type_code kType = type_code::integer;
    static value ToValue(int32_t i) { return i; }
    static int32_t FromValue(const value& v) { return v.integer(); }
    static void Put(const TAttributeLanes& to, size_t place, int32_t i) {
        static_cast<int32_t*>(to.part[0])[place] = i;
    }
    static int32_t Take(const TAttributeResults& from, size_t place) {
        return static_cast<const int32_t*>(from.part[0].data)[place * from.part[0].stride];
    }
};
template <>
struct KindOf<float> {
    static constexpr type_code kType = type_code::real;
    static value ToValue(float r) { return r; }
    static float FromValue(const value& v) { return v.real(); }
    static void Put(const TAttributeLanes& to, size_t place, float r) {
        static_cast<float*>(to.part[0])[place] = r;
    }
    static float Take(const TAttributeResults& from, size_t place, int part = 0) {
        return static_cast<const float*>(from.part[part].data)[place * from.part[part].stride];
    }
};
template <>
struct KindOf<Point3> {
    static constexpr type_code kType = type_code::vector;
    static value ToValue(const Point3& p) { return vector3{p.x, p.y, p.z}; }
    static Point3 FromValue(const value& v) {
        vector3 p = v.vector();
        return {p.x, p.y, p.z};
    }
    static void Put(const TAttributeLanes& to, size_t place, const Point3& p) {
        for (int i = 0; i < 3; ++i)
            if (to.part[i]) static_cast<float*>(to.part[i])[place] = p[i];
    }
    static Point3 Take(const TAttributeResults& from, size_t place) {
        auto part = [&](int i) { return KindOf<float>::Take(from, place, i); };
        return {part(0), part(1), part(2)};
    }
};

// What an attribute reads as: int32_t, float, Point3.
template <auto kRead>
using TypeOf = std::decay_t<decltype(kRead(std::declval<Source>()))>;

// --- one item, a batch

template <auto kRead>
value ReadOne(Source s) {
    return KindOf<TypeOf<kRead>>::ToValue(kRead(s));
}

template <auto kRead>
void ReadAll(Batch b, const TAttributeLanes& to) {
    for (size_t i = 0; i < b.items.size(); ++i) {
        size_t k = b.items[i];
        KindOf<TypeOf<kRead>>::Put(to, b.places[i],
                                   kRead({b.lanes, b.cells, k, b.outcomes[k], b.input}));
    }
}

// kSettle: what follows from the writing, for some items together.
template <auto kRead, auto kWrite, auto kSettle>
void WriteOne(Target t, const value& v) {
    kWrite(t, KindOf<TypeOf<kRead>>::FromValue(v));
    auto k = uint32_t(t.k);
    kSettle(t.input, t.lanes, Items(&k, 1));
}

template <auto kRead, auto kWrite, auto kSettle>
void WriteAll(Batch b, const TAttributeResults& from) {
    for (size_t i = 0; i < b.items.size(); ++i) {
        size_t k = b.items[i];
        kWrite({b.lanes, k, b.outcomes[k], b.input},
               KindOf<TypeOf<kRead>>::Take(from, b.places[i]));
    }
    kSettle(b.input, b.lanes, b.items);
}

// --- rows

using Column = TAttributeColumn (*)(const TItemLanes& lanes);

template <auto kRead>
constexpr TItemAttribute Reading(const char* name, Column column = nullptr) {
    return {name,  KindOf<TypeOf<kRead>>::kType, ReadOne<kRead>, nullptr, ReadAll<kRead>, nullptr,
            column};
}

inline void Nothing(const TBuildInput&, TItemLanes&, Items) {}

template <auto kRead, auto kWrite, auto kSettle = Nothing>
constexpr TItemAttribute Writing(const char* name, Column column = nullptr) {
    return {name,           KindOf<TypeOf<kRead>>::kType,
            ReadOne<kRead>, WriteOne<kRead, kWrite, kSettle>,
            ReadAll<kRead>, WriteAll<kRead, kWrite, kSettle>,
            column};
}

// Numbers of items that stand side by side, from where they stand in the registers.
inline void CopyRun(const tavuvm_expr::lane_operand& from, Batch b, TLane<float>& to) {
    const float* numbers = static_cast<const float*>(from.data);
    float* out = to.Data() + b.items.front();
    if (from.stride == 0)
        std::fill_n(out, b.items.size(), *numbers);
    else
        std::copy_n(numbers + b.places.front(), b.items.size(), out);
}

template <TPointLane TItemLanes::*kLane, auto kSettle>
void WritePoints(Batch b, const TAttributeResults& from) {
    if (b.items.empty()) return;
    if (b.items.back() - b.items.front() + 1 != b.items.size())
        return WriteAll<PointIn<kLane>, SetPoint<kLane>, kSettle>(b, from);
    TPointLane& lane = b.lanes.*kLane;
    CopyRun(from.part[0], b, lane.x);
    CopyRun(from.part[1], b, lane.y);
    CopyRun(from.part[2], b, lane.z);
    kSettle(b.input, b.lanes, b.items);
}

// Vectors and reals that stand in a lane.
template <TPointLane TItemLanes::*kLane, auto kSettle = Nothing>
constexpr TItemAttribute PointLane(const char* name) {
    TItemAttribute a = Writing<PointIn<kLane>, SetPoint<kLane>, kSettle>(name, Points<kLane>);
    a.writeAll = WritePoints<kLane, kSettle>;
    return a;
}
template <TPointLane TItemLanes::*kLane>
constexpr TItemAttribute FixedPointLane(const char* name) {
    return Reading<PointIn<kLane>>(name, Points<kLane>);
}
template <TLane<float> TItemLanes::*kLane>
constexpr TItemAttribute FixedFloatLane(const char* name) {
    return Reading<FloatIn<kLane>>(name, Floats<kLane>);
}

}  // namespace attribute_rows
