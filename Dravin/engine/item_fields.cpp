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
    using Group = C;  // of the record
};

// Where consecutive items keep a group of their fields.
const ItemPlace* RecordsOf(const TItemColumns& c, const ItemPlace*) { return c.place; }
const ItemExtents* RecordsOf(const TItemColumns& c, const ItemExtents*) { return c.extents; }
const ItemColors* RecordsOf(const TItemColumns& c, const ItemColors*) { return c.colors; }
const ItemCell* RecordsOf(const TItemColumns& c, const ItemCell*) { return c.cell; }
const ItemSurface* RecordsOf(const TItemColumns& c, const ItemSurface*) { return c.surface; }
const ItemFactors* RecordsOf(const TItemColumns& c, const ItemFactors*) { return c.factors; }
const ItemBorders* RecordsOf(const TItemColumns& c, const ItemBorders*) { return c.borders; }
const ItemLooks* RecordsOf(const TItemColumns& c, const ItemLooks*) { return c.looks; }
const ItemSource* RecordsOf(const TItemColumns& c, const ItemSource*) { return c.source; }

// How lists that store the member's group are read.
template <auto kMember>
void SetRecord(ItemField& field) {
    using Group = typename Member<decltype(kMember)>::Group;
    static const Group unstored{};
    field.record = [](const TItemColumns& items) -> const void* {
        return RecordsOf(items, static_cast<const Group*>(nullptr));
    };
    field.stride = sizeof(Group);
    field.unstored = &unstored;
    if (field.kind == kFloat)
        field.readFloats = [](const void* record, float* out) {
            if constexpr (!std::is_integral_v<typename Member<decltype(kMember)>::Type>)
                Put(out, static_cast<const Group*>(record)->*kMember);
        };
    else
        field.readInts = [](const void* record, int32_t* out) {
            if constexpr (std::is_integral_v<typename Member<decltype(kMember)>::Type>)
                *out = int32_t(static_cast<const Group*>(record)->*kMember);
        };
}

// A field that is one member of the record. stored: lists keep it; else it is completed.
template <auto kMember, bool kStored = true>
ItemField Floats(const char* name) {
    constexpr Shape shape =
        ShapeOf(static_cast<const typename Member<decltype(kMember)>::Type*>(nullptr));
    ItemField field{name,       kFloat,
                    shape.rows, shape.components,
                    kStored,    [](const I& item, float* out) { Put(out, item.*kMember); }};
    if constexpr (kStored) SetRecord<kMember>(field);
    return field;
}

template <auto kMember, bool kStored = true>
ItemField Ints(const char* name, ItemFieldKind kind = kInt) {
    ItemField field{name, kind, 1, 1, kStored, nullptr, [](const I& item, int32_t* out) {
                        *out = int32_t(item.*kMember);
                    }};
    if constexpr (kStored) SetRecord<kMember>(field);
    return field;
}

std::string MaskText(const I& item) {
    std::string text;
    for (int32_t i = 0; i < item.elementMask.NumBits(); ++i)
        text += item.elementMask.Test(i) ? '1' : '0';
    return text;
}

const ItemField kFields[] = {
    Ints<&I::discarded>("discarded"),
    Ints<&I::specimenIndex>("specimen_index"),
    Floats<&I::storedPosition>("stored_position"),
    Floats<&I::position>("position"),
    Ints<&I::seed>("seed", kUInt),
    Floats<&I::sizeFactor>("size_factor"),
    Floats<&I::width>("width"),
    Floats<&I::depth>("depth"),
    Floats<&I::height>("height"),
    Floats<&I::scale>("scale"),
    Floats<&I::tintColor>("tint_color"),
    Floats<&I::tintBlend>("tint_blend"),
    Ints<&I::mirrored>("mirrored"),
    Floats<&I::lookAt>("lookat_vector"),
    Floats<&I::shadowDirection>("shadow_direction"),
    Ints<&I::horizontalShadow>("horizontal_shadow"),
    Ints<&I::verticalShadow>("vertical_shadow"),
    Ints<&I::selected>("selected"),
    Floats<&I::zOffset>("z_offset"),
    Ints<&I::centerPercent>("center"),
    Ints<&I::animationOffset>("animation_offset"),
    Floats<&I::sourceTransform>("source_transform"),
    Ints<&I::elementIndex>("element_index"),
    Ints<&I::userId>("user_id"),
    Floats<&I::random1, false>("random1"),
    Floats<&I::random2, false>("random2"),
    Floats<&I::random3, false>("random3"),
    Floats<&I::random4, false>("random4"),
    Floats<&I::random5, false>("random5"),
    Ints<&I::marked>("marked"),
    Floats<&I::transform>("transform"),
    Floats<&I::surfaceNormal>("surface_normal"),
    Floats<&I::mapCoordinates>("map_coordinates"),
    Floats<&I::collisionRadius>("collision_radius"),
    Floats<&I::outerRadius>("outer_radius"),
    Floats<&I::boundaryRadius>("boundary_radius"),
    Floats<&I::collisionHeight>("collision_height"),
    Floats<&I::includeDistance>("include_distance"),
    Floats<&I::excludeDistance>("exclude_distance"),
    Floats<&I::includeNearest>("include_nearest"),
    Floats<&I::excludeNearest>("exclude_nearest"),
    Floats<&I::mapColor>("map_color"),
    Floats<&I::falloffScale>("falloff_scale"),
    Ints<&I::surfaceFace>("surface_face"),
    Floats<&I::barycentric>("barycentric"),
    {"map_uvws", kFloat, kNumItemMaps, 3, false,
     [](const I& item, float* out) {
         for (const Point3& uvw : item.mapUvws) Put(out, uvw);
     }},
    {"hash", kUInt, 1, 4, true, nullptr,
     [](const I& item, int32_t* out) {
         for (int i = 0; i < 4; ++i) out[i] = int32_t(item.hash[i]);
     }},
    Floats<&I::fullTransform, false>("full_transform"),
    Floats<&I::bounds, false>("bounds"),
    Floats<&I::randomA, false>("random_a"),
    Floats<&I::randomB, false>("random_b"),
    Ints<&I::randomInteger, false>("random_integer"),
    Ints<&I::randomSample, false>("random_sample"),
    Floats<&I::randomTranslation, false>("random_translation"),
    Floats<&I::randomScale, false>("random_scale"),
    Floats<&I::rotation, false>("rotation"),
    Floats<&I::normal>("normal"),
    Floats<&I::surfaceSlope, false>("surface_slope"),
    Floats<&I::externalScale>("external_scale"),
    Ints<&I::tintFlag>("tint_flag"),
    Ints<&I::stateFlags>("state_flags"),
    Ints<&I::partial>("partial"),
    {"element_mask", kText, 1, 1, true, nullptr, nullptr, MaskText},
    Ints<&I::sourceIndex>("source_index"),
    Ints<&I::particleAge>("particle_age"),
    Floats<&I::particleRotation>("particle_rotation"),
    Floats<&I::particleScale>("particle_scale"),
    Floats<&I::particleSpeed>("particle_speed"),
    Ints<&I::particleEventId>("particle_event_id"),
    Ints<&I::geometryEntryId>("geometry_entry_id"),
    Floats<&I::pathPosition>("path_position"),
    Floats<&I::pathTangent>("path_tangent"),
    Floats<&I::effectVector>("effect_vector"),
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
