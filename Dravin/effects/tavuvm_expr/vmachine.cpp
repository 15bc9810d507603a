#include "Dravin/effects/tavuvm_expr/vmachine.h"

#include <algorithm>

#include "Dravin/effects/tavuvm_expr/algebra.h"

namespace tavuvm_expr {

// What a run keeps at hand: the stack and who is asking.
struct vmachine::state {
    size_t num_slots;
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

namespace {

// A built-in that has no result for its argument stops the run like an operator; a function of the
// host that fails says so itself.
run_error failure_of(const function& f) {
    return f.can_fail ? run_error::failure : run_error::call_failed;
}

float part_of(const vector3& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

vector3 with_part(vector3 v, int axis, float number) {
    (axis == 0 ? v.x : axis == 1 ? v.y : v.z) = number;
    return v;
}

}  // namespace

void vmachine::load(std::shared_ptr<const compiled_program> p) {
    m_program = std::move(p);
    m_stack.assign(m_program->initial.begin(), m_program->initial.end());
    m_stack.resize(m_program->initial.size() + stack_bound(m_program->code) + 1);
    m_modified.assign(m_program->initial.size(), 0);
    m_code = machine_code(*m_program, m_stack.data(), 0);
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

// --- running

bool vmachine::run(const run_frame& frame, TNuRandom* random, void* host) {
    m_error = run_error::none;
    m_error_text.clear();
    m_result = 0;
    if (!m_program) return true;
    if (m_code.is_verified() && frame.start == 0 && frame.stack_base == 0)
        return execute<false>(m_code, frame, random, host);
    return execute<true>(machine_code(*m_program, m_stack.data(), frame.start), frame, random,
                         host);
}

template <bool Checked>
bool vmachine::execute(const machine_code& code, const run_frame& frame, TNuRandom* random,
                       void* host) {
    state s;
    s.num_slots = m_program->initial.size();
    s.base = m_stack.data();
    s.limit = s.base + m_stack.size();
    s.floor = s.top = s.base + std::min(frame.stack_base, m_stack.size());
    s.context = {random, host, &m_error_text};

    // What every step uses stays in registers; calls see it in `s`.
    value* top = s.top;
    value *floor = s.floor, *const base = s.base, *const limit = s.limit;
    const auto num_slots = uint32_t(s.num_slots);
    const uint8_t* const constant = m_program->is_constant.data();
    uint8_t* const modified = m_modified.data();
    auto store = [&](uint32_t slot, const value& v) {
        if (!constant[slot]) base[slot] = v;
        modified[slot] = 1;
    };

    auto deliver = [&](const machine_step& d, const value& result) {
        if (d.target < 0)
            *top++ = result;
        else
            store(uint32_t(d.target), algebra::converted(result, value_kind(d.b - 1)));
    };

    for (const machine_step& d : code.steps()) {
        if (Checked && (top - floor < d.pops || limit - top < d.pushes))
            return fail(run_error::failure, d.cell);
        switch (d.kind) {
            // The kinds that programs mostly add and multiply come first; algebra knows all.
#define TAVUVM_ARITHMETIC(name, reals, mixed, vectors)           \
    case step_kind::name: {                                      \
        const value* b = d.right ? d.right : --top;              \
        const value* a = d.left ? d.left : --top;                \
        value result;                                            \
        if (a->is_real() && b->is_real())                        \
            result = a->real() reals b->real();                  \
        else if (a->is_vector() && b->is_real())                 \
            result = mixed(a->vector(), b->real());              \
        else if (a->is_vector() && b->is_vector())               \
            result = vectors(a->vector(), b->vector());          \
        else if (!algebra::apply(opcode::name, *a, *b, &result)) \
            return fail(run_error::failure, d.cell);             \
        deliver(d, result);                                      \
        break;                                                   \
    }
            TAVUVM_ARITHMETIC(add, +, algebra::add, algebra::add)
            TAVUVM_ARITHMETIC(sub, -, algebra::sub, algebra::sub)
            TAVUVM_ARITHMETIC(mult, *, algebra::mult, algebra::dot)
#undef TAVUVM_ARITHMETIC
            case step_kind::div:
            case step_kind::mod:
            case step_kind::pow:
            case step_kind::equal:
            case step_kind::not_equal:
            case step_kind::less:
            case step_kind::less_equal:
            case step_kind::greater:
            case step_kind::greater_equal:
            case step_kind::log_and:
            case step_kind::log_or:
            case step_kind::bit_and:
            case step_kind::bit_or:
            case step_kind::bit_xor:
            case step_kind::shift_left:
            case step_kind::shift_right: {
                const value* b = d.right ? d.right : --top;
                const value* a = d.left ? d.left : --top;
                value result;
                if (!algebra::apply(d.op, *a, *b, &result)) return fail(run_error::failure, d.cell);
                deliver(d, result);
                break;
            }
            case step_kind::neg:
                top[-1] = algebra::negated(top[-1]);
                break;
            case step_kind::not_:
                top[-1] = int32_t(top[-1].to_integer() == 0);
                break;

            // --- variables
            case step_kind::load_slot:
                *top++ = base[d.a];
                break;
            case step_kind::load_part:
                *top++ = part_of(base[d.a].to_vector(), d.b);
                break;
            case step_kind::load: {
                auto slot = uint32_t(top[-1].to_integer());
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                top[-1] = base[slot];
                break;
            }
            case step_kind::store_slot:
                --top;
                store(uint32_t(d.a), algebra::converted(*top, value_kind(d.b - 1)));
                break;
            case step_kind::store_part:
                m_vectors[0] = with_part(base[d.a].to_vector(), d.b, (--top)->to_real());
                store(uint32_t(d.a), m_vectors[0]);
                break;
            case step_kind::store: {
                int32_t type = (--top)->to_integer();
                auto slot = uint32_t((--top)->to_integer());
                --top;
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                bool known = type >= 1 && type <= 3;
                store(slot, known ? algebra::converted(*top, value_kind(type - 1)) : *top);
                break;
            }
            case step_kind::fill: {
                int32_t count = (--top)->to_integer();
                auto slot = uint32_t((--top)->to_integer());
                --top;
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                if (count > 0 && size_t(count) > num_slots - slot)
                    return fail(run_error::slot_range, d.cell);
                if (count > 0 && !constant[slot]) std::fill_n(base + slot, count, value(*top));
                modified[slot] = 1;
                break;
            }
            case step_kind::list_store:
                s.top = top;
                if (run_error e = store_list(s); e != run_error::none) return fail(e, d.cell);
                top = s.top;
                break;

            // --- bases and registers
            case step_kind::frame_base:
                *top++ = int32_t(frame.frame_base);
                break;
            case step_kind::stack_base:
                *top++ = int32_t(frame.stack_base);
                break;
            case step_kind::load_register: {
                auto number = uint32_t(top[-1].to_integer());
                if (number >= num_general_registers) return fail(run_error::register_range, d.cell);
                top[-1] = m_general[number];
                break;
            }
            case step_kind::load_vector_of:
                *top++ = m_vectors[d.a];
                break;
            case step_kind::load_vector: {
                auto number = uint32_t(top[-1].to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                top[-1] = m_vectors[number];
                break;
            }
            case step_kind::store_vector_of:
                m_vectors[d.a] = *--top;
                break;
            case step_kind::store_vector: {
                auto number = uint32_t((--top)->to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                m_vectors[number] = *--top;
                break;
            }
            case step_kind::set_part_of:
                m_vectors[d.a] = with_part(m_vectors[d.a].to_vector(), d.b, (--top)->to_real());
                break;
            case step_kind::set_x:
            case step_kind::set_y:
            case step_kind::set_z: {
                auto number = uint32_t((--top)->to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                int axis = int(d.kind) - int(step_kind::set_x);
                m_vectors[number] =
                    with_part(m_vectors[number].to_vector(), axis, (--top)->to_real());
                break;
            }
            case step_kind::get_x:
                top[-1] = top[-1].to_vector().x;
                break;
            case step_kind::get_y:
                top[-1] = top[-1].to_vector().y;
                break;
            case step_kind::get_z:
                top[-1] = top[-1].to_vector().z;
                break;

            // --- values and calls
            case step_kind::push:
                *top++ = d.immediate;
                break;
            case step_kind::push_one:
                *top++ = 1;
                break;
            case step_kind::push_zero:
                *top++ = 0;
                break;
            case step_kind::call_min:
                --top;
                if (top[0].to_real() < top[-1].to_real()) top[-1] = top[0];
                break;
            case step_kind::call_max:
                --top;
                if (top[0].to_real() > top[-1].to_real()) top[-1] = top[0];
                break;
            case step_kind::call_if:
                top -= 2;
                top[-1] = top[-1].to_integer() > 0 ? top[0] : top[1];
                break;
            case step_kind::call_length:
                top[-1] = algebra::length(top[-1].to_vector());
                break;
            case step_kind::call_known: {
                value result;
                top -= d.b;
                if (!d.known->body(s.context, {top, size_t(d.b)}, &result))
                    return fail(failure_of(*d.known), d.cell);
                *top++ = result;
                break;
            }
            case step_kind::call:
                s.top = top;
                if (run_error e = call(s, d.a, d.b); e != run_error::none) return fail(e, d.cell);
                top = s.top;
                break;

            // --- the run
            case step_kind::program_header: {
                auto count = uint32_t(d.a);
                // The variables stand below everything that the run pushes.
                if (count > num_slots || count > size_t(limit - top))
                    return fail(run_error::failure, d.cell);
                top += count;
                s.floor = floor = top;
                break;
            }
            case step_kind::return_:
            case step_kind::stop:
                // Above the returned value stands an immediate of the compiler's.
                m_result = top[top - floor > 1 ? -2 : -1];
                return true;
            case step_kind::print:
                --top;
                if (m_output) *m_output += top->text() + '\n';
                break;
            case step_kind::no_operation:
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
    if (!f.body(s.context, arguments, &result)) return failure_of(f);
    s.top -= count;
    if (s.room() < 1) return run_error::failure;
    s.push(result);
    return run_error::none;
}

}  // namespace tavuvm_expr
