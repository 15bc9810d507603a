// Commands that paint areas, and that turn painted areas into splines and back.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/area_paint.h"
#include "Dravin/commands/command_values.h"
#include "Dravin/commands/row_commands.h"
#include "Dravin/config/confirmation.h"
#include "Dravin/dravin.h"
#include "host/scene/scene.h"

using namespace areaParams;

namespace {

using Kind = TArgumentKind;
using Result = TCommandResult;

const TArgumentInfo kRow = {"row", Kind::kInteger,
                            "of the list of areas, from 0 (default: the last paint area)"};

bool IsOfType(const IParamBlock2& block, int row, int type) {
    return row < block.Count(kArtypelist) && block.GetInt(kArtypelist, 0, row) == type;
}

// The row that a call means, of that type; -1 with the reason.
int RowOfCall(TCommandCall& call, int type, const char* what, Result* result) {
    const IParamBlock2& block = call.object->Block(kAreaParams);
    int count = block.Count(kArnamelist), last = -1;
    for (int i = 0; i < count; ++i)
        if (IsOfType(block, i, type)) last = i;
    int row = call.Int("row", last);
    if (row >= 0 && row < count && IsOfType(block, row, type)) return row;
    if (!call.Has("row"))
        result->error = fmt::format("the object has no {} area", what);
    else if (row < 0 || row >= count)
        result->error = fmt::format("there is no row {}; the list has {}", row, count);
    else
        result->error = fmt::format("row {} is no {} area", row, what);
    return -1;
}

// --- strokes

Result Paint(TCommandCall& call) {
    Result result;
    int row = RowOfCall(call, kAreaPaint, "paint", &result);
    if (row < 0) return result;
    std::vector<Point3> places;
    if (!ReadPlaces(call.Value("points"), &places))
        return Result::Error("\"points\" takes [[x, y], ...] or [[x, y, z], ...]");
    double steps = PaintStepsPerUnit(call.scene.unitScale);
    int areaId = AreaIdOf(*call.object, row);
    TPaintRegion region = PaintRegionOf(*call.object, areaId, steps);
    auto radius = float(call.Real("radius"));
    if (!(radius >= region.SmallestRadius()))
        return Result::Error(
            fmt::format("a radius below {} paints nothing", region.SmallestRadius()));
    if (call.Bool("erase") && call.Has("smooth"))
        return Result::Error("a stroke erases or smooths, not both");
    TPaintMode mode = call.Has("smooth")   ? TPaintMode::kSmooth
                      : call.Bool("erase") ? TPaintMode::kErase
                                           : TPaintMode::kPaint;
    TPaintStroke stroke(region, mode);
    Matrix3 toObject = Inverse(call.node->GetObjectTM(call.scene.GetTime()));
    for (const Point3& place : places) {
        Point3 p = place * toObject;
        stroke.MoveTo({{p.x, p.y}, radius, float(call.Real("smooth", 1))});
    }
    SetPaintRegion(*call.object, areaId, stroke.Region());
    return result;
}

// --- the brush

const char* NameOf(TPaintMode mode) { return mode == TPaintMode::kErase ? "erase" : "paint"; }

Result Brush(TCommandCall& call) {
    Result result;
    std::optional<TPaintSession> now = PaintSession();
    // Without a row the brush stays on its area.
    bool isOn = now && now->object.get() == call.object && !call.Has("row");
    int row = isOn ? PaintRowOf(*now->object, now->areaId)
                   : RowOfCall(call, kAreaPaint, "paint", &result);
    if (row < 0) return result;
    StartPaint(*call.object, row,
               call.Text("mode") == "erase" ? TPaintMode::kErase : TPaintMode::kPaint);
    std::optional<TPaintSession> after = PaintSession();
    return Result::Value(ParamInput(std::string(after ? NameOf(after->mode) : "")));
}

// --- conversions

Result ToPaint(TCommandCall& call) {
    Result result;
    int row = RowOfCall(call, kAreaSpline, "spline", &result);
    if (row < 0) return result;
    IParamBlock2& block = call.object->Block(kAreaParams);
    INode* node = block.GetNode(kArnodelist, 0, row);
    auto* spline = node ? dynamic_cast<ShapeObject*>(node->GetObjectRef()) : nullptr;
    if (!spline) return Result::Error(fmt::format("row {} shows no spline", row));
    if (!IsConfirmed(
            "The spline will be converted into a Paint Area.\n\nDo you want to continue ?"))
        return Result::Error(kDeclined);
    TimeValue t = call.scene.GetTime();
    auto paint = std::make_shared<TPaintShape>();
    PolyShape outline = spline->GetPolyShape(t);
    outline.Transform(node->GetObjectTM(t) * Inverse(call.node->GetObjectTM(t)));
    std::erase_if(outline.lines,
                  [](const PolyLine& line) { return !line.closed || line.points.size() < 3; });
    for (PolyLine& line : outline.lines)
        for (Point3& p : line.points) p.z = 0;
    paint->shape = std::move(outline);
    if (block.Count(kArpaintlist) <= row) block.SetCount(kArpaintlist, row + 1);
    block.SetValue(kArpaintlist, 0, paint, row);
    block.SetValue(kArnodelist, 0, nullptr, row);
    block.SetValue(kArtypelist, 0, kAreaPaint, row);
    return result;
}

Result ToSpline(TCommandCall& call) {
    Result result;
    int row = RowOfCall(call, kAreaPaint, "paint", &result);
    if (row < 0) return result;
    if (!IsConfirmed("The Paint Area will be converted into an Area Spline,\nand a new spline will "
                     "be created in the scene.\n\nDo you want to continue ?"))
        return Result::Error(kDeclined);
    IParamBlock2& block = call.object->Block(kAreaParams);
    BezierShape curves;
    if (row < block.Count(kArpaintlist))
        if (auto* paint = dynamic_cast<TPaintShape*>(block.GetReference(kArpaintlist, 0, row)))
            for (const PolyLine& line : paint->shape->lines) {
                BezierSpline& spline = curves.splines.emplace_back();
                spline.closed = line.closed;
                for (const Point3& p : line.points) spline.knots.push_back({p});
            }
    auto shape = std::make_shared<ShapeObject>();
    shape->shape = std::move(curves);
    INode* node = call.scene.AddNode(call.scene.UniqueNodeName("paint_area"), shape);
    node->SetLocalTM(call.node->GetObjectTM(call.scene.GetTime()));
    block.SetValue(kArnodelist, 0, Share(node), row);
    block.SetValue(kArtypelist, 0, kAreaSpline, row);
    if (row < block.Count(kArpaintlist)) block.SetValue(kArpaintlist, 0, nullptr, row);
    return Result::Value(ParamInput(node->GetName()));
}

}  // namespace

void AddAreaPaintCommands(TCommandTable& table) {
    table.Add({"area.brush",
               "",
               "Puts the brush on a paint area, or takes it off when it is there in that mode; "
               "gives the mode, or nothing.",
               TCommandTarget::kObject,
               {kRow, {"mode", Kind::kText, "default: paint", false, {"paint", "erase"}}},
               Brush});
    table.Add({"area.paint",
               "Paint Stroke",
               "Paints a stroke in a paint area, erases one, or smooths its outlines along one.",
               TCommandTarget::kObject,
               {kRow,
                {"points", Kind::kValue, "[[x, y], ...] along the stroke, in the world", true},
                {"radius", Kind::kReal, "of the brush, scene units", true},
                {"erase", Kind::kBool, "true: takes away what is painted"},
                {"smooth", Kind::kReal, "evens outlines by so much instead, 0 to 1"}},
               Paint});
    table.Add({"area.to_paint",
               "Convert Area",
               "Turns a spline area into a paint area, after a question.",
               TCommandTarget::kObject,
               {{"row", Kind::kInteger, "its number, from 0 (default: the last spline area)"}},
               ToPaint});
    table.Add({"area.to_spline",
               "Convert Area",
               "Turns a paint area into a spline area on a new node, after a question; gives its "
               "name.",
               TCommandTarget::kObject,
               {kRow},
               ToSpline});
}
