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

void TDistributeEffectVM::Run(const TEffectLanes& items, const TBuildInput& input,
                              TEffVMCallback& host) {
    m_alive.clear();
    ForEachAlive(items.lanes, [&](size_t k) { m_alive.push_back(uint32_t(k)); });
    if (!m_batch || m_alive.size() < kSmallestBatch) {
        for (uint32_t k : m_alive) RunPlain(items, k, input, host);
        return;
    }
    for (size_t first = 0; first < m_alive.size(); first += batch_machine::width) {
        size_t count = std::min(batch_machine::width, m_alive.size() - first);
        RunBatch(items, Batch(m_alive).subspan(first, count), input, host);
    }
}

// The result of a program is a vector or nothing; the vectors of all programs add up.
static void AddResult(const value& result, ItemSource& from) {
    if (!result.is_vector()) return;
    vector3 v = result.vector();
    from.effectVector += Point3{v.x, v.y, v.z};
}

void TDistributeEffectVM::RunPlain(const TEffectLanes& items, size_t k, const TBuildInput& input,
                                   TEffVMCallback& host) {
    auto attributes = ItemAttributes();
    m_machine.reset();
    for (size_t slot : m_program.attributes.restored)
        m_machine.set_slot(slot, m_program.slots[slot]);
    TAttributeSource source{items.lanes, items.cells, k, items.outcomes[k], input};
    for (size_t i : m_program.attributes.read)
        m_machine.set_slot(m_program.itemSlot + i, attributes[i].read(source));
    // An item whose run fails stays as it was.
    TNuRandom* random = items.randoms.empty() ? nullptr : &items.randoms[k];
    if (!m_machine.run(random, &host)) return;
    for (size_t i : m_program.attributes.written)
        if (m_machine.is_modified(m_program.itemSlot + i))
            attributes[i].write({items.lanes, k, items.outcomes[k], input},
                                Taken(attributes[i], m_machine.slot(m_program.itemSlot + i)));
    AddResult(m_machine.result(), items.lanes.from[k]);
}

void TDistributeEffectVM::FillBatch(const TEffectLanes& items, Batch batch,
                                    const TBuildInput& input) {
    auto attributes = ItemAttributes();
    for (const batch_program::binding& b : m_program.lanes->inputs) {
        const TItemAttribute& attribute = attributes[b.slot - m_program.itemSlot];
        if (attribute.column) {
            FillFromColumn(attribute.column(items.lanes), b.value, batch);
            continue;
        }
        for (size_t place = 0; place < batch.size(); ++place) {
            size_t k = batch[place];
            FillOne(b.value, place,
                    attribute.read({items.lanes, items.cells, k, items.outcomes[k], input}));
        }
    }
}

void TDistributeEffectVM::FillFromColumn(const TAttributeColumn& column, const lane_value& to,
                                         Batch batch) {
    int numParts = to.kind == lane_value::shape::real ? 1 : 3;
    for (int p = 0; p < numParts; ++p) {
        if (to.part[p] == no_register) continue;
        float* lane = m_batch->real_lane(to.part[p]);
        for (size_t place = 0; place < batch.size(); ++place)
            lane[place] = column.At(p, batch[place]);
    }
}

void TDistributeEffectVM::FillOne(const lane_value& to, size_t place, const value& v) {
    if (to.kind == lane_value::shape::integer) {
        m_batch->integer_lane(to.part[0])[place] = v.integer();
    } else if (to.kind == lane_value::shape::real) {
        m_batch->real_lane(to.part[0])[place] = v.real();
    } else {
        vector3 p = v.vector();
        const float component[3] = {p.x, p.y, p.z};
        for (int c = 0; c < 3; ++c)
            if (to.part[c] != no_register) m_batch->real_lane(to.part[c])[place] = component[c];
    }
}

void TDistributeEffectVM::RunBatch(const TEffectLanes& items, Batch batch, const TBuildInput& input,
                                   TEffVMCallback& host) {
    FillBatch(items, batch, input);
    TNuRandom* randoms[batch_machine::width];
    std::vector<TNuRandom> before;  // only where a run may fail: such items run again
    bool draws = m_program.usesRandom && !items.randoms.empty();
    bool keeps = draws && m_program.lanes->can_fail;
    for (size_t place = 0; draws && place < batch.size(); ++place)
        randoms[place] = &items.randoms[batch[place]];
    for (size_t place = 0; keeps && place < batch.size(); ++place)
        before.push_back(*randoms[place]);
    m_batch->run(batch.size(), std::span(randoms, draws ? batch.size() : 0), &host);

    for (size_t place = 0; place < batch.size(); ++place) {
        if (!m_batch->any_failed() || !m_batch->failed(place)) {
            TakeResults(items, batch[place], place, input);
            continue;
        }
        // The plain machine says what such an item is left with.
        if (keeps) *randoms[place] = before[place];
        RunPlain(items, batch[place], input, host);
    }
}

// What the program left for the item of lane k.
void TDistributeEffectVM::TakeResults(const TEffectLanes& items, size_t k, size_t place,
                                      const TBuildInput& input) {
    auto attributes = ItemAttributes();
    for (const batch_program::binding& b : m_program.lanes->outputs) {
        // Parameters and read-only attributes change for the program only.
        size_t i = b.slot - m_program.itemSlot;
        if (b.slot < m_program.itemSlot || i >= attributes.size() || !attributes[i].write) continue;
        attributes[i].write({items.lanes, k, items.outcomes[k], input},
                            Taken(attributes[i], m_batch->get(b.value, place)));
    }
    if (m_program.lanes->returns)
        AddResult(m_batch->get(m_program.lanes->result, place), items.lanes.from[k]);
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

void TDistributeEffectVMList::Run(const TEffectLanes& items) {
    TItemLanes& lanes = items.lanes;
    for (size_t k = 0; k < lanes.count; ++k) lanes.from[k].effectVector = {};
    for (TDistributeEffectVM& machine : m_machines) machine.Run(items, m_input, m_host);
    // An item that a program hides keeps no vector, not even of the programs before.
    for (size_t k = 0; k < lanes.count; ++k)
        if (!lanes.IsAlive(k)) lanes.from[k].effectVector = {};
}
