#include "Dravin/effects/tavuvm_expr/source_error.h"

#include <algorithm>

#include <fmt/format.h>

namespace tavuvm_expr {

namespace {

bool is_line_break(char c) { return c == '\r' || c == '\n'; }

}  // namespace

std::string source_error::format(std::string_view source) const {
    size_t position = std::min(m_position, source.size());
    if (m_belongs_before && position > 0 && is_line_break(source[position - 1])) --position;

    size_t begin = position, end = position;
    while (begin > 0 && !is_line_break(source[begin - 1])) --begin;
    while (end < source.size() && !is_line_break(source[end])) ++end;
    auto line = 1 + std::count_if(source.begin(), source.begin() + long(position), is_line_break);

    return fmt::format("{} error. {} at line {}:\n{}\n{}^\n",
                       m_stage == stage::parse ? "Parse" : "Compile", what(), line,
                       source.substr(begin, end - begin), std::string(position - begin, ' '));
}

}  // namespace tavuvm_expr
