// The front door of the expression language: program text in, compiled program or error text out.
//
//     function_library functions;
//     functions.add_builtins();
//     expr_lang names(functions);
//     compilation result = names.compile("print 2 * 7 / 2;");
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Dravin/effects/tavuvm_expr/compiled_program.h"
#include "Dravin/effects/tavuvm_expr/language.h"

namespace tavuvm_expr {

struct compilation {
    std::shared_ptr<const compiled_program> code;  // null: failed
    // The first error: message with its line, the source line, a caret.
    std::string error;
    std::string message;       // that alone
    int line = 0, column = 0;  // of the caret, from 1; the column counts bytes
};

class expr_lang : public language {
public:
    using language::language;

    // The program refers to the function library, which must outlive it. Const: threads may share
    // a language whose declarations are done.
    compilation compile(std::string_view source) const;
};

}  // namespace tavuvm_expr
