#include "Dravin/effects/tavuvm_expr/expr_lang.h"

#include "Dravin/effects/tavuvm_expr/code_gen.h"
#include "Dravin/effects/tavuvm_expr/parser.h"

namespace tavuvm_expr {

compilation expr_lang::compile(std::string_view source) const {
    try {
        ast::statements tree = parser::expr_parser(source).parse();
        code_gen::program program(tree, *this);
        return {std::make_shared<const compiled_program>(program.generate()), {}, {}};
    } catch (const source_error& error) {
        source_error::place at = error.place_in(source);
        return {nullptr, error.format(source), error.what(), at.line, at.column};
    }
}

}  // namespace tavuvm_expr
