// A tree of boxes over flat shapes, for "which lie on this line" and "which is nearest".
//
// Holds n boxes as a binary tree split at the median of the longer side, leaves of up to four.
// Queries take O(log n + hits) time, allocate nothing and change nothing: threads may share a tree.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/math/box.h"

class TBoxTree {
public:
    TBoxTree() = default;
    // boxes: none empty, copied. Visitors get indices into them.
    explicit TBoxTree(std::span<const Box2> boxes);

    const Box2& Bounds() const { return m_bounds; }

    // visit(i) for every box i that `touches(box)` cannot rule out; boxes around it are asked
    // first.
    template <class Touches, class Visit>
    void ForEach(Touches touches, Visit visit) const {
        if (m_nodes.empty()) return;
        uint32_t stack[kStackSize];
        int depth = 0;
        stack[depth++] = 0;
        while (depth > 0) {
            const Node& node = m_nodes[stack[--depth]];
            if (!touches(node.box)) continue;
            if (node.count == 0) {
                stack[depth++] = node.first;
                stack[depth++] = node.first + 1;
                continue;
            }
            for (uint32_t k = node.first; k < node.first + node.count; ++k) visit(m_order[k]);
        }
    }

    // Calls consider(i, &best) for boxes that may hold something nearer to p than the squared
    // distance `best`, near ones first; consider lowers best. Ends when no box is left.
    template <class Consider>
    void Nearest(Point2 p, float* best, Consider consider) const {
        if (m_nodes.empty()) return;
        uint32_t stack[kStackSize];
        int depth = 0;
        stack[depth++] = 0;
        while (depth > 0) {
            const Node& node = m_nodes[stack[--depth]];
            if (CannotHold(node.box, p, *best)) continue;
            if (node.count == 0) {
                bool leftNearer = DistanceSquared(m_nodes[node.first].box, p) <=
                                  DistanceSquared(m_nodes[node.first + 1].box, p);
                stack[depth++] = leftNearer ? node.first + 1 : node.first;
                stack[depth++] = leftNearer ? node.first : node.first + 1;
                continue;
            }
            for (uint32_t k = node.first; k < node.first + node.count; ++k)
                consider(m_order[k], best);
        }
    }

private:
    // A median split halves its boxes, so 2^32 of them lie at most 33 deep; each level leaves one
    // sibling on the stack.
    static constexpr int kStackSize = 40;

    struct Node {
        Box2 box;
        uint32_t first = 0;  // of the leaf's places in the order, or of the two children
        uint32_t count = 0;  // 0: not a leaf
    };

    static float DistanceSquared(const Box2& box, Point2 p) {
        float dx = std::max({box.min.x - p.x, p.x - box.max.x, 0.0f});
        float dy = std::max({box.min.y - p.y, p.y - box.max.y, 0.0f});
        return dx * dx + dy * dy;
    }
    // The slack covers rounding: what is nearest does not depend on the shape of the tree.
    static bool CannotHold(const Box2& box, Point2 p, float best) {
        return DistanceSquared(box, p) * 0.99999f > best;
    }
    void Split(std::span<const Box2> boxes, uint32_t node, uint32_t first, uint32_t count);

    std::vector<Node> m_nodes;
    std::vector<uint32_t> m_order;
    Box2 m_bounds;
};
