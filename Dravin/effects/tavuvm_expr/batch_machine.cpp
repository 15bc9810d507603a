#include "Dravin/effects/tavuvm_expr/batch_machine.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace tavuvm_expr {

void batch_machine::run(size_t count, const TNuRandomColumns& randoms, void* host) {
    assert(count <= width);
    std::memset(m_failed, 0, count);
    lane_state state{randoms, m_failed};
    for (const lane_instruction& i : code().code) {
        if (i.op == lane_op::count)
            call_function(code().calls[i.call], count, state, host);
        else
            execute(i, count, state);
    }
    m_any_failed = code().can_fail && std::any_of(m_failed, m_failed + count,
                                                  [](uint8_t failed) { return failed != 0; });
}

// Item by item, each with its own generator where the function draws.
void batch_machine::call_function(const lane_call& c, size_t count, const lane_state& state,
                                  void* host) {
    const function& f = m_functions.at(c.function);
    bool draws = !f.is_pure && !state.randoms.IsEmpty();
    TNuRandom generator;
    for (size_t k = 0; k < count; ++k) {
        if (draws) generator = state.randoms.Get(k);
        if (!call(f, c, k, draws ? &generator : nullptr, host)) m_failed[k] = 1;
        if (draws) state.randoms.Set(k, generator);
    }
}

}  // namespace tavuvm_expr
