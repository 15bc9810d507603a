#include "Dravin/commands/curve_session.h"

#include <fmt/format.h>

#include "Dravin/commands/effect_session.h"
#include "Dravin/effects/effect_list.h"
#include "host/base/text.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"

using namespace effectParams;

namespace {

struct CurveEditing {
    std::weak_ptr<TDravin> object;
    std::string curve;
};

// The row of a curve parameter, by its id, else by its name; -1: none.
int FindParameterCurve(TDravin& object, const std::string& name) {
    const IParamBlock2& block = object.Block(kEffectParams);
    for (ParamID column : {ParamID(kEfpaid), ParamID(kEfpaname)})
        for (int row = 0; row < block.Count(column); ++row)
            if (block.GetString(column, 0, row) == name &&
                block.GetInt(kEfpatype, 0, row) == kEffCurve)
                return row;
    return -1;
}

std::vector<std::string> NamesOf(TDravin& object) {
    std::vector<std::string> names;
    for (const DravinCurveName& curve : DravinCurveNames()) names.push_back(curve.name);
    const IParamBlock2& block = object.Block(kEffectParams);
    for (int row = 0; row < block.Count(kEfpaname); ++row)
        if (block.GetInt(kEfpatype, 0, row) == kEffCurve)
            names.push_back(block.GetString(kEfpaname, 0, row));
    return names;
}

}  // namespace

std::optional<TCurvePlace> FindCurve(TDravin& object, const std::string& name, std::string* error) {
    auto shared = std::static_pointer_cast<TDravin>(object.shared_from_this());
    for (const DravinCurveName& curve : DravinCurveNames())
        if (curve.name == name)
            return TCurvePlace{shared, curve.slot, curve.index, false, name, curve.title};
    int row = FindParameterCurve(object, name);
    if (row >= 0) {
        const IParamBlock2& block = object.Block(kEffectParams);
        return TCurvePlace{shared,
                           kSlotEffectCurves,
                           row,
                           true,
                           block.GetString(kEfpaid, 0, row),
                           block.GetString(kEfpaname, 0, row)};
    }
    if (error)
        *error = fmt::format("the object has no curve \"{}\"{}", CutText(name, 60),
                             DidYouMean(name, NamesOf(object)));
    return std::nullopt;
}

std::vector<CurvePoint> CurvePointsOf(const TCurvePlace& place) {
    const TCurveSet* set = place.object->CurveSet(place.slot);
    if (set && place.index < set->GetNumCurves()) return set->Points(place.index);
    return {{.px = 0, .py = 1}, {.px = 1, .py = 1}};
}

float CurveMaximum(const TCurvePlace& place) {
    const TCurveSet* set = place.object->CurveSet(place.slot);
    return place.isEffect || !set ? 1 : set->yRange->max;
}

void SetCurvePoints(const TCurvePlace& place, std::vector<CurvePoint> points) {
    UndoStep step("Edit Curve");
    if (place.isEffect) {
        EffectCommandsOf(*place.object).Parameters().SetCurve(place.index, std::move(points));
        return;
    }
    EnsureCurveSet(*place.object, place.slot, place.index + 1, {})
        .SetPoints(place.index, std::move(points));
}

bool PreviewCurvePoints(const TCurvePlace& place, std::vector<CurvePoint> points) {
    TCurveSet* set = place.object->CurveSet(place.slot);
    if (!set || place.index >= set->GetNumCurves()) return false;
    HoldSuspender unrecorded(CurrentHold());
    set->SetPoints(place.index, std::move(points));
    return true;
}

std::optional<TCurvePlace> EditedCurve() {
    CurveEditing& editing = HostContext::Current()->State<CurveEditing>();
    std::shared_ptr<TDravin> object = editing.object.lock();
    return object ? FindCurve(*object, editing.curve, nullptr) : std::nullopt;
}

void SetEditedCurve(const std::optional<TCurvePlace>& place) {
    CurveEditing& editing = HostContext::Current()->State<CurveEditing>();
    editing = place ? CurveEditing{place->object, place->name} : CurveEditing{};
}
