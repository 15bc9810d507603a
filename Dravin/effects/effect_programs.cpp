#include "Dravin/effects/effect_programs.h"

#include <algorithm>
#include <string_view>

#include "Dravin/effects/item_attributes.h"

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

bool ReplacesItems(size_t attribute) {
    using namespace std::string_view_literals;
    static constexpr std::string_view names[] = {
        "geomID"sv,     "surfDirection"sv, "randTransMin"sv, "randTransMax"sv,
        "randRotMin"sv, "randRotMax"sv,    "randScaleMin"sv, "randScaleMax"sv};
    return std::find(std::begin(names), std::end(names),
                     std::string_view(ItemAttributes()[attribute].name)) != std::end(names);
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
    mayReplace = std::any_of(attributes.written.begin(), attributes.written.end(), ReplacesItems);
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

// --- one program

TDistributeEffectVM::TDistributeEffectVM(const TEffectProgram& program, bool plainOnly)
    : m_program(program), m_machine(program.code) {
    for (size_t i = 0; i < program.slots.size(); ++i) m_machine.set_slot(i, program.slots[i]);
    if (plainOnly || !program.lanes) return;
    m_batch = std::make_unique<batch_machine>(program.lanes, *program.code->functions);
    m_batch->bind(program.slots);
}

void TDistributeEffectVM::Run(std::span<TEffectItem> items, const TBuildInput& input,
                              TEffVMCallback& host) {
    if (m_batch && items.size() >= kSmallestBatch) {
        for (size_t first = 0; first < items.size(); first += batch_machine::width)
            RunLanes(items.subspan(first, std::min(batch_machine::width, items.size() - first)),
                     input, host);
        return;
    }
    for (TEffectItem& one : items)
        if (!one.item->discarded) RunPlain(one, input, host);
}

// The result of a program is a vector or nothing; the vectors of all programs add up.
static void AddResult(const value& result, TDravinItem& item) {
    if (!result.is_vector()) return;
    vector3 v = result.vector();
    item.effectVector += Point3{v.x, v.y, v.z};
}

void TDistributeEffectVM::RunPlain(TEffectItem& one, const TBuildInput& input,
                                   TEffVMCallback& host) {
    auto attributes = ItemAttributes();
    m_machine.reset();
    for (size_t slot : m_program.attributes.restored)
        m_machine.set_slot(slot, m_program.slots[slot]);
    for (size_t i : m_program.attributes.read)
        m_machine.set_slot(
            m_program.itemSlot + i,
            attributes[i].read({*one.item, one.outcome, *one.specimen, one.size, input}));
    // An item whose run fails stays as it was.
    if (!m_machine.run(one.random, &host)) return;
    for (size_t i : m_program.attributes.written)
        if (m_machine.is_modified(m_program.itemSlot + i))
            attributes[i].write({*one.item, one.outcome, *one.specimen, one.size, input},
                                Taken(attributes[i], m_machine.slot(m_program.itemSlot + i)));
    AddResult(m_machine.result(), *one.item);
}

void TDistributeEffectVM::FillLanes(std::span<const TEffectItem> items, const TBuildInput& input) {
    auto attributes = ItemAttributes();
    for (const batch_program::binding& b : m_program.lanes->inputs) {
        const TItemAttribute& attribute = attributes[b.slot - m_program.itemSlot];
        const lane_register* part = b.value.part;
        for (size_t k = 0; k < items.size(); ++k) {
            const TEffectItem& one = items[k];
            value v = attribute.read({*one.item, one.outcome, *one.specimen, one.size, input});
            if (b.value.kind == lane_value::shape::integer) {
                m_batch->integer_lane(part[0])[k] = v.integer();
            } else if (b.value.kind == lane_value::shape::real) {
                m_batch->real_lane(part[0])[k] = v.real();
            } else {
                vector3 p = v.vector();
                const float component[3] = {p.x, p.y, p.z};
                for (int c = 0; c < 3; ++c)
                    if (part[c] != no_register) m_batch->real_lane(part[c])[k] = component[c];
            }
        }
    }
}

void TDistributeEffectVM::RunLanes(std::span<TEffectItem> items, const TBuildInput& input,
                                   TEffVMCallback& host) {
    FillLanes(items, input);
    TNuRandom* randoms[batch_machine::width];
    std::vector<TNuRandom> before;  // only where a run may fail: such items run again
    bool draws = m_program.usesRandom;
    bool keeps = draws && m_program.lanes->can_fail;
    for (size_t k = 0; draws && k < items.size(); ++k) randoms[k] = items[k].random;
    for (size_t k = 0; keeps && k < items.size(); ++k) before.push_back(*items[k].random);
    std::span<TNuRandom* const> given(randoms, draws ? items.size() : 0);
    m_batch->run(items.size(), given, &host);

    for (size_t k = 0; k < items.size(); ++k) {
        TEffectItem& one = items[k];
        if (one.item->discarded) continue;
        if (!m_batch->any_failed() || !m_batch->failed(k)) {
            TakeLanes(one, k, input);
            continue;
        }
        // The plain machine says what such an item is left with.
        if (keeps) *one.random = before[k];
        RunPlain(one, input, host);
    }
}

// What the program left in the lanes of item k.
void TDistributeEffectVM::TakeLanes(TEffectItem& one, size_t k, const TBuildInput& input) {
    auto attributes = ItemAttributes();
    for (const batch_program::binding& b : m_program.lanes->outputs) {
        // Parameters and read-only attributes change for the program only.
        size_t i = b.slot - m_program.itemSlot;
        if (b.slot < m_program.itemSlot || i >= attributes.size() || !attributes[i].write) continue;
        attributes[i].write({*one.item, one.outcome, *one.specimen, one.size, input},
                            Taken(attributes[i], m_batch->get(b.value, k)));
    }
    if (m_program.lanes->returns) AddResult(m_batch->get(m_program.lanes->result, k), *one.item);
}

// --- all programs

TDistributeEffectVMList::TDistributeEffectVMList(const TEffectPrograms& programs,
                                                 const TBuildInput& input,
                                                 const TGeometryChoice& geometry)
    : m_input(input) {
    for (const auto& curve : programs.curves) m_curves.push_back(curve.get());
    m_host = {&input, &geometry, programs.textures, m_curves};
    m_machines.reserve(programs.programs.size());
    for (const TEffectProgram& p : programs.programs)
        m_machines.emplace_back(p, programs.plainOnly);
}

void TDistributeEffectVMList::Run(std::span<TEffectItem> items) {
    for (TEffectItem& one : items) one.item->effectVector = {};
    for (TDistributeEffectVM& machine : m_machines) machine.Run(items, m_input, m_host);
    // An item that a program hides keeps no vector, not even of the programs before.
    for (TEffectItem& one : items)
        if (one.item->discarded) one.item->effectVector = {};
}
