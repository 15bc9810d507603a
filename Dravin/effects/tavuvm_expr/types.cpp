#include "Dravin/effects/tavuvm_expr/types.h"

namespace tavuvm_expr {

std::string_view type_name(type_code type) {
    switch (type) {
        case type_code::none:
            return "None";
        case type_code::integer:
            return "Integer";
        case type_code::real:
            return "Real";
        case type_code::vector:
            return "Vector";
        case type_code::boolean:
            return "Boolean";
        case type_code::texmap:
            return "Texmap";
        case type_code::curve:
            return "Curve";
        case type_code::any:
            return "<any>";
    }
    return "<unknown>";
}

}  // namespace tavuvm_expr
