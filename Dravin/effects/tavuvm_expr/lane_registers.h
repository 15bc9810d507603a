// Memory of a running batch program: a lane of numbers for every register.
//
// What is the same for all items is worked out once a binding and held as one number. The lanes of
// inputs are memory of the caller's (a column, bound before a run) or the registers' own, which the
// caller fills.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

#include "Dravin/effects/tavuvm_expr/batch_program.h"

namespace tavuvm_expr {

class lane_registers {
public:
    // width: items that a lane holds.
    lane_registers(std::shared_ptr<const batch_program> p, size_t width);

    const batch_program& code() const { return *m_program; }

    // Gives the slots that are the same for all items their values: slots[i] of slot i.
    void bind(std::span<const value> slots);

    // --- lanes of an input, before a run
    // Numbers of the caller's, which must stay until the run is over; they are not changed.
    void bind_lane(lane_register r, const void* column) {
        m_lane[r] = static_cast<std::byte*>(const_cast<void*>(column));
    }
    // The register's own lane, to be filled.
    void* own_lane(lane_register r) { return m_lane[r] = m_memory.get() + m_offset[r]; }
    float* real_lane(lane_register r) { return static_cast<float*>(own_lane(r)); }
    int32_t* integer_lane(lane_register r) { return static_cast<int32_t*>(own_lane(r)); }

    // --- results of item k
    float real(lane_register r, size_t k) const { return at<float>(r)[is_uniform(r) ? 0 : k]; }
    int32_t integer(lane_register r, size_t k) const {
        return at<int32_t>(r)[is_uniform(r) ? 0 : k];
    }
    value get(const lane_value& v, size_t k) const;
    // The whole lane, for copying out: item k stands at data + k * stride numbers.
    lane_operand view(lane_register r) const { return {m_lane[r], is_uniform(r) ? 0u : 1u}; }

protected:
    void execute(const lane_instruction& instruction, size_t count, const lane_state& state);
    // Calls a function for item k; false when it fails.
    bool call(const function& f, const lane_call& c, size_t k, TNuRandom* random, void* host);

    // Where a register's own lane begins, in numbers from the first of all.
    size_t position(lane_register r) const { return m_offset[r] / sizeof(float); }
    std::byte* memory() { return m_memory.get(); }

private:
    template <class T>
    const T* at(lane_register r) const {
        return reinterpret_cast<const T*>(m_lane[r]);
    }
    bool is_uniform(lane_register r) const { return m_program->is_uniform[r]; }
    void set_part(lane_register r, const value& number);
    void set_result(const lane_value& to, const value& result, size_t k);

    struct free_memory {
        void operator()(std::byte* p) const;
    };

    std::shared_ptr<const batch_program> m_program;
    std::vector<size_t> m_offset;
    std::unique_ptr<std::byte[], free_memory> m_memory;
    std::vector<std::byte*> m_lane;
};

}  // namespace tavuvm_expr
