// What one input file may take in memory once it is decoded.
//
// Files claim sizes in their first bytes, and a small file may claim much. Readers weigh such a
// claim against this limit before they take memory for it. One number for the process: a program
// sets it before it reads anything; reading it is thread safe.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

inline constexpr uint64_t kDefaultInputLimit = uint64_t{1} << 30;
inline constexpr uint64_t kNoInputLimit = std::numeric_limits<uint64_t>::max();

// Bytes; kNoInputLimit for none.
uint64_t InputLimit();
void SetInputLimit(uint64_t bytes);

// Empty where `bytes` are within the limit, else what to tell: what it would take, what is allowed,
// and the program's option that raises the limit.
std::string OverInputLimit(uint64_t bytes);

// A limit of another kind that grows along once the input limit is set above its default, and never
// shrinks.
uint64_t RaisedByInputLimit(uint64_t bytes);
// "--input-limit 2048 allows it", for what needs so many bytes of such a limit.
std::string RaiseInputLimitTo(uint64_t bytes);
