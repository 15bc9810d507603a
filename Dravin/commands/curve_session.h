// The curves of a scatter object by name, and which one its editor has open.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/dravin.h"

// Where a curve of an object is kept.
struct TCurvePlace {
    std::shared_ptr<TDravin> object;
    DravinSlot slot;
    int index = 0;          // in the set of that slot
    bool isEffect = false;  // of the parameter of an effect, whose row is `index`
    std::string name;       // how commands call it: of effect parameters their id
    std::string title;

    friend bool operator==(const TCurvePlace&, const TCurvePlace&) = default;
};

// name: one of the object's falloff curves, or the id or name of a curve parameter of an effect.
// None with the reason, and the nearest name.
std::optional<TCurvePlace> FindCurve(TDravin& object, const std::string& name, std::string* error);
// Effect curves that nobody has edited are flat at 1.
std::vector<CurvePoint> CurvePointsOf(const TCurvePlace& place);
float CurveMaximum(const TCurvePlace& place);  // of its values: 100 or 1
// One undo step.
void SetCurvePoints(const TCurvePlace& place, std::vector<CurvePoint> points);
// While a hand drags: shows the points in the scene without recording. Effect curves that nobody
// has edited yet stay as they are; false then.
bool PreviewCurvePoints(const TCurvePlace& place, std::vector<CurvePoint> points);

// The curve that the editor has open; none when it is closed. Lives as long as the session; one
// whose object is gone, or that the object has no more, is closed.
std::optional<TCurvePlace> EditedCurve();
void SetEditedCurve(const std::optional<TCurvePlace>& place);
