// Which rollouts things have: scatter objects those of rollouts.h, some classes an order of their
// own, all others a rollout a table of values.
//
// Any thread, where the thing is not being changed.
#pragma once

#include <vector>

#include "Dravin/panels/rollouts.h"
#include "host/scene/class_values.h"

// From top to bottom; none for things without values.
std::vector<TRollout> RolloutsOf(ReferenceTarget& thing);
