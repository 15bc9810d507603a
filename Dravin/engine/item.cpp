#include "Dravin/engine/item.h"

#include <cmath>

namespace {

constexpr float kSmallestTint = 0.0001f;

}  // namespace

void TDravinItem::Reset() {
    Point3 tangent = pathTangent;
    IItemRenderNode* node = m_renderNode;
    *this = TDravinItem{};
    pathTangent = tangent;
    m_renderNode = node;
}

IItemRenderNode* TDravinItem::AttachRenderNode(IItemRenderNodes& nodes) {
    m_renderNode = nodes.FindRenderNode(*this);
    bool tinted =
        std::abs(nodes.TintMin()) >= kSmallestTint || std::abs(nodes.TintMax()) >= kSmallestTint;
    tintFlag = m_renderNode && m_renderNode->AllowsTint() && tinted;
    return m_renderNode;
}

bool TDravinItem::Tint(Color* color, float* blend) const {
    if (!tintFlag) return false;
    *color = tintColor;
    *blend = tintBlend;
    return true;
}
