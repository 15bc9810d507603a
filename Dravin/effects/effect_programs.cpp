#include "Dravin/effects/effect_programs.h"

#include <algorithm>
#include <string_view>

#include "Dravin/effects/effect_machines.h"
#include "Dravin/effects/item_attributes.h"
#include "Dravin/engine/item_list.h"

using namespace tavuvm_expr;

namespace {

// Fewer items than this are not worth a batch.
constexpr size_t kSmallestBatch = 4;

// Slots of the host that a program's code loads and stores: `push slot, load` and `push slot, push
// type, store`. Code that computes a slot may mean any of them.
struct TSlotUse {
    std::vector<uint8_t> loaded, stored;
};

TSlotUse SlotsOf(const compiled_program& p) {
    TSlotUse use{std::vector<uint8_t>(p.num_host_slots), std::vector<uint8_t>(p.num_host_slots)};
    std::vector<value> pushed;  // immediates right before the instruction
    auto mark = [&](std::vector<uint8_t>& list, size_t back) {
        if (pushed.size() < back) {
            std::fill(list.begin(), list.end(), uint8_t(1));
        } else {
            auto slot = size_t(uint32_t(pushed[pushed.size() - back].to_integer()));
            if (slot < list.size()) list[slot] = 1;
        }
    };
    for (size_t cell = 0; cell < p.code.size();) {
        auto op = opcode(p.code[cell].to_integer());
        if (op == opcode::load) mark(use.loaded, 1);
        if (op == opcode::store) mark(use.stored, 2);
        if (op == opcode::push && cell + 1 < p.code.size())
            pushed.push_back(p.code[cell + 1]);
        else
            pushed.clear();
        cell += 1 + size_t(info_of(int32_t(op)).operands);
    }
    return use;
}

TVMAttrList AttributesOf(const compiled_program& p, size_t itemSlot) {
    TSlotUse use = SlotsOf(p);
    TVMAttrList list;
    for (size_t slot = 0; slot < p.num_host_slots; ++slot) {
        size_t i = slot - itemSlot;
        if (slot < itemSlot || i >= ItemAttributes().size()) {
            if (use.stored[slot] && !p.is_constant[slot]) list.restored.push_back(slot);
            continue;
        }
        if (use.loaded[slot]) list.read.push_back(i);
        if (use.stored[slot] && ItemAttributes()[i].write) list.written.push_back(i);
    }
    return list;
}

bool DrawsRandoms(const compiled_program& p) {
    for (size_t cell = 0; cell < p.code.size();) {
        auto op = opcode(p.code[cell].to_integer());
        if (op == opcode::call && !p.functions->at(size_t(p.code[cell + 1].to_integer())).is_pure)
            return true;
        cell += 1 + size_t(info_of(int32_t(op)).operands);
    }
    return false;
}

// Whether an item that has this attribute written is built again.
bool Replaces(std::string_view attribute) {
    static constexpr std::string_view names[] = {"geomID",       "surfDirection", "randTransMin",
                                                 "randTransMax", "randRotMin",    "randRotMax",
                                                 "randScaleMin", "randScaleMax"};
    return std::find(std::begin(names), std::end(names), attribute) != std::end(names);
}

// Where the list keeps what is written. Angles and scales that are not the drawn ones any more
// cannot be drawn again.
uint32_t GroupOf(std::string_view attribute) {
    if (attribute == "rotation" || Replaces(attribute)) return kGroupKept;
    return attribute == "animSample" ? uint32_t{kGroupLooks} : 0u;
}

bool Returns(const compiled_program& p) {
    for (size_t cell = 0; cell < p.code.size();) {
        auto op = opcode(p.code[cell].to_integer());
        if (op == opcode::return_ || op == opcode::stop) return true;
        cell += 1 + size_t(info_of(int32_t(op)).operands);
    }
    return false;
}

}  // namespace

TEffectProgram::TEffectProgram(std::shared_ptr<const compiled_program> compiled,
                               std::vector<value> values, size_t firstSlot)
    : code(std::move(compiled)), slots(std::move(values)), itemSlot(firstSlot) {
    std::vector<uint8_t> varying(slots.size(), 0);
    std::fill_n(varying.begin() + long(itemSlot), ItemAttributes().size(), uint8_t(1));
    lanes = batch_program::make(*code, varying);
    attributes = AttributesOf(*code, itemSlot);
    usesRandom = DrawsRandoms(*code);
    for (size_t i : attributes.written) {
        mayReplace = mayReplace || Replaces(ItemAttributes()[i].name);
        groupsWritten |= GroupOf(ItemAttributes()[i].name);
    }
    if (Returns(*code)) groupsWritten |= kGroupSource;
}

std::unique_ptr<IEffectRunner> TEffectPrograms::MakeRunner(const TBuildInput& input,
                                                           const TGeometryChoice& geometry) const {
    return std::make_unique<TDistributeEffectVMList>(*this, input, geometry);
}

bool TEffectPrograms::MayReplace() const {
    return std::any_of(programs.begin(), programs.end(),
                       [](const TEffectProgram& p) { return p.mayReplace; });
}

bool TEffectPrograms::UsesRandom() const {
    return std::any_of(programs.begin(), programs.end(),
                       [](const TEffectProgram& p) { return p.usesRandom; });
}

uint32_t TEffectPrograms::GroupsWritten() const {
    uint32_t groups = 0;
    for (const TEffectProgram& p : programs) groups |= p.groupsWritten;
    return groups;
}
