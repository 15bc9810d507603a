// Compiled effects at work on items: what the engine runs during a build.
//
// A TEffectProgram is one compiled effect with the values that its parameters have in this build.
// Every task of the distribution owns a TDistributeEffectVMList with a machine for each program;
// batches go through the fast form of the language where a program has one, single items and
// everything else through the plain machine. Both give the same bits.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/item_attributes.h"
#include "Dravin/effects/tavuvm_expr/batch_machine.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"
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
    bool mayReplace = false;  // stores into the geometry or a placement attribute

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
};

// One program's machines in one task.
class TDistributeEffectVM {
public:
    TDistributeEffectVM(const TEffectProgram& program, bool plainOnly);

    // Runs the program on all items that are alive.
    void Run(const TEffectLanes& items, const TBuildInput& input, TEffVMCallback& host);

private:
    // Items of one batch, by their lanes.
    using Batch = std::span<const uint32_t>;

    void RunPlain(const TEffectLanes& items, size_t k, const TBuildInput& input,
                  TEffVMCallback& host);
    void RunBatch(const TEffectLanes& items, Batch batch, const TBuildInput& input,
                  TEffVMCallback& host);
    void TakeResults(const TEffectLanes& items, size_t k, size_t place, const TBuildInput& input);
    void FillBatch(const TEffectLanes& items, Batch batch, const TBuildInput& input);
    void FillFromColumn(const TAttributeColumn& column, const tavuvm_expr::lane_value& to,
                        Batch batch);
    void FillOne(const tavuvm_expr::lane_value& to, size_t place, const tavuvm_expr::value& v);

    const TEffectProgram& m_program;
    tavuvm_expr::vmachine m_machine;
    std::unique_ptr<tavuvm_expr::batch_machine> m_batch;  // null: plain machine only
    std::vector<uint32_t> m_alive;
};

class TDistributeEffectVMList : public IEffectRunner {
public:
    TDistributeEffectVMList(const TEffectPrograms& programs, const TBuildInput& input,
                            const TGeometryChoice& geometry);
    void Run(const TEffectLanes& items) override;

private:
    const TBuildInput& m_input;
    std::vector<const BezierCurve*> m_curves;
    TEffVMCallback m_host;
    std::vector<TDistributeEffectVM> m_machines;
};
