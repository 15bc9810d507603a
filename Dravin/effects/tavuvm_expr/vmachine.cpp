#include "Dravin/effects/tavuvm_expr/vmachine.h"

#include <algorithm>

#include "Dravin/effects/tavuvm_expr/algebra.h"

namespace tavuvm_expr {

// What a run keeps at hand: the code, the stack and who is asking.
struct vmachine::state {
    const value* code;
    size_t num_cells, num_slots;
    value* base;   // the stack's first cell
    value* floor;  // nothing below it is popped
    value* top;    // one past the last value
    value* limit;
    call_context context;

    size_t available() const { return size_t(top - floor); }
    size_t room() const { return size_t(limit - top); }
    value pop() { return *--top; }
    void push(const value& v) { *top++ = v; }
};

void vmachine::load(std::shared_ptr<const program> p) {
    m_program = std::move(p);
    m_stack.assign(m_program->initial.begin(), m_program->initial.end());
    m_stack.resize(m_program->initial.size() + stack_bound(m_program->code) + 1);
    m_modified.assign(m_program->initial.size(), 0);
}

void vmachine::reset() {
    auto first = long(m_program->num_host_slots);
    std::copy(m_program->initial.begin() + first, m_program->initial.end(),
              m_stack.begin() + first);
    std::fill(m_modified.begin(), m_modified.end(), uint8_t(0));
}

value vmachine::slot(size_t i) {
    if (i < m_modified.size()) return m_stack[i];
    m_error = run_error::slot_range;
    return 0;
}

void vmachine::set_slot(size_t i, const value& v) {
    if (i < m_modified.size())
        m_stack[i] = v;
    else
        m_error = run_error::slot_range;
}

bool vmachine::fail(run_error error, size_t cell) {
    m_error = error;
    m_error_cell = cell;
    return false;
}

bool vmachine::run(const run_frame& frame, TNuRandom* random, void* host) {
    m_error = run_error::none;
    m_error_text.clear();
    m_result = 0;
    if (!m_program) return true;

    state s;
    s.code = m_program->code.data();
    s.num_cells = m_program->code.size();
    s.num_slots = m_program->initial.size();
    s.base = m_stack.data();
    s.limit = s.base + m_stack.size();
    s.floor = s.top = s.base + std::min(frame.stack_base, m_stack.size());
    s.context = {random, host, &m_error_text};

    size_t cell = frame.start;
    while (cell < s.num_cells) {
        const size_t at = cell;
        const value& instruction = s.code[cell++];
        const auto op = opcode(instruction.to_integer());
        const opcode_info info = info_of(int32_t(op));
        if (s.available() < size_t(info.pops) || s.room() < size_t(info.pushes) ||
            s.num_cells - cell < size_t(info.operands))
            return fail(run_error::failure, at);
        const value* operands = s.code + cell;
        cell += size_t(info.operands);

        switch (op) {
            case opcode::add:
                if (s.top[-1].is_real() && s.top[-2].is_real()) {
                    s.top[-2] = s.top[-2].real() + s.top[-1].real();
                    --s.top;
                    break;
                }
                [[fallthrough]];
            case opcode::sub:
            case opcode::mult:
            case opcode::div:
            case opcode::mod:
            case opcode::pow:
            case opcode::equal:
            case opcode::not_equal:
            case opcode::less:
            case opcode::less_equal:
            case opcode::greater:
            case opcode::greater_equal:
            case opcode::log_and:
            case opcode::log_or:
            case opcode::bit_and:
            case opcode::bit_or:
            case opcode::bit_xor:
            case opcode::shift_left:
            case opcode::shift_right:
                if (!algebra::apply(op, s.top[-2], s.top[-1], &s.top[-2]))
                    return fail(run_error::failure, at);
                --s.top;
                break;
            case opcode::neg:
                s.top[-1] = algebra::negated(s.top[-1]);
                break;
            case opcode::not_:
                s.top[-1] = int32_t(s.top[-1].to_integer() == 0);
                break;

            case opcode::load: {
                auto slot = uint32_t(s.top[-1].to_integer());
                if (slot >= s.num_slots) return fail(run_error::slot_range, at);
                s.top[-1] = s.base[slot];
                break;
            }
            case opcode::store: {
                int32_t type = s.pop().to_integer();
                auto slot = uint32_t(s.pop().to_integer());
                value v = s.pop();
                if (slot >= s.num_slots) return fail(run_error::slot_range, at);
                if (type >= 1 && type <= 3) v = algebra::converted(v, value_kind(type - 1));
                if (!m_program->is_constant[slot]) s.base[slot] = v;
                m_modified[slot] = 1;
                break;
            }
            case opcode::fill: {
                int32_t count = s.pop().to_integer();
                auto slot = uint32_t(s.pop().to_integer());
                value v = s.pop();
                if (slot >= s.num_slots) return fail(run_error::slot_range, at);
                if (count > 0 && size_t(count) > s.num_slots - slot)
                    return fail(run_error::slot_range, at);
                if (count > 0 && !m_program->is_constant[slot])
                    std::fill_n(s.base + slot, count, v);
                m_modified[slot] = 1;
                break;
            }
            case opcode::list_store:
                if (run_error e = store_list(s); e != run_error::none) return fail(e, at);
                break;

            case opcode::frame_base:
                s.push(int32_t(frame.frame_base));
                break;
            case opcode::stack_base:
                s.push(int32_t(frame.stack_base));
                break;
            case opcode::load_register: {
                auto number = uint32_t(s.top[-1].to_integer());
                if (number >= num_general_registers) return fail(run_error::register_range, at);
                s.top[-1] = m_general[number];
                break;
            }
            case opcode::load_vector: {
                auto number = uint32_t(s.top[-1].to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, at);
                s.top[-1] = m_vectors[number];
                break;
            }
            case opcode::store_vector: {
                auto number = uint32_t(s.pop().to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, at);
                m_vectors[number] = s.pop();
                break;
            }
            case opcode::set_x:
            case opcode::set_y:
            case opcode::set_z: {
                auto number = uint32_t(s.pop().to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, at);
                vector3 v = m_vectors[number].to_vector();
                float component = s.pop().to_real();
                (op == opcode::set_x ? v.x : op == opcode::set_y ? v.y : v.z) = component;
                m_vectors[number] = v;
                break;
            }
            case opcode::get_x:
                s.top[-1] = s.top[-1].to_vector().x;
                break;
            case opcode::get_y:
                s.top[-1] = s.top[-1].to_vector().y;
                break;
            case opcode::get_z:
                s.top[-1] = s.top[-1].to_vector().z;
                break;

            case opcode::push:
                s.push(operands[0]);
                break;
            case opcode::push_one:
                s.push(1);
                break;
            case opcode::push_zero:
                s.push(0);
                break;
            case opcode::call:
                if (run_error e = call(s, operands[0].to_integer(), operands[1].to_integer());
                    e != run_error::none)
                    return fail(e, at);
                break;
            case opcode::program_header: {
                auto count = uint32_t(operands[0].to_integer());
                // The variables stand below everything that the run pushes.
                if (count > s.num_slots || count > s.room()) return fail(run_error::failure, at);
                s.top += count;
                s.floor = s.top;
                break;
            }
            case opcode::return_:
            case opcode::stop:
                // Above the returned value stands an immediate of the compiler's.
                m_result = s.top[s.available() > 1 ? -2 : -1];
                return true;
            case opcode::print: {
                value v = s.pop();
                if (m_output) *m_output += v.text() + '\n';
                break;
            }
            case opcode::no_operation:
                break;
        }
    }
    return true;
}

// On the stack: the values, the first slot, their count, the type of the target.
run_error vmachine::store_list(state& s) {
    int32_t type = s.pop().to_integer();
    int32_t count = s.pop().to_integer();
    auto slot = uint32_t(s.pop().to_integer());
    if (slot >= s.num_slots) return run_error::slot_range;
    if (count < 0 || size_t(count) > s.available()) return run_error::failure;
    if (size_t(count) > s.num_slots - slot) return run_error::slot_range;
    for (int32_t i = count - 1; i >= 0; --i) {
        value v = s.pop();
        if (type >= 1 && type <= 3) v = algebra::converted(v, value_kind(type - 1));
        if (!m_program->is_constant[slot]) s.base[slot + uint32_t(i)] = v;
    }
    m_modified[slot] = 1;
    return run_error::none;
}

run_error vmachine::call(state& s, int32_t number, int32_t count) {
    if (count > int32_t(max_arguments)) return run_error::too_many_arguments;
    if (count < 0 || size_t(count) > s.available()) return run_error::failure;
    const function_library& functions = *m_program->functions;
    if (number < 0 || size_t(number) >= functions.size()) return run_error::call_failed;
    const function& f = functions.at(size_t(number));
    if (!f.body) m_error_text = "call to empty boost::function";
    if (!f.body || size_t(count) != f.arguments.size()) return run_error::call_failed;

    value result;
    std::span<const value> arguments(s.top - count, size_t(count));
    if (!f.body(s.context, arguments, &result))
        return f.can_fail ? run_error::failure : run_error::call_failed;
    s.top -= count;
    if (s.room() < 1) return run_error::failure;
    s.push(result);
    return run_error::none;
}

}  // namespace tavuvm_expr
