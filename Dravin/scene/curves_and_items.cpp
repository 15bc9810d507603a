#include <fmt/format.h>

#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/scene/dravin_rows.h"
#include "host/base/text.h"

using Json = nlohmann::ordered_json;

namespace {

using Writer = DescriptionWriter;

uint32_t ReadSeed(DescriptionObject& keys) {
    auto value = keys.Find("seed");
    if (!value) return 0;
    double seed = value->AsDouble();
    if (!(seed >= 0 && seed <= 4294967295.0) || seed != double(uint32_t(seed))) {
        value->Fail("expected a whole number in 0..4294967295");
        return 0;
    }
    return uint32_t(seed);
}

TStoredItem ReadItem(const DescriptionValue& value) {
    DescriptionObject keys(value);
    TStoredItem item;
    item.storedPosition = keys.Point("stored_position", {});
    item.seed = ReadSeed(keys);
    item.specimenIndex = keys.Int("specimen_index", 0);
    item.sizeFactor = keys.Point("size_factor", {1, 1, 1});
    if (auto transform = keys.Find("source_transform"))
        item.sourceTransform = transform->AsMatrix();
    if (auto element = keys.Find("element_index")) {
        item.elementIndex = element->AsInt();
        if (item.elementIndex < -32768 || item.elementIndex > 32767)
            element->Fail("expected a whole number in -32768..32767");
    }
    item.userId = keys.Int("user_id", 0);
    keys.Finish();
    return item;
}

// A straight line between two plain points at the ends of the range.
bool IsPair(const std::vector<CurvePoint>& points) {
    return points.size() == 2 && points[0] == CurvePoint{0, points[0].py} &&
           points[1] == CurvePoint{1, points[1].py};
}

}  // namespace

std::vector<CurvePoint> ReadCurvePoints(const DescriptionValue& value) {
    std::vector<DescriptionValue> elements = value.AsArray();
    std::vector<CurvePoint> points;
    if (!elements.empty() && elements[0].IsNumber()) {
        Point2 pair = value.AsPoint2();
        return {{0, pair.x}, {1, pair.y}};
    }
    for (const DescriptionValue& element : elements) {
        DescriptionObject keys(element);
        CurvePoint& p = points.emplace_back();
        p.px = keys.Float("px", 0), p.py = keys.Float("py", 0);
        p.inx = keys.Float("inx", 0), p.iny = keys.Float("iny", 0);
        p.outx = keys.Float("outx", 0), p.outy = keys.Float("outy", 0);
        p.flags = keys.Int("flags", 0);
        keys.Finish();
    }
    return points;
}

Json WriteCurvePoints(const std::vector<CurvePoint>& points) {
    if (IsPair(points)) return {Writer::Number(points[0].py), Writer::Number(points[1].py)};
    Json list = Json::array();
    for (const CurvePoint& p : points) {
        Json keys = {{"px", Writer::Number(p.px)}, {"py", Writer::Number(p.py)}};
        const std::pair<const char*, float> handles[] = {
            {"inx", p.inx}, {"iny", p.iny}, {"outx", p.outx}, {"outy", p.outy}};
        for (const auto& [key, number] : handles)
            if (number != 0) keys[key] = Writer::Number(number);
        if (p.flags != 0) keys["flags"] = p.flags;
        list.push_back(keys);
    }
    return list;
}

void ReadCurves(TDravin& object, const DescriptionValue& curves) {
    DescriptionObject keys(curves);
    std::vector<std::pair<const DravinCurveName*, std::vector<CurvePoint>>> read;
    for (const DravinCurveName& curve : DravinCurveNames())
        if (auto value = keys.Find(curve.name)) read.emplace_back(&curve, ReadCurvePoints(*value));
    keys.Finish();
    if (curves.Document().Failed()) return;
    for (auto& [curve, points] : read) {
        // "params" may have taken the set away.
        if (!object.CurveSet(curve->slot)) object.ResetReference(curve->slot);
        object.CurveSet(curve->slot)->SetPoints(curve->index, std::move(points));
    }
}

Json WriteCurves(const TDravin& object) {
    static const std::shared_ptr<TDravin> fresh = TDravin::Create();
    Json curves;
    for (const DravinCurveName& curve : DravinCurveNames()) {
        const TCurveSet* set = object.CurveSet(curve.slot);
        if (!set || curve.index >= set->GetNumCurves()) continue;
        if (set->Points(curve.index) != fresh->CurveSet(curve.slot)->Points(curve.index))
            curves[curve.name] = WriteCurvePoints(set->Points(curve.index));
    }
    return curves;
}

void ReadItems(TDravin& object, const DescriptionValue& items) {
    std::vector<TStoredItem> read;
    for (const DescriptionValue& value : items.AsArray()) read.push_back(ReadItem(value));
    if (!items.Document().Failed()) object.SetStoredItems(std::move(read));
}

Json WriteItems(const TDravin& object) {
    Json items;
    for (const TStoredItem& item : object.StoredItems()) {
        Json keys = {{"stored_position", Writer::Triple(item.storedPosition)},
                     {"seed", item.seed},
                     {"specimen_index", item.specimenIndex}};
        if (item.sizeFactor != Point3{1, 1, 1})
            keys["size_factor"] = Writer::Triple(item.sizeFactor);
        if (item.sourceTransform != Matrix3())
            keys["source_transform"] = Writer::Matrix(item.sourceTransform);
        if (item.elementIndex != 0) keys["element_index"] = item.elementIndex;
        if (item.userId != 0) keys["user_id"] = item.userId;
        items.push_back(keys);
    }
    return items;
}

void ReadInstances(TDravin& object, const DescriptionValue& names,
                   const DescriptionContext& context) {
    std::vector<INode*> nodes;
    for (const DescriptionValue& value : names.AsArray()) {
        std::string name = value.AsText();
        if (names.Document().Failed()) return;
        if (INode* node = context.scene.FindNode(name))
            nodes.push_back(node);
        else
            value.Warn(fmt::format("there is no node \"{}\" any more", CutText(name, 60)));
    }
    SetInstanceNodes(object, nodes);
}

Json WriteInstances(const TDravin& object, const DescriptionWriter& writer) {
    Json names;
    for (const INode* node : InstanceNodesOf(object, writer.scene))
        names.push_back(node->GetName());
    return names;
}
