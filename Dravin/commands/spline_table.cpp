// Commands on the points of splines.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "host/geom/spline_edit.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using Result = TCommandResult;

const TArgumentInfo kPoints = {"points", Kind::kIntegers,
                               "their numbers, from 0 through all splines of the node", true};

// work(call, shape, result): the changed shape is the spline's, unless there is an error.
template <class Work>
std::function<Result(TCommandCall&)> OnShape(Work work) {
    return [work](TCommandCall& call) {
        Result result;
        auto* spline = dynamic_cast<ShapeObject*>(call.node->GetObjectRef());
        if (!spline)
            return Result::Error(fmt::format("\"{}\" shows no spline", call.node->GetName()));
        BezierShape shape = spline->shape;
        work(call, shape, &result);
        if (result && !(shape == spline->shape.Get())) spline->shape = std::move(shape);
        return result;
    };
}

std::vector<size_t> PointsOfCall(const TCommandCall& call, const BezierShape& shape,
                                 Result* result) {
    std::vector<size_t> points;
    for (int number : call.Ints("points")) {
        if (number < 0 || size_t(number) >= NumKnots(shape)) {
            result->error = fmt::format("there is no point {} among {}", number, NumKnots(shape));
            return {};
        }
        points.push_back(size_t(number));
    }
    return points;
}

// Where the points stand in the world.
void List(TCommandCall& call, BezierShape& shape, Result* result) {
    Matrix3 toWorld = call.node->GetObjectTM(call.scene.GetTime());
    ParamInput::Array rows;
    for (size_t i = 0; i < NumKnots(shape); ++i) {
        Point3 p = PlaceOf(shape, {i}) * toWorld;
        rows.emplace_back(ParamInput::Array{double(p.x), double(p.y), double(p.z)});
    }
    result->value = ParamInput(std::move(rows));
}

void Move(TCommandCall& call, BezierShape& shape, Result* result) {
    Matrix3 toWorld = call.node->GetObjectTM(call.scene.GetTime()), toObject = Inverse(toWorld);
    for (size_t i : PointsOfCall(call, shape, result)) {
        Point3 place = PlaceOf(shape, {i}) * toWorld;
        MovePoint(shape, {i}, (call.Point("to", place) + call.Point("by")) * toObject);
    }
}

void Insert(TCommandCall& call, BezierShape& shape, Result* result) {
    int behind = call.Int("behind");
    auto at =
        behind < 0 ? std::nullopt : InsertKnot(shape, size_t(behind), float(call.Real("at", 0.5)));
    if (at)
        result->value = ParamInput(int64_t(*at));
    else
        result->error =
            fmt::format("no segment runs from point {}, or \"at\" is not inside it", behind);
}

void Delete(TCommandCall& call, BezierShape& shape, Result* result) {
    DeleteKnots(shape, PointsOfCall(call, shape, result));
}

void Close(TCommandCall& call, BezierShape& shape, Result* result) {
    int point = call.Int("point");
    bool isThere = point >= 0 && size_t(point) < NumKnots(shape);
    if (!isThere)
        result->error = fmt::format("there is no point {} among {}", point, NumKnots(shape));
    else if (!SetClosed(shape, size_t(point), call.Bool("closed", true)))
        result->error = "the spline is so already, or has fewer than three points";
}

void Handles(TCommandCall& call, BezierShape& shape, Result* result) {
    for (size_t i : PointsOfCall(call, shape, result))
        call.Text("kind") == "smooth" ? MakeSmooth(shape, i) : MakeCorner(shape, i);
}

void SetHandle(TCommandCall& call, BezierShape& shape, Result* result) {
    int point = call.Int("point");
    if (point < 0 || size_t(point) >= NumKnots(shape)) {
        result->error = fmt::format("there is no point {} among {}", point, NumKnots(shape));
        return;
    }
    SplinePart part = call.Text("side") == "in" ? SplinePart::kIn : SplinePart::kOut;
    Matrix3 toObject = Inverse(call.node->GetObjectTM(call.scene.GetTime()));
    MovePoint(shape, {size_t(point), part}, call.Point("to") * toObject);
}

}  // namespace

void AddSplineCommands(TCommandTable& table) {
    const TArgumentInfo point = {"point", Kind::kInteger, "its number, from 0", true};
    auto add = [&](const char* name, const char* label, const char* meaning,
                   std::vector<TArgumentInfo> arguments, auto work) {
        table.Add(
            {name, label, meaning, TCommandTarget::kNode, std::move(arguments), OnShape(work)});
    };
    add("spline.points", "", "Gives where the points of a spline stand in the world.", {}, List);
    add("spline.move", "Move Points", "Moves points of a spline with their handles.",
        {kPoints,
         {"by", Kind::kPoint, "how far, in the world"},
         {"to", Kind::kPoint, "where to, in the world"}},
        Move);
    add("spline.insert", "Insert Point",
        "Puts a point on a segment, whose form stays, and gives its number.",
        {{"behind", Kind::kInteger, "the point that the segment begins at, from 0", true},
         {"at", Kind::kReal, "where on the segment, between 0 and 1 (default: 0.5)"}},
        Insert);
    add("spline.delete", "Delete Points", "Deletes points; a spline of one point goes too.",
        {kPoints}, Delete);
    add("spline.close", "Close Spline", "Closes the spline of a point, or opens it.",
        {point, {"closed", Kind::kBool, "false opens it between its last point and its first"}},
        Close);
    add("spline.handles", "Change Handles",
        "Makes points smooth, along the line through their neighbours, or corners.",
        {kPoints, {"kind", Kind::kText, "which", true, {"smooth", "corner"}}}, Handles);
    add("spline.handle", "Change Handles",
        "Moves a handle of a point; the other one of a smooth point turns with it.",
        {point,
         {"side", Kind::kText, "before the point or behind it", true, {"in", "out"}},
         {"to", Kind::kPoint, "where to, in the world", true}},
        SetHandle);
}
