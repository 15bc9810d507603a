// The machine that runs compiled programs: a stack machine over values of 16 bytes.
//
// A machine holds one program and runs it any number of times; between runs its host reads and
// writes the slots of variables. One machine serves one thread; machines may share a program.
// No code can harm the machine: what it cannot do ends the run with an error code.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include "Dravin/effects/tavuvm_expr/machine_code.h"

namespace tavuvm_expr {

enum class run_error : int {
    none = 0,
    failure = 1,     // a stack that ran out, operands that no operator takes, …
    slot_range = 3,  // a slot beyond the variable area
    register_range = 5,
    call_failed = 7,
    too_many_arguments = 8,
};

class vmachine {
public:
    static constexpr size_t num_general_registers = 5;
    static constexpr size_t num_vector_registers = 4;

    // Where a run starts, and the bases of its variables and of its stack as cells of the stack.
    struct run_frame {
        size_t start = 0;
        size_t frame_base = 0;
        size_t stack_base = 0;
    };

    vmachine() = default;
    explicit vmachine(std::shared_ptr<const compiled_program> p) { load(std::move(p)); }
    // Instructions point at variables: a machine may move, but has no copies.
    vmachine(vmachine&&) = default;
    vmachine& operator=(vmachine&&) = default;

    // Installs a program; its variables take their first values.
    void load(std::shared_ptr<const compiled_program> p);

    // Gives the program's own variables their first values again and clears all modified marks;
    // the host's slots keep their values. Call it before a run.
    void reset();

    // Runs to the end of the code, a return, or an error. random may be null.
    bool run(TNuRandom* random, void* host = nullptr) { return run({}, random, host); }
    bool run(const run_frame& frame, TNuRandom* random, void* host);
    // The same on a thread of its own; the machine is not touched until that has been joined.
    std::jthread start(const run_frame& frame, TNuRandom* random, void* host) {
        return std::jthread([this, frame, random, host] { run(frame, random, host); });
    }

    // --- the host's side of variables; an index beyond the slots sets error 3 and reads 0
    value slot(size_t i);
    void set_slot(size_t i, const value& v);
    bool is_modified(size_t i) const { return i < m_modified.size() && m_modified[i]; }

    void set_register(size_t i, const value& v) { m_general[i % num_general_registers] = v; }
    // What `print` writes goes to the end of this text; null: nowhere.
    void set_output(std::string* output) { m_output = output; }

    // --- of the last run
    // What `return` gave; the integer 0 when the program ended without one.
    const value& result() const { return m_result; }
    run_error error() const { return m_error; }
    size_t error_cell() const { return m_error_cell; }  // the failing instruction
    const std::string& error_text() const { return m_error_text; }

private:
    struct state;
    template <bool Checked>
    bool execute(const machine_code& code, const run_frame& frame, TNuRandom* random, void* host);
    bool fail(run_error error, size_t cell);
    run_error store_list(state& s);
    run_error call(state& s, int32_t number, int32_t count);

    std::shared_ptr<const compiled_program> m_program;
    machine_code m_code;
    std::vector<value> m_stack;  // variables, then the values of the run
    std::vector<uint8_t> m_modified;
    value m_general[num_general_registers];
    value m_vectors[num_vector_registers];
    std::string* m_output = nullptr;
    run_error m_error = run_error::none;
    size_t m_error_cell = 0;
    std::string m_error_text;
    value m_result;
};

}  // namespace tavuvm_expr
