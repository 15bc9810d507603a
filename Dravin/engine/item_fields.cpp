#include "Dravin/engine/item_fields.h"

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
struct MemberType;
template <class T, class C>
struct MemberType<T C::*> {
    using Type = T;
};

// A field that is one member of the record.
template <auto kMember>
constexpr ItemField Floats(const char* name, bool stored = true) {
    using T = typename MemberType<decltype(kMember)>::Type;
    constexpr Shape shape = ShapeOf(static_cast<const T*>(nullptr));
    return {name,       kFloat,
            shape.rows, shape.components,
            stored,     [](const I& item, float* out) { Put(out, item.*kMember); }};
}

template <auto kMember>
constexpr ItemField Ints(const char* name, bool stored = true, ItemFieldKind kind = kInt) {
    return {name, kind, 1, 1, stored, nullptr, [](const I& item, int32_t* out) {
                *out = int32_t(item.*kMember);
            }};
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
    Ints<&I::seed>("seed", true, kUInt),
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
    Floats<&I::random1>("random1", false),
    Floats<&I::random2>("random2", false),
    Floats<&I::random3>("random3", false),
    Floats<&I::random4>("random4", false),
    Floats<&I::random5>("random5", false),
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
    Floats<&I::fullTransform>("full_transform", false),
    Floats<&I::bounds>("bounds", false),
    Floats<&I::randomA>("random_a", false),
    Floats<&I::randomB>("random_b", false),
    Ints<&I::randomInteger>("random_integer", false),
    Ints<&I::randomSample>("random_sample", false),
    Floats<&I::randomTranslation>("random_translation", false),
    Floats<&I::randomScale>("random_scale", false),
    Floats<&I::rotation>("rotation", false),
    Floats<&I::normal>("normal"),
    Floats<&I::surfaceSlope>("surface_slope"),
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
