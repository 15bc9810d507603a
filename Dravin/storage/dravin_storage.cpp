#include "Dravin/storage/dravin_storage.h"

#include "Dravin/curves/curve_set.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/area_texts.h"
#include "Dravin/materials/edge_map.h"
#include "Dravin/materials/leaf_modifier.h"
#include "Dravin/materials/tint_map.h"
#include "Dravin/materials/wrapper_material.h"
#include "Dravin/proxy/dproxy.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/storage/object_writer.h"
#include "host/storage/base_fields.h"
#include "host/storage/class_storage.h"

namespace {

void WriteCurves(FieldWriter& out, const TCurveSet& set) {
    for (int i = 0; i < set.GetNumCurves(); ++i) {
        const TCurveSet::Curve& curve = set.GetCurve(i);
        out.Put(uint32_t(curve.points.size()));
        out.Out().WriteBytes({reinterpret_cast<const char*>(curve.points.data()),
                              curve.points.size() * sizeof(CurvePoint)});
    }
}

void ReadCurves(FieldReader& in, TCurveSet& set) {
    while (in.In().Remaining() > 0) {
        auto count = in.In().Read<uint32_t>();
        if (count > in.In().Remaining() / sizeof(CurvePoint))
            return in.In().Fail("a curve with fewer points than it says");
        std::vector<CurvePoint> points(count);
        in.In().ReadBytes(points.data(), count * sizeof(CurvePoint));
        set.SetNumCurves(set.GetNumCurves() + 1);
        set.SetPoints(set.GetNumCurves() - 1, std::move(points));
    }
}

void WriteDeltas(FieldWriter& out, const TDravin& object) {
    for (const TItemDelta& d : object.Deltas()) {
        out.Put(uint8_t(d.id.origin)), out.Put(d.id.part);
        for (uint32_t number : d.id.cell) out.Put(number);
        out.Put(d.id.seed), out.Put(d.deleted), out.Put(d.move);
        out.Put(d.rotateDegrees), out.Put(d.scale), out.Put(d.geometry);
    }
}

void ReadDeltas(FieldReader& in, TDravin& object) {
    std::vector<TItemDelta> deltas;
    while (in.In().Remaining() > 0) {
        TItemDelta d;
        auto origin = in.In().Read<uint8_t>();
        if (origin > TItemId::kEdited) return in.In().Fail("a change of an item of no kind");
        d.id.origin = TItemId::Origin(origin);
        in.Get(d.id.part);
        for (uint32_t& number : d.id.cell) in.Get(number);
        in.Get(d.id.seed), in.Get(d.deleted), in.Get(d.move);
        in.Get(d.rotateDegrees), in.Get(d.scale), in.Get(d.geometry);
        deltas.push_back(d);
    }
    object.SetDeltas(std::move(deltas));
}

template <class Fields>
void VisitCurveSet(Fields& fields, TCurveSet& set) {
    fields(1, set.title);
    fields(2, set.editorFlags);
    fields.Own(
        3,
        [&set](FieldWriter& out) {
            out.Put(set.xRange->min), out.Put(set.xRange->max);
            out.Put(set.yRange->min), out.Put(set.yRange->max);
        },
        [&set](FieldReader& in) {
            float x[2] = {0, 1}, y[2] = {0, 100};
            in.Get(x[0]), in.Get(x[1]), in.Get(y[0]), in.Get(y[1]);
            set.xRange = {x[0], x[1]}, set.yRange = {y[0], y[1]};
        });
    fields.Own(
        4, [&set](FieldWriter& out) { WriteCurves(out, set); },
        [&set](FieldReader& in) { ReadCurves(in, set); });
}

}  // namespace

void RegisterDravinStorage(SceneStorage& storage) {
    storage.Register<TDravin>([](auto& fields, TDravin& object) {
        fields.Own(
            1, [&object](FieldWriter& out) { WriteObjectChunks(out.Out(), object); },
            [&object](FieldReader& in) { ReadObjectChunks(in, object); });
        fields.Own(
            2, [&object](FieldWriter& out) { WriteDeltas(out, object); },
            [&object](FieldReader& in) { ReadDeltas(in, object); });
        fields(3, object.chooseMapSize);
    });
    storage.Register<TCurveSet>([](auto& fields, TCurveSet& set) { VisitCurveSet(fields, set); });
    storage.Register<TPaintShape>([](auto& fields, TPaintShape& paint) { fields(1, paint.shape); });
    storage.Register<DMat>([](auto& fields, DMat& mtl) { VisitMtl(fields, mtl); });
    storage.Register<DColor>([](auto& fields, DColor& map) { VisitTexmap(fields, map); });
    storage.Register<DEdge>([](auto& fields, DEdge& map) { VisitTexmap(fields, map); });
    storage.Register<DGeomtex>([](auto& fields, DGeomtex& map) { VisitTexmap(fields, map); });
    storage.Register<DLeaf>([](auto& fields, DLeaf& leaf) { VisitModifier(fields, leaf); });
    // Their handles lie in the object's own chunks.
    storage.LeaveOut(TInstanceNodes::kClass.id);
    // Proxies stand in a scene for as long as it is rendered.
    storage.LeaveOut(DProxy::kClass.id);
}
