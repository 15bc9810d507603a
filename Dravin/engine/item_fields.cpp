#include "Dravin/engine/item_fields.h"

#include <type_traits>

namespace {

using I = TDravinItem;
using enum ItemFieldKind;

void Put(float*& out, float v) { *out++ = v; }
void Put(float*& out, const Point2& p) { Put(out, p.x), Put(out, p.y); }
void Put(float*& out, const Point3& p) { Put(out, p.x), Put(out, p.y), Put(out, p.z); }
void Put(float*& out, const Color& c) { Put(out, c.r), Put(out, c.g), Put(out, c.b); }
void Put(float*& out, const AColor& c) { Put(out, c.Rgb()), Put(out, c.a); }
void Put(float*& out, const Matrix3& m) {
    for (const Point3& row : m.row) Put(out, row);
}
void Put(float*& out, const Box3& b) { Put(out, b.min), Put(out, b.max); }

// Rows and numbers a row of each type.
struct Shape {
    int rows, components;
};
constexpr Shape ShapeOf(const float*) { return {1, 1}; }
constexpr Shape ShapeOf(const Point2*) { return {1, 2}; }
constexpr Shape ShapeOf(const Point3*) { return {1, 3}; }
constexpr Shape ShapeOf(const Color*) { return {1, 3}; }
constexpr Shape ShapeOf(const AColor*) { return {1, 4}; }
constexpr Shape ShapeOf(const Matrix3*) { return {4, 3}; }
constexpr Shape ShapeOf(const Box3*) { return {2, 3}; }

template <class T>
struct Member;
template <class T, class C>
struct Member<T C::*> {
    using Type = T;
};

using C = TItemColumns;

template <auto kColumn>
using EntryOf = std::remove_pointer_t<typename Member<decltype(kColumn)>::Type>;

template <auto kColumn>
uint32_t GroupOf() {
    uint32_t group = 0;
    ForEachColumn([&](uint32_t of, auto column) {
        if constexpr (std::is_same_v<decltype(column), std::remove_const_t<decltype(kColumn)>>)
            if (column == kColumn) group = of;
    });
    return group;
}

// Where lists that store a field have it.
template <auto kColumn>
void SetColumn(ItemField& field) {
    static const EntryOf<kColumn> unstored{};
    field.record = [](const TItemColumns& items) -> const void* { return items.*kColumn; };
    field.stride = sizeof unstored;
    field.unstored = &unstored;
    field.group = GroupOf<kColumn>();
}

// An entry is the field itself, or has it as a part.
template <auto kColumn, auto kPart>
auto ValueIn(const void* record) {
    const auto& entry = *static_cast<const EntryOf<kColumn>*>(record);
    if constexpr (std::is_class_v<EntryOf<kColumn>> &&
                  !std::is_same_v<EntryOf<kColumn>, typename Member<decltype(kPart)>::Type>)
        return entry.*kPart;
    else
        return entry;
}

// A field that is one member of the record. kColumn: where lists keep it, under that name; none:
// it is completed.
template <auto kMember, auto kColumn = nullptr, auto kPart = kMember>
ItemField Floats(const char* name) {
    constexpr Shape shape =
        ShapeOf(static_cast<const typename Member<decltype(kMember)>::Type*>(nullptr));
    ItemField field{name,       kFloat,
                    shape.rows, shape.components,
                    false,      [](const I& item, float* out) { Put(out, item.*kMember); }};
    if constexpr (!std::is_null_pointer_v<decltype(kColumn)>) {
        SetColumn<kColumn>(field);
        field.stored = true;
        field.readFloats = [](const void* record, float* out) {
            Put(out, ValueIn<kColumn, kPart>(record));
        };
    }
    return field;
}

template <auto kMember, auto kColumn = nullptr, auto kPart = kMember>
ItemField Ints(const char* name, ItemFieldKind kind = kInt) {
    ItemField field{name, kind, 1, 1, false, nullptr, [](const I& item, int32_t* out) {
                        *out = int32_t(item.*kMember);
                    }};
    if constexpr (!std::is_null_pointer_v<decltype(kColumn)>) {
        SetColumn<kColumn>(field);
        field.stored = true;
        field.readInts = [](const void* record, int32_t* out) {
            *out = int32_t(ValueIn<kColumn, kPart>(record));
        };
    }
    return field;
}

// A field that is 0 or 1.
template <auto kMember, ItemMarks::Bit kBit>
ItemField Mark(const char* name) {
    ItemField field = Ints<kMember>(name);
    SetColumn<&C::marks>(field);
    field.stored = true;
    field.readInts = [](const void* record, int32_t* out) {
        *out = static_cast<const ItemMarks*>(record)->Is(kBit);
    };
    return field;
}

ItemField Transform() {
    ItemField field = Floats<&I::transform>("transform");
    SetColumn<&C::frame>(field);
    field.stored = true;
    field.readFloats = [](const void* record, float* out) {
        const auto& frame = *static_cast<const ItemFrame*>(record);
        for (const Point3& row : {frame.x, frame.y, frame.z, Point3{}}) Put(out, row);
    };
    return field;
}

ItemField Barycentric() {
    ItemField field{"barycentric",
                    kFloat,
                    1,
                    3,
                    true,
                    [](const I& item, float* out) { Put(out, item.Barycentric()); }};
    SetColumn<&C::surface>(field);
    field.readFloats = [](const void* record, float* out) {
        Put(out, static_cast<const ItemSurface*>(record)->Barycentric());
    };
    return field;
}

std::string MaskText(const I& item) {
    std::string text;
    for (int32_t i = 0; i < item.elementMask.NumBits(); ++i)
        text += item.elementMask.Test(i) ? '1' : '0';
    return text;
}

ItemField Hash() {
    static constexpr auto put = [](const ItemCell& cell, int32_t* out) {
        for (int i = 0; i < 4; ++i) out[i] = int32_t(cell.hash[i]);
    };
    ItemField field{
        "hash", kUInt, 1, 4, true, nullptr, [](const I& item, int32_t* out) { put(item, out); }};
    SetColumn<&C::cell>(field);
    field.readInts = [](const void* record, int32_t* out) {
        put(*static_cast<const ItemCell*>(record), out);
    };
    return field;
}

const ItemField kFields[] = {
    Mark<&I::discarded, ItemMarks::kDiscarded>("discarded"),
    Ints<&I::specimenIndex, &C::specimenIndex>("specimen_index"),
    Floats<&I::storedPosition, &C::birth>("stored_position"),
    Floats<&I::position, &C::position>("position"),
    Ints<&I::seed, &C::seed>("seed", kUInt),
    Floats<&I::sizeFactor, &C::factors>("size_factor"),
    Floats<&I::width, &C::width>("width"),
    Floats<&I::depth, &C::depth>("depth"),
    Floats<&I::height, &C::height>("height"),
    Floats<&I::scale, &C::scale>("scale"),
    Floats<&I::tintColor, &C::tint>("tint_color"),
    Floats<&I::tintBlend, &C::tint>("tint_blend"),
    Mark<&I::mirrored, ItemMarks::kMirrored>("mirrored"),
    Floats<&I::lookAt, &C::looks>("lookat_vector"),
    Floats<&I::shadowDirection, &C::looks>("shadow_direction"),
    Mark<&I::horizontalShadow, ItemMarks::kHorizontalShadow>("horizontal_shadow"),
    Mark<&I::verticalShadow, ItemMarks::kVerticalShadow>("vertical_shadow"),
    Mark<&I::selected, ItemMarks::kSelected>("selected"),
    Floats<&I::zOffset, &C::zOffset>("z_offset"),
    Ints<&I::centerPercent, &C::centerPercent>("center"),
    Ints<&I::animationOffset, &C::looks>("animation_offset"),
    Floats<&I::sourceTransform, &C::source>("source_transform"),
    Ints<&I::elementIndex, &C::marks, &ItemMarks::elementIndex>("element_index"),
    Ints<&I::userId, &C::source>("user_id"),
    Floats<&I::random1>("random1"),
    Floats<&I::random2>("random2"),
    Floats<&I::random3>("random3"),
    Floats<&I::random4>("random4"),
    Floats<&I::random5>("random5"),
    Mark<&I::marked, ItemMarks::kMarked>("marked"),
    Transform(),
    Floats<&I::surfaceNormal, &C::surface>("surface_normal"),
    Floats<&I::mapCoordinates, &C::cell>("map_coordinates"),
    Floats<&I::collisionRadius, &C::extents>("collision_radius"),
    Floats<&I::outerRadius, &C::extents>("outer_radius"),
    Floats<&I::boundaryRadius, &C::extents>("boundary_radius"),
    Floats<&I::collisionHeight, &C::extents>("collision_height"),
    Floats<&I::includeDistance, &C::borders>("include_distance"),
    Floats<&I::excludeDistance, &C::borders>("exclude_distance"),
    Floats<&I::includeNearest, &C::borders>("include_nearest"),
    Floats<&I::excludeNearest, &C::borders>("exclude_nearest"),
    Floats<&I::mapColor, &C::mapColor>("map_color"),
    Floats<&I::falloffScale, &C::factors>("falloff_scale"),
    Ints<&I::surfaceFace, &C::surface>("surface_face"),
    Barycentric(),
    {"map_uvws", kFloat, kNumItemMaps, 3, false,
     [](const I& item, float* out) {
         for (const Point3& uvw : item.mapUvws) Put(out, uvw);
     }},
    Hash(),
    Floats<&I::fullTransform>("full_transform"),
    Floats<&I::bounds>("bounds"),
    Floats<&I::randomA>("random_a"),
    Floats<&I::randomB>("random_b"),
    Ints<&I::randomInteger>("random_integer"),
    Ints<&I::randomSample>("random_sample"),
    Floats<&I::randomTranslation>("random_translation"),
    Floats<&I::randomScale>("random_scale"),
    Floats<&I::rotation>("rotation"),
    Floats<&I::normal, &C::normal>("normal"),
    Floats<&I::surfaceSlope>("surface_slope"),
    Floats<&I::externalScale, &C::factors>("external_scale"),
    Mark<&I::tintFlag, ItemMarks::kTinted>("tint_flag"),
    Ints<&I::stateFlags, &C::marks, &ItemMarks::stateFlags>("state_flags"),
    Mark<&I::partial, ItemMarks::kPartial>("partial"),
    {"element_mask", kText, 1, 1, true, nullptr, nullptr, MaskText},
    Ints<&I::sourceIndex, &C::sourceIndex>("source_index"),
    Ints<&I::particleAge, &C::source>("particle_age"),
    Floats<&I::particleRotation, &C::source>("particle_rotation"),
    Floats<&I::particleScale, &C::source>("particle_scale"),
    Floats<&I::particleSpeed, &C::source>("particle_speed"),
    Ints<&I::particleEventId, &C::source>("particle_event_id"),
    Ints<&I::geometryEntryId, &C::source>("geometry_entry_id"),
    Floats<&I::pathPosition, &C::source>("path_position"),
    Floats<&I::pathTangent, &C::source>("path_tangent"),
    Floats<&I::effectVector, &C::source>("effect_vector"),
    {"id", kText, 1, 1, false, nullptr, nullptr, [](const I& item) { return ItemIdText(item.id); }},
};

}  // namespace

std::span<const ItemField> ItemFields() { return kFields; }

const ItemField* FindItemField(std::string_view name) {
    for (const ItemField& field : kFields)
        if (field.name == name) return &field;
    return nullptr;
}

std::vector<std::string> DefaultItemFields() {
    return {"position", "width", "height", "seed", "specimen_index", "discarded"};
}
