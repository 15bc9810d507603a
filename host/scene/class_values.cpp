#include "host/scene/class_values.h"

#include "host/scene/class_tables.h"
#include "host/scene/derived_object.h"
#include "host/scene/height_field_object.h"
#include "host/scene/node.h"
#include "host/scene/physical_material.h"
#include "host/scene/point_cache.h"
#include "host/scene/shadow_type.h"
#include "host/scene/texmaps.h"

using namespace class_tables;

namespace {

struct ClassTable {
    bool (*isOf)(const ReferenceTarget&);
    const PropertyTable& (*table)();
};

template <class T>
ClassTable Entry(const PropertyTable& (*table)()) {
    return {[](const ReferenceTarget& t) { return dynamic_cast<const T*>(&t) != nullptr; }, table};
}

bool IsPlainStandard(const ReferenceTarget& target) {
    return dynamic_cast<const StandardMtl*>(&target) && !dynamic_cast<const PhysicalMtl*>(&target);
}

}  // namespace

std::vector<const PropertyTable*> PropertyTablesOf(const ReferenceTarget& target) {
    static const ClassTable tables[] = {
        Entry<INode>(NodeTable),           Entry<INode>(ModifiersTable),
        Entry<Modifier>(ModifierTable),    Entry<PointCacheModifier>(PointCacheTable),
        Entry<TriObject>(MeshTable),       Entry<HeightFieldObject>(HeightFieldTable),
        Entry<ShapeObject>(ShapeTable),    Entry<ParticleObject>(ParticleTable),
        Entry<CameraObject>(CameraTable),  Entry<LightObject>(LightTable),
        Entry<StandardMtl>(StandardTable), {IsPlainStandard, StandardLightTable},
        Entry<PhysicalMtl>(PhysicalTable), Entry<MultiMtl>(MultiTable),
        Entry<ColorTex>(ColorTable),       Entry<GradientTex>(GradientTable),
        Entry<CheckerTex>(CheckerTable),   Entry<BitmapTex>(BitmapTable),
        Entry<NoiseTex>(NoiseTable),       Entry<Texmap>(PlacingTable),
    };
    std::vector<const PropertyTable*> found;
    for (const ClassTable& entry : tables)
        if (entry.isOf(target)) found.push_back(&entry.table());
    return found;
}

std::vector<ValueTable> ValueTablesOf(ReferenceTarget& target) {
    std::vector<ValueTable> tables;
    for (const PropertyTable* table : PropertyTablesOf(target)) tables.emplace_back(target, *table);
    for (int slot = 0; slot < target.NumRefs(); ++slot)
        if (auto* block = dynamic_cast<IParamBlock2*>(target.GetReference(slot).get()))
            tables.emplace_back(*block);
    return tables;
}

std::optional<ValueTable> ValueTableOf(ReferenceTarget& target, const ParamBlockDesc2& desc) {
    if (desc.referenceSlot >= 0) {
        auto* block = dynamic_cast<IParamBlock2*>(target.GetReference(desc.referenceSlot).get());
        if (block && &block->GetDesc() == &desc) return ValueTable(*block);
    }
    for (const ValueTable& table : ValueTablesOf(target))
        if (&table.Desc() == &desc) return table;
    return std::nullopt;
}

std::optional<NamedValue> FindValue(ReferenceTarget& target, std::string_view name) {
    for (const ValueTable& table : ValueTablesOf(target))
        if (const ParamDef* def = table.Desc().Find(name)) return NamedValue{table, def};
    return std::nullopt;
}

std::vector<ReferenceTarget*> PartsOf(const INode& node) {
    std::vector<ReferenceTarget*> parts;
    Object* object = node.GetObjectRef();
    if (auto* stack = dynamic_cast<DerivedObject*>(object)) {
        for (int i = stack->NumModifiers(); i-- > 0;)
            if (Modifier* modifier = stack->GetModifier(i)) parts.push_back(modifier);
        object = stack->Base();
    }
    if (object) parts.push_back(object);
    if (auto* light = dynamic_cast<LightObject*>(object))
        if (ShadowType* shadow = light->shadowType.Get()) parts.push_back(shadow);
    parts.push_back(const_cast<INode*>(&node));
    return parts;
}

std::vector<std::string> ValueNamesOf(ReferenceTarget& target) {
    std::vector<std::string> names;
    for (const ValueTable& table : ValueTablesOf(target))
        for (const ParamDef& def : table.Desc().params) names.push_back(def.name);
    return names;
}
