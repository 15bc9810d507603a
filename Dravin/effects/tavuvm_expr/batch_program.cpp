#include "Dravin/effects/tavuvm_expr/batch_program.h"

#include <algorithm>

#include "Dravin/effects/tavuvm_expr/batch_decoder.h"

namespace tavuvm_expr {

namespace {

using source = lane_node::source;

// Lays the nodes of a decoded program out as instructions over registers.
class batch_layout {
public:
    batch_layout(const compiled_program& p, batch_decoder& decoder) : m_program(p), m_d(decoder) {}

    std::shared_ptr<const batch_program> make() {
        mark_used();
        count_uses();
        fuse();
        mark_used();
        find_last_uses();
        for (node_id id = 0; id < m_d.nodes.size(); ++id)
            if (m_used[id]) lay(id);
        bind_outputs();
        m_out.num_registers = uint32_t(m_out.is_uniform.size());
        return std::make_shared<const batch_program>(std::move(m_out));
    }

private:
    template <class F>
    void for_each_output(const F& visit) {
        for (size_t slot = 0; slot < m_program.num_host_slots; ++slot)
            if (m_d.is_modified[slot] && !m_program.is_constant[slot]) visit(m_d.slots[slot]);
        if (m_d.result) visit(*m_d.result);
    }

    // Used: what outputs, draws and calls depend on.
    void mark_used() {
        m_used.assign(m_d.nodes.size(), 0);
        for_each_output([&](const symbol& s) {
            for (size_t i = 0; i < s.num_parts(); ++i) m_used[s.part[i]] = 1;
        });
        for (size_t id = m_d.nodes.size(); id-- > 0;) {
            const lane_node& node = m_d.nodes[id];
            if (node.must_run()) m_used[id] = 1;
            if (!m_used[id]) continue;
            for (node_id a : node.arguments) m_used[a] = 1;
        }
    }

    void count_uses() {
        m_uses.assign(m_d.nodes.size(), 0);
        for_each_output([&](const symbol& s) {
            for (size_t i = 0; i < s.num_parts(); ++i) ++m_uses[s.part[i]];
        });
        for (size_t id = 0; id < m_d.nodes.size(); ++id)
            if (m_used[id])
                for (node_id a : m_d.nodes[id].arguments) ++m_uses[a];
    }

    // A product that only one sum reads becomes part of it: one pass over the lanes less. Product
    // and sum are rounded one after the other as before.
    void fuse() {
        auto fusible = [&](node_id id) {
            const lane_node& n = m_d.nodes[id];
            return n.from == source::operation && n.op == lane_op::mul_r && !n.is_uniform &&
                   m_uses[id] == 1;
        };
        for (size_t id = 0; id < m_d.nodes.size(); ++id) {
            lane_node& n = m_d.nodes[id];
            if (!m_used[id] || n.from != source::operation || n.is_uniform) continue;
            if (n.op != lane_op::add_r && n.op != lane_op::sub_r) continue;
            node_id a = n.arguments[0], b = n.arguments[1];
            bool sum = n.op == lane_op::add_r;
            if (fusible(a)) {
                const std::vector<node_id>& m = m_d.nodes[a].arguments;
                n.arguments = {m[0], m[1], b};
                n.op = sum ? lane_op::mul_add_r : lane_op::mul_sub_r;
            } else if (fusible(b)) {
                const std::vector<node_id>& m = m_d.nodes[b].arguments;
                n.arguments = sum ? std::vector{m[0], m[1], a} : std::vector{a, m[0], m[1]};
                n.op = sum ? lane_op::mul_add_r : lane_op::sub_mul_r;
            }
        }
    }

    // Lanes are used again once nobody reads them any more; small programs stay in the cache.
    void find_last_uses() {
        m_last_use.assign(m_d.nodes.size(), 0);
        for (size_t id = 0; id < m_d.nodes.size(); ++id) {
            if (!m_used[id]) continue;
            m_last_use[id] = std::max(m_last_use[id], id);
            for (node_id a : m_d.nodes[id].arguments) m_last_use[a] = id;
        }
        for_each_output([&](const symbol& s) {
            for (size_t i = 0; i < s.num_parts(); ++i) m_last_use[s.part[i]] = m_d.nodes.size();
        });
        m_register.assign(m_d.nodes.size(), no_register);
    }

    lane_register new_register(bool uniform) {
        m_out.is_uniform.push_back(uniform);
        return lane_register(m_out.is_uniform.size() - 1);
    }

    void lay(node_id id) {
        const lane_node& node = m_d.nodes[id];
        switch (node.from) {
            case source::constant:
                m_register[id] = new_register(true);
                m_out.constants.push_back({m_register[id], node.number});
                return;
            case source::input:
            case source::uniform_input:
                return lay_input(id);
            case source::call:
                return lay_call(id);
            case source::call_part:
                return;  // with its call
            case source::operation:
                break;
        }
        lane_instruction instruction;
        instruction.op = node.op;
        instruction.first_argument = uint32_t(m_out.arguments.size());
        instruction.num_arguments = uint32_t(node.arguments.size());
        for (node_id a : node.arguments) m_out.arguments.push_back(m_register[a]);
        m_out.can_fail |= node.op == lane_op::round || node.op == lane_op::trunc;
        m_out.draws |= node.op == lane_op::random_real || node.op == lane_op::random_int;
        release(id);
        instruction.result = m_register[id] =
            node.is_uniform ? new_register(true) : take_lane(node.kind);
        (node.is_uniform ? m_out.uniform_code : m_out.code).push_back(instruction);
        if (m_last_use[id] == id && !node.is_uniform) give(id);
    }

    // The arguments that node `id` is the last to read give their lanes back.
    void release(node_id id) {
        const lane_node& node = m_d.nodes[id];
        std::vector<node_id> seen;
        for (node_id a : node.arguments) {
            const lane_node& argument = m_d.nodes[a];
            bool owned = argument.from == source::operation || argument.from == source::call_part;
            if (!owned || argument.is_uniform || m_last_use[a] != id) continue;
            if (std::find(seen.begin(), seen.end(), a) != seen.end()) continue;
            seen.push_back(a);
            give(a);
        }
    }

    // A lane holds numbers of one kind all its life.
    std::vector<lane_register>& free_lanes(char kind) {
        return kind == 'i' ? m_free_integers : m_free_reals;
    }
    void give(node_id id) { free_lanes(m_d.nodes[id].kind).push_back(m_register[id]); }
    lane_register take_lane(char kind) {
        std::vector<lane_register>& free = free_lanes(kind);
        if (free.empty()) return new_register(false);
        lane_register lane = free.back();
        free.pop_back();
        return lane;
    }

    void lay_input(node_id id) {
        const lane_node& node = m_d.nodes[id];
        bool uniform = node.from == source::uniform_input;
        std::vector<batch_program::binding>& list = uniform ? m_out.uniforms : m_out.inputs;
        auto it = std::find_if(list.begin(), list.end(),
                               [&](const auto& b) { return b.slot == node.slot; });
        if (it == list.end()) {
            batch_program::binding b;
            b.slot = node.slot;
            const value& typical = m_program.initial[node.slot];
            b.value.kind = typical.is_integer() ? lane_value::shape::integer
                           : typical.is_real()  ? lane_value::shape::real
                                                : lane_value::shape::vector;
            it = list.insert(list.end(), b);
        }
        it->value.part[node.part] = m_register[id] = new_register(uniform);
    }

    lane_value registers(const symbol& s) const {
        lane_value v;
        v.kind = s.shape;
        for (size_t i = 0; i < s.num_parts(); ++i) v.part[i] = m_register[s.part[i]];
        return v;
    }

    void lay_call(node_id id) {
        const batch_decoder::call_site& site = m_d.calls[m_d.nodes[id].call];
        const function& f = m_program.functions->at(site.function);
        lane_call call;
        call.function = site.function;
        for (const symbol& s : site.arguments) call.arguments.push_back(registers(s));
        for (size_t i = 0; i < site.result.num_parts(); ++i)
            m_register[site.result.part[i]] = take_lane(m_d.nodes[site.result.part[i]].kind);
        call.result = registers(site.result);
        release(id);
        for (size_t i = 0; i < site.result.num_parts(); ++i)
            if (!m_used[site.result.part[i]]) give(site.result.part[i]);
        m_out.can_fail = true;  // functions of the host may end a run as they like
        m_out.draws |= !f.is_pure;
        lane_instruction instruction;
        instruction.call = uint32_t(m_out.calls.size());
        m_out.calls.push_back(std::move(call));
        m_out.code.push_back(instruction);
    }

    void bind_outputs() {
        for (size_t slot = 0; slot < m_program.num_host_slots; ++slot)
            if (m_d.is_modified[slot] && !m_program.is_constant[slot])
                m_out.outputs.push_back({slot, registers(m_d.slots[slot])});
        m_out.returns = m_d.result.has_value();
        if (m_d.result) m_out.result = registers(*m_d.result);
    }

    const compiled_program& m_program;
    batch_decoder& m_d;
    batch_program m_out;
    std::vector<uint8_t> m_used;
    std::vector<uint32_t> m_uses;
    std::vector<size_t> m_last_use;
    std::vector<lane_register> m_register;
    std::vector<lane_register> m_free_reals, m_free_integers;
};

}  // namespace

std::shared_ptr<const batch_program> batch_program::make(const compiled_program& p,
                                                         const std::vector<uint8_t>& varying) {
    batch_decoder decoder(p, varying);
    if (!decoder.decode()) return nullptr;
    auto made = batch_layout(p, decoder).make();
    return made->num_registers <= max_registers ? made : nullptr;
}

}  // namespace tavuvm_expr
