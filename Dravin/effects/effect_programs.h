// Compiled effects at work on items: what the engine runs during a build.
//
// A TEffectProgram is one compiled effect with the values that its parameters have in this build.
// Every task of the distribution takes machines of its own for them (effect_machines.h).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/tavuvm_expr/batch_program.h"
#include "Dravin/engine/effect_runner.h"

// The attributes of the item that a program reads and stores into, by their index.
struct TVMAttrList {
    std::vector<size_t> read, written;
    // Other slots of the host that it stores into: every item finds their first values.
    std::vector<size_t> restored;
};

struct TEffectProgram {
    std::shared_ptr<const tavuvm_expr::compiled_program> code;
    std::shared_ptr<const tavuvm_expr::batch_program> lanes;  // null: no fast form
    // Values of the host's slots: parameters and time; items' attributes hold no meaning.
    std::vector<tavuvm_expr::value> slots;
    size_t itemSlot = 0;
    TVMAttrList attributes;
    bool usesRandom = false;
    bool mayReplace = false;     // stores into the geometry or a placement attribute
    uint32_t groupsWritten = 0;  // of the item list (ItemGroups)

    // slots: of all slots of the host that the program was compiled with.
    TEffectProgram(std::shared_ptr<const tavuvm_expr::compiled_program> code,
                   std::vector<tavuvm_expr::value> slots, size_t itemSlot);
};

class TEffectPrograms : public IEffectPrograms {
public:
    // In the order of the effects list. Textures and curves by the row of the effect parameter;
    // null entries: missing. Textures are borrowed.
    std::vector<TEffectProgram> programs;
    std::vector<const IMapSampler*> textures;
    std::vector<std::unique_ptr<BezierCurve>> curves;
    bool plainOnly = false;  // every item through the plain machine

    std::unique_ptr<IEffectRunner> MakeRunner(const TBuildInput& input,
                                              const TGeometryChoice& geometry) const override;
    bool MayReplace() const override;
    bool UsesRandom() const override;
    uint32_t GroupsWritten() const override;
};
