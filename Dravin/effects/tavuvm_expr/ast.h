// The tree of a program.
//
// Nodes live in one array of the tree and refer to each other by index, so a tree of any depth is
// built, walked and dropped without recursion of its own. Children of a node stand in order behind
// each other in `links`.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Dravin/effects/tavuvm_expr/tokens.h"

namespace tavuvm_expr::ast {

// Bytes of the source that a node came from.
struct source_range {
    size_t first = 0, last = 0;
};

enum class expression_kind : uint8_t {
    nil,
    int_number,
    real_number,
    boolean,
    string,
    cpuid,  // a constant or variable by its number; never made by the parser
    identifier,
    identifier_array,      // one child, the index; none: empty brackets of a declaration
    identifier_component,  // a.b[i].c: the children are identifiers and indexed identifiers
    identifier_reference,
    vector,    // three children
    function,  // its arguments
    unary,
    binary,
    expression_list,
};

using node_index = uint32_t;
inline constexpr node_index no_node = ~0u;

struct expression {
    expression_kind kind = expression_kind::nil;
    token_type op = token_type::invalid;  // of unary and binary
    source_range range;
    int32_t integer = 0;  // int_number, boolean, cpuid
    float real = 0;
    uint32_t name = 0;                           // index into the tree's texts: names and strings
    uint32_t first_child = 0, num_children = 0;  // in the tree's links
};

// Order and numbers are part of the language's form.
enum class statement_kind : uint8_t {
    nil,
    return_statement,
    print_statement,
    assignment,
    variable_declarations,
    function_call,
};

// Type codes of declarations.
enum class declared_type : uint8_t { character = 0, integer = 1, real = 2, vector = 3 };

struct simple_variable_declaration {
    declared_type type = declared_type::integer;
    uint32_t name = 0;
    source_range range;
    bool is_array = false;
    int32_t array_size = 1;
    node_index initialiser = no_node;
};

struct statement {
    statement_kind kind = statement_kind::nil;
    source_range range;
    node_index target = no_node;  // of an assignment
    node_index value = no_node;   // assigned, returned or printed; the call of a function call
    uint32_t first_declaration = 0, num_declarations = 0;
};

// The ordered list that is the program, with the nodes of its expressions.
struct statements {
    std::vector<statement> list;
    std::vector<simple_variable_declaration> declarations;
    std::vector<expression> nodes;
    std::vector<node_index> links;
    std::vector<std::string> texts;

    const expression& node(node_index i) const { return nodes[i]; }
    const std::string& text(uint32_t i) const { return texts[i]; }
    std::span<const node_index> children(const expression& e) const {
        return std::span(links).subspan(e.first_child, e.num_children);
    }
    std::span<const node_index> children(node_index i) const { return children(nodes[i]); }

    node_index add(expression e, std::span<const node_index> child_nodes = {}) {
        e.first_child = uint32_t(links.size());
        e.num_children = uint32_t(child_nodes.size());
        links.insert(links.end(), child_nodes.begin(), child_nodes.end());
        nodes.push_back(e);
        return node_index(nodes.size() - 1);
    }
    uint32_t add_text(std::string text) {
        texts.push_back(std::move(text));
        return uint32_t(texts.size() - 1);
    }
};

}  // namespace tavuvm_expr::ast
