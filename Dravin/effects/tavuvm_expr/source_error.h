// The one error that a program's parsing or compiling ends with, and its text for users.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tavuvm_expr {

// Thrown inside the parser and the compiler only; expr_lang::compile is the door where it is
// caught.
class source_error : public std::runtime_error {
public:
    enum class stage { parse, compile };

    // position: byte offset of the fault in the source; may be its length.
    source_error(stage stage, const std::string& message, size_t position)
        : std::runtime_error(message), m_stage(stage), m_position(position) {}

    // A statement is not closed: such a fault found at the start of a line belongs to the end of
    // the line before it.
    static source_error missing_separator(const std::string& message, size_t position) {
        source_error error(stage::parse, message, position);
        error.m_belongs_before = true;
        return error;
    }

    // Three lines: prefix, message and line number; the source line; a caret under the fault.
    // Every carriage return and every line feed counts as a line.
    std::string format(std::string_view source) const;
    // Where the caret stands, both from 1; the column counts bytes.
    struct place {
        int line = 0, column = 0;
    };
    place place_in(std::string_view source) const;

private:
    size_t position_in(std::string_view source) const;

    stage m_stage;
    size_t m_position;
    bool m_belongs_before = false;
};

}  // namespace tavuvm_expr
