// All that an entity refers to, through whatever is between.
#pragma once

#include <set>

#include "host/params/reference.h"

// Adds the target and everything below it to `all`; what is there already is not gone into again.
inline void CollectReachable(ReferenceTarget& target, std::set<const ReferenceTarget*>& all) {
    if (!all.insert(&target).second) return;
    for (int slot = 0; slot < target.NumRefs(); ++slot)
        if (std::shared_ptr<ReferenceTarget> held = target.GetReference(slot))
            CollectReachable(*held, all);
}
