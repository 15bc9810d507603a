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

}  // namespace

void vmachine::load(std::shared_ptr<const compiled_program> p) {
    m_program = std::move(p);
    m_stack.assign(m_program->initial.begin(), m_program->initial.end());
    m_stack.resize(m_program->initial.size() + stack_bound(m_program->code) + 1);
    m_modified.assign(m_program->initial.size(), 0);
    m_code = decode(0);
    m_isVerified = verify(m_code);
    if (m_isVerified) resolve_calls();
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

// --- decoding

std::vector<vmachine::decoded> vmachine::decode(size_t start) const {
    const std::vector<value>& cells = m_program->code;
    std::vector<decoded> code;
    for (size_t cell = start; cell < cells.size();) {
        decoded d;
        d.cell = uint32_t(cell);
        d.op = opcode(cells[cell].to_integer());
        opcode_info info = info_of(int32_t(d.op));
        if (!info.name) d.op = opcode::no_operation;
        d.pops = uint8_t(info.pops);
        d.pushes = uint8_t(info.pushes);
        if (cells.size() - cell - 1 < size_t(info.operands)) d.pops = 255;  // fails when it runs
        if (info.operands > 0 && d.pops != 255) {
            d.immediate = cells[cell + 1];
            d.a = cells[cell + 1].to_integer();
            d.b = info.operands > 1 ? cells[cell + 2].to_integer() : 0;
        }
        if (info.name) code.push_back(d);
        while (merge(code)) {
        }
        cell += 1 + size_t(info.operands);
    }
    return code;
}

// Merges the last instruction with the pushes before it; false when there is nothing to merge.
bool vmachine::merge(std::vector<decoded>& code) const {
    const size_t num_slots = m_program->initial.size();
    if (!code.empty() && is_binary(code.back().op)) return merge_operands(code);
    auto pushed = [&](size_t back) {
        if (code.size() <= back) return false;
        const decoded& d = code[code.size() - 1 - back];
        return d.op == opcode::push && d.pops == 0 && d.immediate.is_integer();
    };
    if (code.empty() || code.back().how != decoded::form::plain || !pushed(1)) return false;
    decoded d = code.back();
    int32_t number = code[code.size() - 2].a;
    size_t merged = 1;
    switch (d.op) {
        case opcode::load:
            if (number < 0 || size_t(number) >= num_slots) return false;
            d.how = decoded::form::load_slot;
            break;
        case opcode::store: {
            if (!pushed(2) || number < 1 || number > 3) return false;
            int32_t slot = code[code.size() - 3].a;
            if (slot < 0 || size_t(slot) >= num_slots) return false;
            d.how = decoded::form::store_slot;
            d.b = number;
            number = slot;
            merged = 2;
            break;
        }
        case opcode::load_vector:
            d.how = decoded::form::load_vector;
            break;
        case opcode::store_vector:
            d.how = decoded::form::store_vector;
            break;
        case opcode::set_x:
        case opcode::set_y:
        case opcode::set_z:
            d.how = decoded::form::set_part;
            break;
        default:
            return false;
    }
    if (d.how != decoded::form::load_slot && d.how != decoded::form::store_slot &&
        (number < 0 || size_t(number) >= num_vector_registers))
        return false;
    d.a = number;
    d.pops = uint8_t(d.pops - merged);
    code.resize(code.size() - 1 - merged);
    code.push_back(d);
    return true;
}

// Where the value that an instruction pushes stands anyway; null when it has to be computed.
const value* vmachine::operand_of(const decoded& d) const {
    if (d.op == opcode::load && d.how == decoded::form::load_slot) return &m_stack[size_t(d.a)];
    bool pushes = d.op == opcode::push && d.pops == 0;
    return pushes ? &m_program->code[d.cell + 1] : nullptr;
}

// An operator reads variables and literals where they stand instead of from the stack.
bool vmachine::merge_operands(std::vector<decoded>& code) const {
    decoded d = code.back();
    if (d.right || code.size() < 2) return false;
    const value* right = operand_of(code[code.size() - 2]);
    if (!right) return false;
    size_t merged = 1;
    d.right = right;
    if (code.size() > 2) d.left = operand_of(code[code.size() - 3]);
    if (d.left) merged = 2;
    d.pops = uint8_t(d.pops - merged);
    code.resize(code.size() - 1 - merged);
    code.push_back(d);
    return true;
}

// Whether no instruction can find too few values or too little room on the stack: there are no
// jumps, so its depth is known everywhere. All code of the compiler passes.
bool vmachine::verify(const std::vector<decoded>& code) const {
    if (code.empty() || code[0].op != opcode::program_header) return false;
    if (size_t(uint32_t(code[0].a)) != m_program->initial.size()) return false;
    int64_t depth = 0;
    for (size_t i = 1; i < code.size(); ++i) {
        const decoded& d = code[i];
        int64_t pops = d.pops;
        if (d.op == opcode::program_header) return false;
        if (d.op == opcode::call) pops += std::clamp(d.b, 0, int32_t(max_arguments));
        if (d.op == opcode::list_store) {
            if (i < 3) return false;
            const decoded& count = code[i - 2];
            if (count.op != opcode::push || code[i - 1].op != opcode::push) return false;
            pops += std::max(count.immediate.to_integer(), 0);
        }
        if (depth < pops) return false;
        depth += d.pushes - pops;
    }
    return true;
}

// Calls of functions that exist, with as many arguments as they take, need no questions in a run.
void vmachine::resolve_calls() {
    const function_library& functions = *m_program->functions;
    for (decoded& d : m_code) {
        bool call = d.op == opcode::call && d.a >= 0 && size_t(d.a) < functions.size();
        if (!call) continue;
        const function& f = functions.at(size_t(d.a));
        bool fits =
            d.b >= 0 && size_t(d.b) == f.arguments.size() && f.arguments.size() <= max_arguments;
        if (f.body && fits) d.known = &f;
    }
}

// --- running

bool vmachine::run(const run_frame& frame, TNuRandom* random, void* host) {
    m_error = run_error::none;
    m_error_text.clear();
    m_result = 0;
    if (!m_program) return true;
    if (m_isVerified && frame.start == 0 && frame.stack_base == 0)
        return execute<false>(m_code, frame, random, host);
    return execute<true>(decode(frame.start), frame, random, host);
}

template <bool Checked>
bool vmachine::execute(const std::vector<decoded>& code, const run_frame& frame, TNuRandom* random,
                       void* host) {
    state s;
    s.num_slots = m_program->initial.size();
    s.base = m_stack.data();
    s.limit = s.base + m_stack.size();
    s.floor = s.top = s.base + std::min(frame.stack_base, m_stack.size());
    s.context = {random, host, &m_error_text};

    // What every instruction uses stays in registers; calls see it in `s`.
    value* top = s.top;
    value *floor = s.floor, *const base = s.base, *const limit = s.limit;
    const uint32_t num_slots = uint32_t(s.num_slots);
    const uint8_t* const constant = m_program->is_constant.data();
    uint8_t* const modified = m_modified.data();
    for (const decoded& d : code) {
        if (Checked && (top - floor < d.pops || limit - top < d.pushes))
            return fail(run_error::failure, d.cell);
        switch (d.op) {
            // The kinds that programs mostly add and multiply come first; algebra knows all.
#define TAVUVM_ARITHMETIC(name, reals, mixed, vectors)      \
    case opcode::name: {                                    \
        const value* b = d.right ? d.right : --top;         \
        const value* a = d.left ? d.left : --top;           \
        if (a->is_real() && b->is_real())                   \
            *top++ = a->real() reals b->real();             \
        else if (a->is_vector() && b->is_real())            \
            *top++ = mixed(a->vector(), b->real());         \
        else if (a->is_vector() && b->is_vector())          \
            *top++ = vectors(a->vector(), b->vector());     \
        else if (algebra::apply(opcode::name, *a, *b, top)) \
            ++top;                                          \
        else                                                \
            return fail(run_error::failure, d.cell);        \
        break;                                              \
    }
            TAVUVM_ARITHMETIC(add, +, algebra::add, algebra::add)
            TAVUVM_ARITHMETIC(sub, -, algebra::sub, algebra::sub)
            TAVUVM_ARITHMETIC(mult, *, algebra::mult, algebra::dot)
#undef TAVUVM_ARITHMETIC
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
            case opcode::shift_right: {
                const value* b = d.right ? d.right : --top;
                const value* a = d.left ? d.left : --top;
                if (!algebra::apply(d.op, *a, *b, top)) return fail(run_error::failure, d.cell);
                ++top;
                break;
            }
            case opcode::neg:
                top[-1] = algebra::negated(top[-1]);
                break;
            case opcode::not_:
                top[-1] = int32_t(top[-1].to_integer() == 0);
                break;

            case opcode::load: {
                if (d.how == decoded::form::load_slot) {
                    *top++ = base[d.a];
                    break;
                }
                auto slot = uint32_t(top[-1].to_integer());
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                top[-1] = base[slot];
                break;
            }
            case opcode::store: {
                bool merged = d.how == decoded::form::store_slot;
                int32_t type = merged ? d.b : (--top)->to_integer();
                auto slot = uint32_t(merged ? d.a : (--top)->to_integer());
                value v = *--top;
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                if (type >= 1 && type <= 3) v = algebra::converted(v, value_kind(type - 1));
                if (!constant[slot]) base[slot] = v;
                modified[slot] = 1;
                break;
            }
            case opcode::fill: {
                int32_t count = (--top)->to_integer();
                auto slot = uint32_t((--top)->to_integer());
                value v = *--top;
                if (slot >= num_slots) return fail(run_error::slot_range, d.cell);
                if (count > 0 && size_t(count) > num_slots - slot)
                    return fail(run_error::slot_range, d.cell);
                if (count > 0 && !constant[slot]) std::fill_n(base + slot, count, v);
                modified[slot] = 1;
                break;
            }
            case opcode::list_store:
                s.top = top;
                if (run_error e = store_list(s); e != run_error::none) return fail(e, d.cell);
                top = s.top;
                break;

            case opcode::frame_base:
                *top++ = int32_t(frame.frame_base);
                break;
            case opcode::stack_base:
                *top++ = int32_t(frame.stack_base);
                break;
            case opcode::load_register: {
                auto number = uint32_t(top[-1].to_integer());
                if (number >= num_general_registers) return fail(run_error::register_range, d.cell);
                top[-1] = m_general[number];
                break;
            }
            case opcode::load_vector: {
                if (d.how == decoded::form::load_vector) {
                    *top++ = m_vectors[d.a];
                    break;
                }
                auto number = uint32_t(top[-1].to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                top[-1] = m_vectors[number];
                break;
            }
            case opcode::store_vector: {
                bool merged = d.how == decoded::form::store_vector;
                auto number = uint32_t(merged ? d.a : (--top)->to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                m_vectors[number] = *--top;
                break;
            }
            case opcode::set_x:
            case opcode::set_y:
            case opcode::set_z: {
                bool merged = d.how == decoded::form::set_part;
                auto number = uint32_t(merged ? d.a : (--top)->to_integer());
                if (number >= num_vector_registers) return fail(run_error::register_range, d.cell);
                vector3 v = m_vectors[number].to_vector();
                float component = (--top)->to_real();
                (d.op == opcode::set_x ? v.x : d.op == opcode::set_y ? v.y : v.z) = component;
                m_vectors[number] = v;
                break;
            }
            case opcode::get_x:
                top[-1] = top[-1].to_vector().x;
                break;
            case opcode::get_y:
                top[-1] = top[-1].to_vector().y;
                break;
            case opcode::get_z:
                top[-1] = top[-1].to_vector().z;
                break;

            case opcode::push:
                *top++ = d.immediate;
                break;
            case opcode::push_one:
                *top++ = 1;
                break;
            case opcode::push_zero:
                *top++ = 0;
                break;
            case opcode::call:
                if (d.known) {
                    value result;
                    const value* arguments = top - d.b;
                    if (!d.known->body(s.context, {arguments, size_t(d.b)}, &result))
                        return fail(failure_of(*d.known), d.cell);
                    top -= d.b;
                    *top++ = result;
                    break;
                }
                s.top = top;
                if (run_error e = call(s, d.a, d.b); e != run_error::none) return fail(e, d.cell);
                top = s.top;
                break;
            case opcode::program_header: {
                auto count = uint32_t(d.a);
                // The variables stand below everything that the run pushes.
                if (count > num_slots || count > size_t(limit - top))
                    return fail(run_error::failure, d.cell);
                top += count;
                s.floor = floor = top;
                break;
            }
            case opcode::return_:
            case opcode::stop:
                // Above the returned value stands an immediate of the compiler's.
                m_result = top[top - floor > 1 ? -2 : -1];
                return true;
            case opcode::print: {
                value v = *--top;
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
    if (!f.body(s.context, arguments, &result)) return failure_of(f);
    s.top -= count;
    if (s.room() < 1) return run_error::failure;
    s.push(result);
    return run_error::none;
}

}  // namespace tavuvm_expr
