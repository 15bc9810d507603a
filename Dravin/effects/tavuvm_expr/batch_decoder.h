// Follows a program's code on a stack of symbols and writes down what it computes as operations
// over lanes. One use: decode, then take the nodes.
#pragma once

#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "Dravin/effects/tavuvm_expr/batch_program.h"

namespace tavuvm_expr {

using node_id = uint32_t;
inline constexpr node_id no_node_id = ~0u;

// One number of every item, and how it comes about.
struct lane_node {
    enum class source : uint8_t { operation, constant, input, uniform_input, call, call_part };
    source from = source::operation;
    lane_op op = lane_op::count;
    char kind = 'i';          // i or r
    bool is_uniform = false;  // the same for all items
    std::vector<node_id> arguments;
    value number;       // of a constant
    size_t slot = 0;    // of an input
    uint32_t part = 0;  // of an input's or a call's value
    uint32_t call = 0;

    bool must_run() const {
        return from == source::call || (from == source::operation && has_side_effect(op));
    }
};

// A value as nodes; the shapes of lane_value.
struct symbol {
    lane_value::shape shape = lane_value::shape::integer;
    node_id part[3] = {no_node_id, no_node_id, no_node_id};
    size_t num_parts() const {
        return shape == lane_value::shape::vector || shape == lane_value::shape::number ? 3 : 1;
    }
};

class batch_decoder {
public:
    batch_decoder(const compiled_program& p, const std::vector<uint8_t>& varying);

    // False: the program has no form in lanes.
    bool decode();

    struct call_site {
        uint32_t function = 0;
        std::vector<symbol> arguments;
        symbol result;
    };

    // --- after decoding
    std::vector<lane_node> nodes;
    std::vector<symbol> slots;         // what stands in every slot in the end
    std::vector<uint8_t> is_modified;  // by slot
    std::vector<call_site> calls;
    std::optional<symbol> result;  // of `return`

private:
    // --- nodes
    node_id add(lane_node node);
    node_id constant(const value& number);
    node_id integer(int32_t i) { return constant(i); }
    node_id real(float r) { return constant(r); }
    node_id operate(lane_op op, std::initializer_list<node_id> arguments);
    std::optional<int32_t> constant_integer(const symbol& s) const;

    // --- symbols
    symbol integer_symbol(node_id i) { return {lane_value::shape::integer, {i}}; }
    symbol real_symbol(node_id r) { return {lane_value::shape::real, {r}}; }
    symbol vector_symbol(node_id x, node_id y, node_id z) {
        return {lane_value::shape::vector, {x, y, z}};
    }
    symbol number_symbol(node_id r, node_id i, node_id is_integer) {
        return {lane_value::shape::number, {r, i, is_integer}};
    }
    symbol symbol_of(const value& v);
    symbol input_symbol(size_t slot, const value& typical, bool is_uniform);
    node_id real_view(const symbol& s);
    node_id integer_view(const symbol& s);
    node_id is_integer(const symbol& s);
    symbol vector_view(const symbol& s);
    symbol converted(const symbol& s, int32_t type);
    std::optional<symbol> select(node_id condition, const symbol& a, const symbol& b);

    // --- instructions
    bool step(opcode op, const value* operands);
    bool binary(opcode op);
    std::optional<symbol> combine(opcode op, const symbol& a, const symbol& b);
    std::optional<symbol> of_vectors(opcode op, const symbol& a, const symbol& b);
    std::optional<symbol> of_vector_and_number(opcode op, const symbol& v, node_id r, bool swapped);
    symbol of_reals(opcode op, node_id a, node_id b);
    symbol of_numbers(opcode op, const symbol& a, const symbol& b);
    symbol negated(const symbol& s);
    node_id dot(const symbol& a, const symbol& b);
    symbol cross(const symbol& a, const symbol& b);
    bool load();
    bool store();
    bool fill();
    bool list_store();
    bool vector_register(opcode op);
    void write(size_t slot, const symbol& s);

    // --- calls
    bool call(uint32_t number, size_t count);
    std::optional<symbol> built_in(std::string_view name, std::span<const symbol> a);
    std::optional<symbol> choose(std::string_view name, std::span<const symbol> a);
    std::optional<symbol> ease(lane_op op, std::span<const symbol> a);
    symbol call_site_symbol(uint32_t number, std::span<const symbol> a);

    // --- the stack
    bool has(size_t count) const { return m_stack.size() >= count; }
    symbol pop() {
        symbol s = m_stack.back();
        m_stack.pop_back();
        return s;
    }
    void push(const symbol& s) { m_stack.push_back(s); }

    const compiled_program& m_program;
    std::vector<symbol> m_stack;
    std::optional<symbol> m_vectors[4];
    std::map<std::pair<lane_op, std::vector<node_id>>, node_id> m_known;
    std::map<std::pair<char, uint32_t>, node_id> m_constants;
    bool m_returned = false;
};

}  // namespace tavuvm_expr
