#include "host/storage/reference_check.h"

#include <algorithm>
#include <unordered_map>

#include <fmt/format.h>

#include "host/scene/node.h"

namespace {

// How deep an entity holds others, once that is known.
constexpr size_t kOpen = 0;

class Walk {
public:
    // Depth first with a stack of its own: rings and depth are what it looks for.
    std::string From(ReferenceTarget& start) {
        Enter(start);
        while (!m_stack.empty()) {
            Place& place = m_stack.back();
            if (place.slot == place.target->NumRefs()) {
                size_t depth = place.depth;
                m_depths[place.target] = depth;
                m_stack.pop_back();
                if (!m_stack.empty()) m_stack.back().Holds(depth);
                continue;
            }
            auto held = place.target->GetReference(place.slot++);
            if (!held || dynamic_cast<INode*>(held.get())) continue;
            auto it = m_depths.find(held.get());
            if (it == m_depths.end())
                Enter(*held);
            else if (it->second == kOpen)
                return fmt::format("an entity of the class \"{}\" holds itself", held->ClassName());
            else
                place.Holds(it->second);
            if (m_stack.size() > kMaxReferenceDepth || m_stack.back().depth > kMaxReferenceDepth)
                return fmt::format("more than {} entities hold each other", kMaxReferenceDepth);
        }
        return {};
    }
    bool IsDone(const ReferenceTarget& target) const { return m_depths.contains(&target); }

private:
    struct Place {
        ReferenceTarget* target;
        int slot = 0;
        size_t depth = 1;

        void Holds(size_t below) { depth = std::max(depth, below + 1); }
    };

    void Enter(ReferenceTarget& target) {
        m_depths[&target] = kOpen;
        m_stack.push_back({&target});
    }

    std::vector<Place> m_stack;
    std::unordered_map<const ReferenceTarget*, size_t> m_depths;
};

}  // namespace

std::string CheckReferences(const std::vector<std::shared_ptr<ReferenceTarget>>& targets) {
    Walk walk;
    for (const auto& target : targets) {
        if (!target || walk.IsDone(*target)) continue;
        if (std::string problem = walk.From(*target); !problem.empty()) return problem;
    }
    return {};
}
