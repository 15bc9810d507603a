#include "Dravin/effects/tavuvm_expr/source_error.h"

#include <algorithm>

#include <fmt/format.h>

namespace tavuvm_expr {

namespace {

bool is_line_break(char c) { return c == '\r' || c == '\n'; }

}  // namespace

size_t source_error::position_in(std::string_view source) const {
    size_t position = std::min(m_position, source.size());
    if (m_belongs_before && position > 0 && is_line_break(source[position - 1])) --position;
    return position;
}

source_error::place source_error::place_in(std::string_view source) const {
    size_t position = position_in(source), begin = position;
    while (begin > 0 && !is_line_break(source[begin - 1])) --begin;
    auto line = 1 + std::count_if(source.begin(), source.begin() + long(position), is_line_break);
    return {int(line), int(position - begin) + 1};
}

std::string source_error::format(std::string_view source) const {
    place at = place_in(source);
    size_t begin = position_in(source) - size_t(at.column - 1), end = position_in(source);
    while (end < source.size() && !is_line_break(source[end])) ++end;
    return fmt::format("{} error. {} at line {}:\n{}\n{}^\n",
                       m_stage == stage::parse ? "Parse" : "Compile", what(), at.line,
                       source.substr(begin, end - begin), std::string(size_t(at.column - 1), ' '));
}

}  // namespace tavuvm_expr
