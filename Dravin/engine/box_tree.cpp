#include "Dravin/engine/box_tree.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr uint32_t kLeafSize = 4;

Box2 UnionOf(std::span<const Box2> boxes, std::span<const uint32_t> indices) {
    Box2 all;
    for (uint32_t i : indices) all += boxes[i].min, all += boxes[i].max;
    return all;
}

}  // namespace

TBoxTree::TBoxTree(std::span<const Box2> boxes) : m_order(boxes.size()) {
    if (boxes.empty()) return;
    std::iota(m_order.begin(), m_order.end(), 0u);
    m_nodes.reserve(boxes.size());
    m_nodes.emplace_back();
    Split(boxes, 0, 0, uint32_t(boxes.size()));
    m_bounds = m_nodes[0].box;
}

void TBoxTree::Split(std::span<const Box2> boxes, uint32_t node, uint32_t first, uint32_t count) {
    std::span<uint32_t> mine(m_order.data() + first, count);
    Box2 box = UnionOf(boxes, mine);
    m_nodes[node] = {box, first, count};
    if (count <= kLeafSize) return;

    bool wide = box.Width() >= box.Height();
    auto center = [&](uint32_t i) {
        return wide ? boxes[i].min.x + boxes[i].max.x : boxes[i].min.y + boxes[i].max.y;
    };
    uint32_t half = count / 2;
    std::nth_element(mine.begin(), mine.begin() + half, mine.end(), [&](uint32_t a, uint32_t b) {
        float ca = center(a), cb = center(b);
        return ca != cb ? ca < cb : a < b;
    });
    uint32_t left = uint32_t(m_nodes.size());
    m_nodes.resize(left + 2);
    m_nodes[node].first = left;
    m_nodes[node].count = 0;
    Split(boxes, left, first, half);
    Split(boxes, left + 1, first + half, count - half);
}
