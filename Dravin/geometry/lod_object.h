// The LOD object: several versions of one model, its levels, each with a visibility threshold.
//
// A scatter object whose geometry list holds a LOD object shows each item by one of its levels. The
// object itself has no geometry. Levels are rows of parallel lists; thresholds are percentages: of
// the reference distance in distance mode, of the view's width in screen mode.
#pragma once

#include <memory>

#include "Dravin/geometry/tree_spec_list.h"
#include "host/scene/object.h"

namespace lodParams {
#define PARAM(symbol, id, ...) symbol = id,
enum : ParamID {
#include "Dravin/geometry/lod_params.inc"
};
#undef PARAM
}  // namespace lodParams

const ParamBlockDesc2& LodBlock();

enum LodMode : int { kLodDistance = 0, kLodScreenSize = 1 };

// One level: a geometry row (use mesh dimensions always on) and its two thresholds.
struct TLodLevel {
    TSpecEntry entry;
    float distance = 0;
    float screenSize = 25;
};

class TDLod : public Object {
public:
    static std::shared_ptr<TDLod> Create() { return std::make_shared<TDLod>(); }
    TDLod();

    IParamBlock2& Block() const { return *m_block.Get(); }
    // The levels as a table; columns in the order of lodParams' lists.
    PBStore& Levels() { return m_levels; }
    int NumLevels() const { return Block().Count(lodParams::kNamelist); }
    TLodLevel ReadLevel(int i) const;

    // Template and its name of an entry, for level i. No undo step.
    void SetTemplate(int i, const TSpecEntry& entry);

    // Appends a level named "New LOD" with the defaults, in one undo step.
    void NewLevel();
    // Spreads the thresholds of a mode evenly over the levels, in one undo step: distances rise
    // from 0 to 100, screen sizes fall from 25 to 0. The user is asked first unless `forced`, which
    // spreads both.
    bool NormaliseThresholds(LodMode mode, bool forced);

    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override {
        return slot == 0 ? m_block.Share() : nullptr;
    }
    int NumSubs() const override { return 1; }
    ReferenceTarget* SubAnim(int i) const override { return i == 0 ? m_block.Get() : nullptr; }
    std::string SubAnimName(int i) const override { return i == 0 ? "Parameters" : ""; }
    static constexpr ClassInfo kClass{{0x3d1c0103, 0x52a7}, SuperClass::kGeomObject, "Dravin LOD"};
    ClassInfo Class() const override { return kClass; }
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

private:
    explicit TDLod(std::shared_ptr<IParamBlock2> block);

    Reference<IParamBlock2> m_block{this};
    PBStore m_levels;
};
