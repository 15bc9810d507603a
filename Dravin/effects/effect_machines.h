// Machines that run compiled effects on the items of a task.
//
// Items come as lanes. A batch of them goes through the fast form of the language where a program
// has one: attributes that stand in a column of the lanes are read where they stand, all others are
// read into the program's registers, and what it leaves is written attribute by attribute. Where
// few items are left they take the same form one by one. Programs without that form, and items
// whose run ends with an error, go through the plain machine. All give the same bits.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/effect_programs.h"
#include "Dravin/effects/item_attributes.h"
#include "Dravin/effects/tavuvm_expr/batch_machine.h"
#include "Dravin/effects/tavuvm_expr/single_machine.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"

// One program's machines in one task.
class TDistributeEffectVM {
public:
    TDistributeEffectVM(const TEffectProgram& program, bool plainOnly);

    // Runs the program on all items that are alive.
    void Run(const TEffectLanes& items, const TBuildInput& input, TEffVMCallback& host);

private:
    void RunPlain(const TEffectLanes& items, size_t k, const TBuildInput& input,
                  TEffVMCallback& host);
    void RunSingle(const TEffectLanes& items, size_t k, const TBuildInput& input,
                   TEffVMCallback& host);
    void RunBatch(const TEffectLanes& items, const TBuildInput& input, TEffVMCallback& host);
    bool StandTogether() const;
    std::optional<TNuRandom> Generator(const TNuRandomColumns& all, size_t k) const;
    TNuRandomColumns Generators(const TNuRandomColumns& all, size_t count, bool inPlace);
    void MarkPassed();
    using Registers = tavuvm_expr::lane_registers;
    void Read(Registers& registers, const TAttributeBatch& batch, bool inPlace);
    void ReadColumn(Registers& registers, tavuvm_expr::lane_register r, const float* column,
                    const TAttributeBatch& batch, bool inPlace);
    void Write(const Registers& registers, const TAttributeBatch& batch);
    void RunFailed(const TEffectLanes& items, const TBuildInput& input, TEffVMCallback& host);

    const TEffectProgram& m_program;
    tavuvm_expr::vmachine m_machine;
    std::unique_ptr<tavuvm_expr::batch_machine> m_batch;    // null: plain machine only
    std::unique_ptr<tavuvm_expr::single_machine> m_single;  // goes with it
    // By register: a number that goes from one attribute into another as it is. It is read before
    // anything is written.
    std::vector<uint8_t> m_isPassed;

    // --- the batch at work
    std::vector<uint32_t> m_items;    // lanes of its items, in order
    std::vector<uint32_t> m_places;   // where each stands in the registers
    TNuRandomLanes m_gathered;        // generators by place, where items stand apart
    std::vector<TNuRandom> m_before;  // generators by place as they were; only where runs may fail
};

class TDistributeEffectVMList : public IEffectRunner {
public:
    TDistributeEffectVMList(const TEffectPrograms& programs, const TBuildInput& input,
                            const TGeometryChoice& geometry);
    void Run(const TEffectLanes& items) override;

private:
    // The items as they come to that program of the list; behind the last one: as all have left
    // them.
    virtual void Reached(size_t program, const TEffectLanes& items) {}

    const TBuildInput& m_input;
    std::vector<const BezierCurve*> m_curves;
    TEffVMCallback m_host;
    std::vector<TDistributeEffectVM> m_machines;
};
