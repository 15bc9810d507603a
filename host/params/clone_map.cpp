#include "host/params/clone_map.h"

#include <utility>

std::shared_ptr<ReferenceTarget> CloneMap::Find(const ReferenceTarget& target) const {
    auto it = m_copies.find(&target);
    return it == m_copies.end() ? nullptr : it->second;
}

std::shared_ptr<ReferenceTarget> CloneMap::Copy(const std::shared_ptr<ReferenceTarget>& part) {
    if (!part) return nullptr;
    if (std::shared_ptr<ReferenceTarget> copy = Find(*part)) return copy;
    std::shared_ptr<ReferenceTarget> copy = part->Clone(*this);
    if (copy) Add(*part, copy);
    return copy;
}

void CloneMap::Finish() {
    for (const auto& refer : std::exchange(m_later, {})) refer();
}
