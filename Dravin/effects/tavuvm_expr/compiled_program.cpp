#include "Dravin/effects/tavuvm_expr/compiled_program.h"

#include <algorithm>

#include <fmt/format.h>

namespace tavuvm_expr {

size_t stack_bound(const std::vector<value>& code) {
    int64_t depth = 0, highest = 0;
    for (size_t cell = 0; cell < code.size();) {
        opcode_info info = info_of(code[cell].to_integer());
        depth = std::max<int64_t>(depth - info.pops, 0) + info.pushes;
        highest = std::max(highest, depth);
        cell += 1 + size_t(info.operands);
    }
    return size_t(highest);
}

std::string disassembled(const compiled_program& p) {
    std::string text;
    for (size_t cell = 0; cell < p.code.size();) {
        int32_t code = p.code[cell].to_integer();
        opcode_info info = info_of(code);
        text += fmt::format("{} {}", cell, info.name ? info.name : "no_operation");
        for (int i = 1; i <= info.operands && cell + size_t(i) < p.code.size(); ++i)
            text += fmt::format(" {}", p.code[cell + size_t(i)].text());
        text += '\n';
        cell += 1 + size_t(info.operands);
    }
    return text;
}

}  // namespace tavuvm_expr
