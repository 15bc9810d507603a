// Where the keys of nodes stand.
#pragma once

#include <vector>

#include "host/math/interval.h"

class INode;

// The times of all keys of the node's place, visibility and object, its parameters included, each
// once, in rising order. Keys of materials and maps are not the node's.
std::vector<TimeValue> KeyTimesOf(const INode& node);
