// Whether entities of a file hold each other in a ring, or too deep, which those who walk through
// them would not survive.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/params/reference.h"

// The most entities that may hold each other one inside the next, nodes not counted.
inline constexpr size_t kMaxReferenceDepth = 256;

// What is wrong, or empty. Nodes may refer to each other as they like.
std::string CheckReferences(const std::vector<std::shared_ptr<ReferenceTarget>>& targets);
