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
void batch_machine::call_function(const lane_call& call, size_t count, const lane_state& state,
                                  void* host) {
    const function& f = m_functions.at(call.function);
    bool draws = !f.is_pure && !state.randoms.IsEmpty();
    TNuRandom generator;
    value arguments[max_arguments], result;
    for (size_t k = 0; k < count; ++k) {
        for (size_t i = 0; i < call.arguments.size(); ++i) arguments[i] = get(call.arguments[i], k);
        if (draws) generator = state.randoms.Get(k);
        result = 0;
        call_context context{draws ? &generator : nullptr, host, nullptr};
        if (!f.body(context, {arguments, call.arguments.size()}, &result)) m_failed[k] = 1;
        if (draws) state.randoms.Set(k, generator);
        set_result(call.result, result, k);
    }
}

}  // namespace tavuvm_expr
