#include "Dravin/effects/effect_machines.h"

#include <algorithm>

using namespace tavuvm_expr;

namespace {

// Fewer items than this are not worth a batch.
constexpr size_t kSmallestBatch = 4;

using shape = lane_value::shape;

bool IsOfType(const lane_value& v, type_code type) {
    switch (v.kind) {
        case shape::integer:
            return type == type_code::integer;
        case shape::real:
            return type == type_code::real;
        case shape::vector:
            return type == type_code::vector;
        case shape::number:
            return false;
    }
    return false;
}

int NumParts(const lane_value& v) { return v.kind == shape::vector ? 3 : 1; }

// The result of a program is a vector or nothing; the vectors of all programs add up.
void AddResult(const value& result, TItemLanes& lanes, size_t k) {
    if (!result.is_vector() || lanes.from.Size() == 0) return;
    vector3 v = result.vector();
    lanes.from[k].effectVector += Point3{v.x, v.y, v.z};
}

// Values of another kind than the attribute's: an index beyond a variable has brought them there.
void WriteConverted(const lane_registers& registers, const lane_value& from,
                    const TItemAttribute& attribute, const TAttributeBatch& batch) {
    for (size_t i = 0; i < batch.items.size(); ++i) {
        size_t k = batch.items[i];
        attribute.write({batch.lanes, k, batch.outcomes[k], batch.input},
                        Taken(attribute, registers.get(from, batch.places[i])));
    }
}

}  // namespace

TDistributeEffectVM::TDistributeEffectVM(const TEffectProgram& program, bool plainOnly)
    : m_program(program), m_machine(program.code) {
    for (size_t i = 0; i < program.slots.size(); ++i) m_machine.set_slot(i, program.slots[i]);
    if (plainOnly || !program.lanes) return;
    m_batch = std::make_unique<batch_machine>(program.lanes, *program.code->functions);
    m_single = std::make_unique<single_machine>(program.lanes, *program.code->functions);
    m_batch->bind(program.slots);
    m_single->bind(program.slots);
    MarkPassed();
}

void TDistributeEffectVM::MarkPassed() {
    m_isPassed.assign(m_program.lanes->num_registers, 0);
    for (const batch_program::binding& b : m_program.lanes->outputs)
        for (lane_register r : b.value.part)
            if (r != no_register) m_isPassed[r] = 1;
}

void TDistributeEffectVM::Run(const TEffectLanes& items, const TBuildInput& input,
                              TEffVMCallback& host) {
    const TItemLanes& lanes = items.lanes;
    for (size_t first = 0; first < lanes.count; first += batch_machine::width) {
        size_t end = std::min(first + batch_machine::width, lanes.count);
        m_items.resize(end - first);
        size_t numAlive = 0;
        for (size_t k = first; k < end; ++k) {
            m_items[numAlive] = uint32_t(k);
            numAlive += lanes.IsAlive(k);
        }
        m_items.resize(numAlive);
        if (m_batch && m_items.size() >= kSmallestBatch) {
            RunBatch(items, input, host);
            continue;
        }
        for (uint32_t k : m_items) {
            if (m_single)
                RunSingle(items, k, input, host);
            else
                RunPlain(items, k, input, host);
        }
    }
}

// Of one item; none when the program draws nothing.
std::optional<TNuRandom> TDistributeEffectVM::Generator(const TNuRandomColumns& all,
                                                        size_t k) const {
    if (!m_program.usesRandom || all.IsEmpty()) return std::nullopt;
    return all.Get(k);
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
    std::optional<TNuRandom> random = Generator(items.randoms, k);
    bool done = m_machine.run(random ? &*random : nullptr, &host);
    if (random) items.randoms.Set(k, *random);
    // An item whose run fails stays as it was.
    if (!done) return;
    for (size_t i : m_program.attributes.written)
        if (m_machine.is_modified(m_program.itemSlot + i))
            attributes[i].write({items.lanes, k, items.outcomes[k], input},
                                Taken(attributes[i], m_machine.slot(m_program.itemSlot + i)));
    AddResult(m_machine.result(), items.lanes, k);
}

void TDistributeEffectVM::RunSingle(const TEffectLanes& items, size_t k, const TBuildInput& input,
                                    TEffVMCallback& host) {
    const auto item = uint32_t(k), place = uint32_t(0);
    TAttributeBatch batch{items.lanes, items.cells, items.outcomes, input, {&item, 1}, {&place, 1}};
    Read(*m_single, batch, false);
    std::optional<TNuRandom> random = Generator(items.randoms, k);
    // The plain machine says what an item is left with whose run fails.
    if (!m_single->run(random ? &*random : nullptr, &host)) return RunPlain(items, k, input, host);
    if (random) items.randoms.Set(k, *random);
    Write(*m_single, batch);
}

// --- batches

// Whether a run over all lanes from the first item to the last is worth what it spends on those
// that are not alive. Functions of the host are not asked for them.
bool TDistributeEffectVM::StandTogether() const {
    size_t numLanes = m_items.back() - m_items.front() + 1;
    if (numLanes == m_items.size()) return true;
    return m_program.lanes->calls.empty() && m_items.size() * 2 >= numLanes;
}

void TDistributeEffectVM::RunBatch(const TEffectLanes& items, const TBuildInput& input,
                                   TEffVMCallback& host) {
    const bool inPlace = StandTogether();
    m_places.resize(m_items.size());
    for (size_t i = 0; i < m_items.size(); ++i)
        m_places[i] = inPlace ? m_items[i] - m_items.front() : uint32_t(i);
    const size_t count = m_places.back() + 1;
    TAttributeBatch batch{items.lanes, items.cells, items.outcomes, input, m_items, m_places};

    Read(*m_batch, batch, inPlace);
    TNuRandomColumns randoms = Generators(items.randoms, count, inPlace);
    m_batch->run(count, randoms, &host);
    for (size_t i = 0; !inPlace && !randoms.IsEmpty() && i < count; ++i)
        items.randoms.Set(m_items[i], randoms.Get(i));
    if (m_batch->any_failed()) {
        RunFailed(items, input, host);
        batch.items = m_items;
        batch.places = m_places;
    }
    Write(*m_batch, batch);
}

// The generators of a run by place; empty when the program draws nothing. Where runs may fail, what
// they were before is kept.
TNuRandomColumns TDistributeEffectVM::Generators(const TNuRandomColumns& all, size_t count,
                                                 bool inPlace) {
    m_before.clear();
    if (!m_program.usesRandom || all.IsEmpty()) return {};
    TNuRandomColumns randoms = inPlace ? all.From(m_items.front()) : TNuRandomColumns();
    if (!inPlace) {
        m_gathered.Resize(count);
        randoms = m_gathered.Columns();
        for (size_t i = 0; i < count; ++i) randoms.Set(i, all.Get(m_items[i]));
    }
    if (m_program.lanes->can_fail)
        for (size_t place = 0; place < count; ++place) m_before.push_back(randoms.Get(place));
    return randoms;
}

// The plain machine says what items are left with whose run fails; they leave the batch.
void TDistributeEffectVM::RunFailed(const TEffectLanes& items, const TBuildInput& input,
                                    TEffVMCallback& host) {
    size_t left = 0;
    for (size_t i = 0; i < m_items.size(); ++i) {
        uint32_t k = m_items[i], place = m_places[i];
        if (!m_batch->failed(place)) {
            m_items[left] = k;
            m_places[left++] = place;
            continue;
        }
        if (!m_before.empty()) items.randoms.Set(k, m_before[place]);
        RunPlain(items, k, input, host);
    }
    m_items.resize(left);
    m_places.resize(left);
}

void TDistributeEffectVM::Read(Registers& registers, const TAttributeBatch& batch, bool inPlace) {
    for (const batch_program::binding& b : m_program.lanes->inputs) {
        const TItemAttribute& attribute = ItemAttributes()[b.slot - m_program.itemSlot];
        TAttributeColumn column{};
        if (attribute.column) column = attribute.column(batch.lanes);
        TAttributeLanes to;
        for (int p = 0; p < NumParts(b.value); ++p) {
            lane_register r = b.value.part[p];
            if (r == no_register) continue;
            if (attribute.column)
                ReadColumn(registers, r, column.part[p], batch, inPlace);
            else
                to.part[p] = registers.own_lane(r);
        }
        if (!attribute.column) attribute.readAll(batch, to);
    }
}

void TDistributeEffectVM::ReadColumn(Registers& registers, lane_register r, const float* column,
                                     const TAttributeBatch& batch, bool inPlace) {
    const float* first = column + batch.items.front();
    if (inPlace && !m_isPassed[r]) return registers.bind_lane(r, first);
    float* lane = registers.real_lane(r);
    if (inPlace) {
        std::copy_n(first, batch.places.back() + 1, lane);
        return;
    }
    for (size_t i = 0; i < batch.items.size(); ++i) lane[batch.places[i]] = column[batch.items[i]];
}

// What the program left, in the order of the attributes.
void TDistributeEffectVM::Write(const Registers& registers, const TAttributeBatch& batch) {
    const batch_program& code = registers.code();
    for (size_t i = 0; code.returns && i < batch.items.size(); ++i)
        AddResult(registers.get(code.result, batch.places[i]), batch.lanes, batch.items[i]);
    auto attributes = ItemAttributes();
    for (const batch_program::binding& b : code.outputs) {
        // Parameters and read-only attributes change for the program only.
        size_t i = b.slot - m_program.itemSlot;
        if (b.slot < m_program.itemSlot || i >= attributes.size() || !attributes[i].write) continue;
        if (!IsOfType(b.value, attributes[i].type)) {
            WriteConverted(registers, b.value, attributes[i], batch);
            continue;
        }
        TAttributeResults from;
        for (int p = 0; p < NumParts(b.value); ++p) from.part[p] = registers.view(b.value.part[p]);
        attributes[i].writeAll(batch, from);
    }
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
    bool keepsVectors = lanes.from.Size() > 0;
    for (size_t k = 0; keepsVectors && k < lanes.count; ++k) lanes.from[k].effectVector = {};
    for (size_t i = 0; i < m_machines.size(); ++i) {
        Reached(i, items);
        m_machines[i].Run(items, m_input, m_host);
    }
    Reached(m_machines.size(), items);
    // An item that a program hides keeps no vector, not even of the programs before.
    for (size_t k = 0; keepsVectors && k < lanes.count; ++k)
        if (!lanes.IsAlive(k)) lanes.from[k].effectVector = {};
}
