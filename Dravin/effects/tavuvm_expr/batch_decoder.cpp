#include "Dravin/effects/tavuvm_expr/batch_decoder.h"

#include <bit>

namespace tavuvm_expr {

using shape = lane_value::shape;

namespace {

// Lane operations of a binary operator.
struct operator_lanes {
    lane_op reals, integers;
};
operator_lanes lanes_of(opcode op) {
    using enum lane_op;
    switch (op) {
        case opcode::add:
            return {add_r, add_i};
        case opcode::sub:
            return {sub_r, sub_i};
        case opcode::mult:
            return {mul_r, mul_i};
        case opcode::div:
            return {div_r, div_i};
        case opcode::mod:
            return {mod_r, mod_i};
        case opcode::pow:
            return {pow_r, pow_i};
        case opcode::equal:
            return {eq_r, eq_i};
        case opcode::not_equal:
            return {ne_r, ne_i};
        case opcode::less:
            return {lt_r, lt_i};
        case opcode::less_equal:
            return {le_r, le_i};
        case opcode::greater:
            return {gt_r, gt_i};
        case opcode::greater_equal:
            return {ge_r, ge_i};
        case opcode::log_and:
            return {count, log_and_i};
        case opcode::log_or:
            return {count, log_or_i};
        case opcode::bit_and:
            return {count, and_i};
        case opcode::bit_or:
            return {count, or_i};
        case opcode::bit_xor:
            return {count, xor_i};
        case opcode::shift_left:
            return {count, shl_i};
        case opcode::shift_right:
            return {count, shr_i};
        default:
            return {count, count};
    }
}

bool is_comparison(opcode op) { return op >= opcode::equal && op <= opcode::greater_equal; }

}  // namespace

batch_decoder::batch_decoder(const compiled_program& p, const std::vector<uint8_t>& varying)
    : m_program(p) {
    is_modified.assign(p.initial.size(), 0);
    for (size_t slot = 0; slot < p.initial.size(); ++slot) {
        bool host = slot < p.num_host_slots && !p.is_constant[slot];
        bool varies = slot < varying.size() && varying[slot];
        slots.push_back(host ? input_symbol(slot, p.initial[slot], !varies)
                             : symbol_of(p.initial[slot]));
    }
}

bool batch_decoder::decode() {
    const std::vector<value>& code = m_program.code;
    // Without a header that reserves the variables, a run's values would overwrite them.
    if (code.size() < 2 || opcode(code[0].to_integer()) != opcode::program_header ||
        size_t(code[1].to_integer()) != m_program.initial.size())
        return false;
    for (size_t cell = 2; cell < code.size() && !m_returned;) {
        opcode op = opcode(code[cell].to_integer());
        opcode_info info = info_of(int32_t(op));
        if (code.size() - cell - 1 < size_t(info.operands) || !has(size_t(info.pops))) return false;
        if (!step(op, code.data() + cell + 1)) return false;
        cell += 1 + size_t(info.operands);
    }
    return true;
}

// --- nodes

node_id batch_decoder::add(lane_node node) {
    nodes.push_back(std::move(node));
    return node_id(nodes.size() - 1);
}

node_id batch_decoder::constant(const value& number) {
    char kind = number.is_integer() ? 'i' : 'r';
    auto bits =
        number.is_integer() ? uint32_t(number.integer()) : std::bit_cast<uint32_t>(number.real());
    auto [it, is_new] = m_constants.try_emplace({kind, bits}, no_node_id);
    if (is_new) {
        lane_node node;
        node.from = lane_node::source::constant;
        node.kind = kind;
        node.is_uniform = true;
        node.number = number;
        it->second = add(std::move(node));
    }
    return it->second;
}

node_id batch_decoder::operate(lane_op op, std::initializer_list<node_id> arguments) {
    std::pair key{op, std::vector<node_id>(arguments)};
    if (!has_side_effect(op))
        if (auto it = m_known.find(key); it != m_known.end()) return it->second;
    lane_node node;
    node.op = op;
    node.kind = info_of(op).result;
    node.arguments = key.second;
    node.is_uniform = !has_side_effect(op);
    for (node_id a : arguments) node.is_uniform = node.is_uniform && nodes[a].is_uniform;
    node_id id = add(std::move(node));
    if (!has_side_effect(op)) m_known[std::move(key)] = id;
    return id;
}

std::optional<int32_t> batch_decoder::constant_integer(const symbol& s) const {
    if (s.shape != shape::integer && s.shape != shape::real) return std::nullopt;
    const lane_node& node = nodes[s.part[0]];
    if (node.from != lane_node::source::constant) return std::nullopt;
    return node.number.to_integer();
}

// --- symbols

symbol batch_decoder::symbol_of(const value& v) {
    if (v.is_integer()) return integer_symbol(constant(v));
    if (v.is_real()) return real_symbol(constant(v));
    vector3 a = v.vector();
    return vector_symbol(real(a.x), real(a.y), real(a.z));
}

symbol batch_decoder::input_symbol(size_t slot, const value& typical, bool is_uniform) {
    symbol s;
    s.shape = typical.is_integer() ? shape::integer
              : typical.is_real()  ? shape::real
                                   : shape::vector;
    for (uint32_t i = 0; i < s.num_parts(); ++i) {
        lane_node node;
        node.from = is_uniform ? lane_node::source::uniform_input : lane_node::source::input;
        node.kind = typical.is_integer() ? 'i' : 'r';
        node.is_uniform = is_uniform;
        node.slot = slot;
        node.part = i;
        s.part[i] = add(std::move(node));
    }
    return s;
}

node_id batch_decoder::real_view(const symbol& s) {
    switch (s.shape) {
        case shape::integer:
            return operate(lane_op::to_real, {s.part[0]});
        case shape::vector:
            return real(0);
        default:
            return s.part[0];
    }
}

node_id batch_decoder::integer_view(const symbol& s) {
    switch (s.shape) {
        case shape::integer:
            return s.part[0];
        case shape::real:
            return operate(lane_op::to_integer, {s.part[0]});
        case shape::vector:
            return integer(0);
        default:
            return s.part[1];
    }
}

node_id batch_decoder::is_integer(const symbol& s) {
    if (s.shape == shape::number) return s.part[2];
    return integer(s.shape == shape::integer);
}

symbol batch_decoder::vector_view(const symbol& s) {
    if (s.shape == shape::vector) return s;
    node_id zero = real(0);
    return vector_symbol(zero, zero, zero);
}

symbol batch_decoder::converted(const symbol& s, int32_t type) {
    switch (type) {
        case 1:
            return integer_symbol(integer_view(s));
        case 2:
            return real_symbol(real_view(s));
        case 3:
            return vector_view(s);
        default:
            return s;
    }
}

std::optional<symbol> batch_decoder::select(node_id condition, const symbol& a, const symbol& b) {
    using enum lane_op;
    if ((a.shape == shape::vector) != (b.shape == shape::vector)) return std::nullopt;
    symbol s = a;
    if (a.shape == shape::vector) {
        for (int i = 0; i < 3; ++i)
            s.part[i] = operate(select_r, {condition, a.part[i], b.part[i]});
        return s;
    }
    if (a.shape == shape::integer && b.shape == shape::integer)
        return integer_symbol(operate(select_i, {condition, a.part[0], b.part[0]}));
    node_id r = operate(select_r, {condition, real_view(a), real_view(b)});
    if (a.shape == shape::real && b.shape == shape::real) return real_symbol(r);
    return number_symbol(r, operate(select_i, {condition, integer_view(a), integer_view(b)}),
                         operate(select_i, {condition, is_integer(a), is_integer(b)}));
}

// --- instructions

bool batch_decoder::step(opcode op, const value* operands) {
    if (is_binary(op)) return binary(op);
    switch (op) {
        case opcode::neg:
            push(negated(pop()));
            return true;
        case opcode::not_:
            push(integer_symbol(operate(lane_op::not_i, {integer_view(pop())})));
            return true;
        case opcode::load:
            return load();
        case opcode::store:
            return store();
        case opcode::fill:
            return fill();
        case opcode::list_store:
            return list_store();
        case opcode::frame_base:
        case opcode::stack_base:
            push(symbol_of(0));
            return true;
        case opcode::load_vector:
        case opcode::store_vector:
        case opcode::set_x:
        case opcode::set_y:
        case opcode::set_z:
            return vector_register(op);
        case opcode::get_x:
            push(real_symbol(vector_view(pop()).part[0]));
            return true;
        case opcode::get_y:
            push(real_symbol(vector_view(pop()).part[1]));
            return true;
        case opcode::get_z:
            push(real_symbol(vector_view(pop()).part[2]));
            return true;
        case opcode::push:
            push(symbol_of(operands[0]));
            return true;
        case opcode::push_one:
            push(symbol_of(1));
            return true;
        case opcode::push_zero:
            push(symbol_of(0));
            return true;
        case opcode::call: {
            int32_t number = operands[0].to_integer(), count = operands[1].to_integer();
            return number >= 0 && count >= 0 && call(uint32_t(number), size_t(count));
        }
        case opcode::return_:
            if (!has(2)) return false;
            pop();
            result = pop();
            m_returned = true;
            return true;
        case opcode::print:
            pop();
            return true;
        default:
            return false;
    }
}

bool batch_decoder::binary(opcode op) {
    symbol b = pop(), a = pop();
    auto s = combine(op, a, b);
    if (s) push(*s);
    return s.has_value();
}

std::optional<symbol> batch_decoder::combine(opcode op, const symbol& a, const symbol& b) {
    bool va = a.shape == shape::vector, vb = b.shape == shape::vector;
    if (va && vb) return of_vectors(op, a, b);
    if (va) return of_vector_and_number(op, a, real_view(b), false);
    if (vb) return of_vector_and_number(op, b, real_view(a), true);
    if ((a.shape == shape::integer && b.shape == shape::integer) || needs_integers(op))
        return integer_symbol(operate(lanes_of(op).integers, {integer_view(a), integer_view(b)}));
    if (a.shape == shape::real || b.shape == shape::real)
        return of_reals(op, real_view(a), real_view(b));
    return of_numbers(op, a, b);
}

symbol batch_decoder::of_reals(opcode op, node_id a, node_id b) {
    node_id n = operate(lanes_of(op).reals, {a, b});
    return is_comparison(op) ? integer_symbol(n) : real_symbol(n);
}

// At least one of them is an integer for some items and a real for others: both ways are computed,
// and each item takes its own.
symbol batch_decoder::of_numbers(opcode op, const symbol& a, const symbol& b) {
    using enum lane_op;
    node_id both = operate(and_i, {is_integer(a), is_integer(b)});
    node_id i = operate(lanes_of(op).integers, {integer_view(a), integer_view(b)});
    node_id r = operate(lanes_of(op).reals, {real_view(a), real_view(b)});
    if (is_comparison(op)) return integer_symbol(operate(select_i, {both, i, r}));
    return number_symbol(operate(select_r, {both, operate(to_real, {i}), r}),
                         operate(select_i, {both, i, operate(to_integer, {r})}), both);
}

std::optional<symbol> batch_decoder::of_vectors(opcode op, const symbol& a, const symbol& b) {
    using enum lane_op;
    switch (op) {
        case opcode::add:
        case opcode::sub: {
            symbol s = a;
            for (int i = 0; i < 3; ++i)
                s.part[i] = operate(lanes_of(op).reals, {a.part[i], b.part[i]});
            return s;
        }
        case opcode::mult:
            return real_symbol(dot(a, b));
        case opcode::pow:
            return cross(a, b);
        case opcode::equal:
        case opcode::not_equal: {
            node_id same[3];
            for (int i = 0; i < 3; ++i) same[i] = operate(eq_r, {a.part[i], b.part[i]});
            node_id all = operate(and_i, {operate(and_i, {same[0], same[1]}), same[2]});
            return integer_symbol(op == opcode::equal ? all : operate(not_i, {all}));
        }
        default:
            return std::nullopt;
    }
}

std::optional<symbol> batch_decoder::of_vector_and_number(opcode op, const symbol& v, node_id r,
                                                          bool swapped) {
    bool known = op == opcode::add || op == opcode::sub || op == opcode::mult ||
                 (op == opcode::div && !swapped);
    if (!known) return std::nullopt;
    symbol s = v;
    for (int i = 0; i < 3; ++i) s.part[i] = operate(lanes_of(op).reals, {v.part[i], r});
    return s;
}

symbol batch_decoder::negated(const symbol& s) {
    using enum lane_op;
    symbol n = s;
    switch (s.shape) {
        case shape::integer:
            n.part[0] = operate(sub_i, {integer(0), s.part[0]});
            break;
        case shape::number: {
            node_id i = operate(sub_i, {integer(0), s.part[1]});
            node_id r = operate(neg_r, {s.part[0]});
            n.part[0] = operate(select_r, {s.part[2], operate(to_real, {i}), r});
            n.part[1] = operate(select_i, {s.part[2], i, operate(to_integer, {r})});
            break;
        }
        default:
            for (size_t i = 0; i < s.num_parts(); ++i) n.part[i] = operate(neg_r, {s.part[i]});
    }
    return n;
}

node_id batch_decoder::dot(const symbol& a, const symbol& b) {
    using enum lane_op;
    node_id p[3];
    for (int i = 0; i < 3; ++i) p[i] = operate(mul_r, {a.part[i], b.part[i]});
    return operate(add_r, {operate(add_r, {p[0], p[1]}), p[2]});
}

symbol batch_decoder::cross(const symbol& a, const symbol& b) {
    using enum lane_op;
    auto part = [&](int i, int j) {
        return operate(sub_r, {operate(mul_r, {a.part[i], b.part[j]}),
                               operate(mul_r, {a.part[j], b.part[i]})});
    };
    node_id x = part(1, 2), y = part(2, 0), z = part(0, 1);
    return vector_symbol(x, y, z);
}

// --- variables and registers

bool batch_decoder::load() {
    auto slot = constant_integer(pop());
    if (!slot || *slot < 0 || size_t(*slot) >= slots.size()) return false;
    push(slots[size_t(*slot)]);
    return true;
}

void batch_decoder::write(size_t slot, const symbol& s) {
    if (!m_program.is_constant[slot]) slots[slot] = s;
}

bool batch_decoder::store() {
    auto type = constant_integer(pop()), slot = constant_integer(pop());
    symbol s = pop();
    if (!type || !slot || *slot < 0 || size_t(*slot) >= slots.size()) return false;
    write(size_t(*slot), converted(s, *type));
    is_modified[size_t(*slot)] = 1;
    return true;
}

bool batch_decoder::fill() {
    auto count = constant_integer(pop()), slot = constant_integer(pop());
    symbol s = pop();
    if (!count || !slot || *slot < 0 || *count < 0) return false;
    if (int64_t(*slot) + *count > int64_t(slots.size()) || size_t(*slot) >= slots.size())
        return false;
    if (!m_program.is_constant[size_t(*slot)])
        for (int32_t i = 0; i < *count; ++i) slots[size_t(*slot + i)] = s;
    is_modified[size_t(*slot)] = 1;
    return true;
}

bool batch_decoder::list_store() {
    auto type = constant_integer(pop()), count = constant_integer(pop());
    auto slot = constant_integer(pop());
    if (!type || !count || !slot || *slot < 0 || *count < 0 || !has(size_t(*count))) return false;
    if (int64_t(*slot) + *count > int64_t(slots.size()) || size_t(*slot) >= slots.size())
        return false;
    for (int32_t i = *count - 1; i >= 0; --i) {
        symbol s = converted(pop(), *type);
        if (!m_program.is_constant[size_t(*slot)]) slots[size_t(*slot + i)] = s;
    }
    is_modified[size_t(*slot)] = 1;
    return true;
}

bool batch_decoder::vector_register(opcode op) {
    auto number = constant_integer(pop());
    if (!number || *number < 0 || *number >= int32_t(std::size(m_vectors))) return false;
    std::optional<symbol>& v = m_vectors[*number];
    if (op == opcode::load_vector) {
        if (v) push(*v);
        return v.has_value();  // what an earlier run left there is no business of this one
    }
    if (op == opcode::store_vector) {
        v = pop();
        return true;
    }
    if (!v) return false;
    symbol changed = vector_view(*v);
    changed.part[int(op) - int(opcode::set_x)] = real_view(pop());
    v = changed;
    return true;
}

}  // namespace tavuvm_expr
