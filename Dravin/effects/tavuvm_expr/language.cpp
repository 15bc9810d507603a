#include "Dravin/effects/tavuvm_expr/language.h"

#include "Dravin/effects/tavuvm_expr/code_gen.h"
#include "Dravin/effects/tavuvm_expr/parser.h"

namespace tavuvm_expr {

compilation compile(std::string_view source, const environment& names) {
    try {
        ast::statements tree = parser::expr_parser(source).parse();
        code_gen::generator generator(tree, names);
        return {std::make_shared<const program>(generator.generate()), {}};
    } catch (const source_error& error) {
        return {nullptr, error.format(source)};
    }
}

}  // namespace tavuvm_expr
