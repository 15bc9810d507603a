#include "host/base/input_limit.h"

#include <algorithm>
#include <atomic>

#include <fmt/format.h>

namespace {

std::atomic<uint64_t> s_limit{kDefaultInputLimit};

constexpr uint64_t kMebibyte = 1 << 20;

// Rounded up without an overflow.
uint64_t Mebibytes(uint64_t bytes) { return bytes / kMebibyte + (bytes % kMebibyte != 0); }

}  // namespace

uint64_t InputLimit() { return s_limit; }

void SetInputLimit(uint64_t bytes) { s_limit = bytes; }

std::string OverInputLimit(uint64_t bytes) {
    uint64_t limit = InputLimit();
    if (bytes <= limit) return {};
    return fmt::format("would take {} MiB of memory, one input may take {}; {}", Mebibytes(bytes),
                       limit / kMebibyte, RaiseInputLimitTo(bytes));
}

uint64_t RaisedByInputLimit(uint64_t bytes) {
    uint64_t limit = InputLimit();
    return limit > kDefaultInputLimit ? std::max(bytes, limit) : bytes;
}

std::string RaiseInputLimitTo(uint64_t bytes) {
    return fmt::format("--input-limit {} allows it", Mebibytes(bytes));
}
