// Copying parts of a scene: which copy stands for which target.
#pragma once

#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

#include "host/params/reference.h"

// Makes copies, each target once. What refers to a target that is copied too, before or after,
// refers to its copy in the end; other references stay as they are, or their targets are copied
// with them: shared entities (nodes, materials, maps) stay, parts (parameter blocks, controllers,
// curves) are copied. One thread.
class CloneMap {
public:
    // The copy of a part: made at the first call. Null for null, and for what cannot be copied.
    template <class T>
    std::shared_ptr<T> CopyPart(const std::shared_ptr<T>& part) {
        return std::static_pointer_cast<T>(Copy(part));
    }
    // Sets a reference to a shared entity: to its copy when all copies are made, if there is one;
    // until then, and otherwise, to the entity itself. set() lives until Finish.
    template <class T, class Set>
    void Refer(const std::shared_ptr<T>& target, Set set) {
        set(target);
        if (!target) return;
        m_later.push_back([this, target, set] {
            if (std::shared_ptr<ReferenceTarget> copy = Find(*target))
                set(std::static_pointer_cast<T>(copy));
        });
    }

    // `copy` stands for `target` from now on.
    void Add(const ReferenceTarget& target, std::shared_ptr<ReferenceTarget> copy) {
        m_copies[&target] = std::move(copy);
    }
    // Null when there is none.
    std::shared_ptr<ReferenceTarget> Find(const ReferenceTarget& target) const;
    // Whenever a target has a copy, references among the copies point at copies.
    void Finish();

private:
    std::shared_ptr<ReferenceTarget> Copy(const std::shared_ptr<ReferenceTarget>& part);

    std::unordered_map<const ReferenceTarget*, std::shared_ptr<ReferenceTarget>> m_copies;
    std::vector<std::function<void()>> m_later;
};
