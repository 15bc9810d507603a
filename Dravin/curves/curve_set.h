// Sets of user-drawn curves: the reference targets that hold the object's falloff curves.
//
// A set holds any number of curves over one range. Curves are edited here as points; FalloffCurve
// (engine) evaluates them. A change of a set sends a change message.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/engine/falloff_curve.h"
#include "host/params/property.h"

class TCurveSet : public ReferenceTarget {
public:
    // How the editor draws a curve; red as 0x0000FF, width 0 is one pixel.
    struct Pen {
        uint32_t color = 0x0000FF;
        int width = 0;
    };
    struct Curve {
        std::vector<CurvePoint> points;
        int lookupTableSize = FalloffCurve::kTableSize;
        Pen pen;
    };

    Property<std::string> title{this};  // of the editor
    Property<uint32_t> editorFlags{this};

    struct Range {
        float min = 0, max = 1;
        friend bool operator==(const Range&, const Range&) = default;
    };
    Property<Range> xRange{this}, yRange{this, {0, 100}};

    int GetNumCurves() const { return int(m_curves.size()); }
    void SetNumCurves(int count);  // new ones are empty
    // index must be below the number of curves.
    const Curve& GetCurve(int index) const { return m_curves[size_t(index)]; }
    const std::vector<CurvePoint>& Points(int index) const {
        return m_curves[size_t(index)].points;
    }
    // Tells, and can be undone.
    void SetPoints(int index, std::vector<CurvePoint> points);

    // The curve ready for evaluation.
    FalloffCurve Evaluator(int index) const { return FalloffCurve(Points(index)); }

    static constexpr ClassInfo kClass{
        {0x3d1c0101, 0x52a7}, SuperClass::kReferenceTarget, "CurveSet"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    void Record();

    std::vector<Curve> m_curves;
};

// What a new curve of a set looks like.
struct CurveDefaults {
    float yMax = 100;          // the range is [0, yMax]
    float yStart = 100;        // value at x = 0
    float yEnd = 0;            // value at x = 1
    uint32_t editorFlags = 0;  // added to the flags of a new set
};
// Effect curves: over [0, 1], constant 1.
inline constexpr CurveDefaults kEffectCurveDefaults{1, 1, 1, 0};

// Makes sure that the owner's reference slot holds a set with at least `count` curves. Curves that
// exist stay as they are. The set is then (re)installed as the owner's reference.
TCurveSet& EnsureCurveSet(ReferenceMaker& owner, int slot, int count,
                          const CurveDefaults& defaults);

// Sets the effect curve back to its default; an index beyond the curves does nothing. The set is
// made when absent, without curves.
void ResetEffectCurve(ReferenceMaker& owner, int slot, int index);

// Binary form of one curve: int32 number of points, then the points, little-endian.
std::string SaveCurve(const TCurveSet& set, int index);
// Reads it into curve `index`, which must exist. False with a reason, and nothing changed, when the
// count is negative or there are fewer bytes than it says. `consumed` gets the bytes read.
bool LoadCurve(std::string_view bytes, TCurveSet& set, int index, std::string* error,
               size_t* consumed = nullptr);

// XML form; index -1 means all curves. No set gives an empty "curves" element.
std::string CurveSetToXml(const TCurveSet* set, int index = -1);
// Reads it: with index -1 the set gets exactly as many curves as the text has; otherwise every list
// of the text is written into curve `index` in turn. Text that is not well-formed, or an index that
// does not exist, leaves the set as it is. Malformed numbers count as 0.
bool CurveSetFromXml(TCurveSet& set, std::string_view text, int index = -1);
