// The front door of the expression language: program text in, program or error text out.
//
//     function_library functions;
//     functions.add_builtins();
//     environment names(functions);
//     compilation result = compile("print 2 * 7 / 2;", names);
//
// Thread safe: nothing is shared but the borrowed environment, which is only read.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Dravin/effects/tavuvm_expr/environment.h"
#include "Dravin/effects/tavuvm_expr/program.h"

namespace tavuvm_expr {

struct compilation {
    std::shared_ptr<const program> code;  // null: failed
    // The first error: message with its line, the source line, a caret.
    std::string error;
};

// The program refers to the environment's functions, which must outlive it.
compilation compile(std::string_view source, const environment& names);

}  // namespace tavuvm_expr
