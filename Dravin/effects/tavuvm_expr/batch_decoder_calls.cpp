// Calls: built-in functions as operations over lanes, all others item by item.
#include <utility>

#include "Dravin/effects/tavuvm_expr/batch_decoder.h"

namespace tavuvm_expr {

using shape = lane_value::shape;

namespace {

// Functions of reals that are one operation.
constexpr std::pair<std::string_view, lane_op> plain_functions[] = {
    {"sin", lane_op::sin},
    {"cos", lane_op::cos},
    {"tan", lane_op::tan},
    {"asin", lane_op::asin},
    {"acos", lane_op::acos},
    {"atan", lane_op::atan},
    {"sinh", lane_op::sinh},
    {"cosh", lane_op::cosh},
    {"tanh", lane_op::tanh},
    {"ln", lane_op::ln},
    {"log", lane_op::log},
    {"exp", lane_op::exp},
    {"sqrt", lane_op::sqrt},
    {"abs", lane_op::abs},
    {"ceil", lane_op::ceil},
    {"floor", lane_op::floor},
    {"radtodeg", lane_op::rad_to_deg},
    {"degtorad", lane_op::deg_to_rad},
    {"atan2", lane_op::atan2},
    {"pow", lane_op::pow},
    {"mod", lane_op::fmod},
    {"trunc", lane_op::trunc},
    {"randomreal", lane_op::random_real},
};

std::optional<lane_op> plain_function(std::string_view name) {
    for (const auto& [known, op] : plain_functions)
        if (known == name) return op;
    return std::nullopt;
}

}  // namespace

bool batch_decoder::call(uint32_t number, size_t count) {
    if (number >= m_program.functions->size() || !has(count)) return false;
    const function& f = m_program.functions->at(number);
    if (!f.body || count != f.arguments.size()) return false;
    std::vector<symbol> arguments(m_stack.end() - long(count), m_stack.end());
    m_stack.resize(m_stack.size() - count);
    if (f.is_builtin) {
        auto s = built_in(f.name, arguments);
        if (s) push(*s);
        return s.has_value();
    }
    push(call_site_symbol(number, arguments));
    return true;
}

std::optional<symbol> batch_decoder::built_in(std::string_view name, std::span<const symbol> a) {
    using enum lane_op;
    if (auto op = plain_function(name)) {
        node_id first = real_view(a[0]);
        return real_symbol(a.size() == 1 ? operate(*op, {first})
                                         : operate(*op, {first, real_view(a[1])}));
    }
    if (name == "length" || name == "unit") {
        symbol v = vector_view(a[0]);
        node_id l = operate(sqrt, {dot(v, v)});
        if (name == "length") return real_symbol(l);
        for (node_id& part : v.part) part = operate(unit_part, {part, l});
        return v;
    }
    if (name == "comp") {
        symbol v = vector_view(a[0]);
        return real_symbol(
            operate(component, {v.part[0], v.part[1], v.part[2], integer_view(a[1])}));
    }
    if (name == "dotprod") return real_symbol(dot(vector_view(a[0]), vector_view(a[1])));
    if (name == "crossprod") return cross(vector_view(a[0]), vector_view(a[1]));
    if (name == "round") return integer_symbol(operate(round, {real_view(a[0])}));
    if (name == "randomint")
        return integer_symbol(operate(random_int, {integer_view(a[0]), integer_view(a[1])}));
    if (name == "easein") return ease(ease_in, a);
    if (name == "easeout") return ease(ease_out, a);
    if (name == "easeinout") return ease(ease_in_out, a);
    return choose(name, a);
}

// min, max and if: a copy of one argument, with its kind.
std::optional<symbol> batch_decoder::choose(std::string_view name, std::span<const symbol> a) {
    using enum lane_op;
    if (name == "if") return select(integer_view(a[0]), a[1], a[2]);
    bool min = name == "min";
    if (!min && name != "max") return std::nullopt;
    if (a[0].shape == shape::vector || a[1].shape == shape::vector) return std::nullopt;
    node_id first = real_view(a[0]), second = real_view(a[1]);
    node_id better = operate(min ? min_r : max_r, {first, second});
    if (a[0].shape == shape::real && a[1].shape == shape::real) return real_symbol(better);
    auto s = select(operate(min ? lt_r : gt_r, {second, first}), a[1], a[0]);
    // The choice among reals is one operation.
    if (s->shape == shape::number) s->part[0] = better;
    return s;
}

// Arguments: x, x0, x1, y0, y1, exponent. Outside the interval the ends themselves come back, with
// their kind.
std::optional<symbol> batch_decoder::ease(lane_op op, std::span<const symbol> a) {
    using enum lane_op;
    for (const symbol& s : a)
        if (s.shape == shape::vector) return std::nullopt;
    node_id t = operate(ease_place, {real_view(a[0]), real_view(a[1]), real_view(a[2])});
    symbol eased = real_symbol(operate(op, {t, real_view(a[3]), real_view(a[4]), real_view(a[5])}));
    std::optional<symbol> s = eased;
    if (op != ease_in && a[4].shape != shape::real)
        s = select(operate(ge_r, {t, real(1)}), a[4], *s);
    if (op != ease_out && a[3].shape != shape::real)
        s = select(operate(le_r, {t, real(0)}), a[3], *s);
    // As a real the copies are what the operation gives already.
    if (s->shape == shape::number) s->part[0] = eased.part[0];
    return s;
}

symbol batch_decoder::call_site_symbol(uint32_t number, std::span<const symbol> a) {
    const function& f = m_program.functions->at(number);
    lane_node node;
    node.from = lane_node::source::call;
    node.call = uint32_t(calls.size());
    for (const symbol& s : a)
        for (size_t i = 0; i < s.num_parts(); ++i) node.arguments.push_back(s.part[i]);
    node_id site = add(std::move(node));

    // A host function may return another kind of number than it declares.
    symbol result;
    bool vector = f.result == type_code::vector;
    result.shape = vector ? shape::vector : shape::number;
    for (uint32_t i = 0; i < 3; ++i) {
        lane_node part;
        part.from = lane_node::source::call_part;
        part.kind = vector || i == 0 ? 'r' : 'i';
        part.call = uint32_t(calls.size());
        part.part = i;
        part.arguments = {site};
        result.part[i] = add(std::move(part));
    }
    calls.push_back({number, std::vector<symbol>(a.begin(), a.end()), result});
    return result;
}

}  // namespace tavuvm_expr
