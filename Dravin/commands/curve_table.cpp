// Commands on the curves of a scatter object: its falloffs, and the curve parameters of effects.
#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/command_values.h"
#include "Dravin/commands/curve_session.h"
#include "Dravin/commands/curve_use.h"

namespace {

using Kind = TArgumentKind;

const TArgumentInfo kCurve = {
    "curve", Kind::kText,
    "one of the object's, such as \"altitude_density\", or the name or id "
    "of a curve parameter of an effect",
    true};

template <class Work>
auto OnCurve(Work work) {
    return [work](TCommandCall& call) {
        TCommandResult result;
        auto place = FindCurve(*call.object, call.Text("curve"), &result.error);
        return place ? work(call, *place) : result;
    };
}

// [x, y], or with both handles relative to the point: [x, y, inx, iny, outx, outy].
bool ReadPoint(const ParamInput& input, CurvePoint* p) {
    auto* numbers = std::get_if<ParamInput::Array>(&input.value);
    if (!numbers || (numbers->size() != 2 && numbers->size() != 6)) return false;
    float* fields[] = {&p->px, &p->py, &p->inx, &p->iny, &p->outx, &p->outy};
    for (size_t i = 0; i < numbers->size(); ++i)
        if (!ReadNumber((*numbers)[i], fields[i])) return false;
    return p->px >= 0 && p->px <= 1;
}

TCommandResult Set(TCommandCall& call, const TCurvePlace& place) {
    const TCommandResult wrong = TCommandResult::Error(
        "\"points\" takes [[x, y], ...] or [[x, y, inx, iny, outx, outy], ...] with x rising from "
        "0 to 1");
    const ParamInput given = call.Value("points");
    auto* rows = std::get_if<ParamInput::Array>(&given.value);
    if (!rows || rows->empty()) return wrong;
    std::vector<CurvePoint> points;
    for (const ParamInput& row : *rows) {
        CurvePoint p;
        if (!ReadPoint(row, &p) || (!points.empty() && p.px < points.back().px)) return wrong;
        points.push_back(p);
    }
    SetCurvePoints(place, std::move(points));
    return {};
}

TCommandResult Get(TCommandCall&, const TCurvePlace& place) {
    ParamInput::Array rows;
    for (const CurvePoint& p : CurvePointsOf(place)) {
        ParamInput::Array row;
        for (float f : {p.px, p.py, p.inx, p.iny, p.outx, p.outy}) row.emplace_back(double(f));
        rows.emplace_back(std::move(row));
    }
    return TCommandResult::Value(ParamInput(std::move(rows)));
}

TCommandResult Use(TCommandCall& call, const TCurvePlace& place) {
    int pieces = call.Int("pieces", 20);
    if (pieces < 1 || pieces > 1000) return TCommandResult::Error("\"pieces\" goes from 1 to 1000");
    TCurveUse use = CurveUse(place, size_t(pieces));
    if (use.counts.empty()) return TCommandResult::Error(use.reason);
    ParamInput::Array counts;
    for (size_t count : use.counts) counts.emplace_back(int64_t(count));
    return TCommandResult::Value(ParamInput(std::move(counts)));
}

TCommandResult Edit(TCommandCall&, const TCurvePlace& place) {
    bool isOpen = EditedCurve() == place;
    SetEditedCurve(isOpen ? std::nullopt : std::optional(place));
    return {};
}

}  // namespace

void AddCurveCommands(TCommandTable& table) {
    table.Add({"curve.get",
               "",
               "Gives the points of a curve: x, y, and the handles before and behind.",
               TCommandTarget::kObject,
               {kCurve},
               OnCurve(Get)});
    table.Add(
        {"curve.use",
         "",
         "Gives how many items of the last build stand on each of equal pieces of a curve; of "
         "large lists a sample.",
         TCommandTarget::kObject,
         {kCurve, {"pieces", Kind::kInteger, "how many, 1 to 1000 (default: 20)"}},
         OnCurve(Use)});
    table.Add({"curve.set",
               "Edit Curve",
               "Sets the points of a curve; handles are relative to their point.",
               TCommandTarget::kObject,
               {kCurve, {"points", Kind::kValue, "[[x, y], ...] or with handles", true}},
               OnCurve(Set)});
    table.Add({"curve.edit",
               "",
               "Opens the curve editor on a curve, or closes it.",
               TCommandTarget::kObject,
               {kCurve},
               OnCurve(Edit)});
}
