#include "Dravin/shadow/xshadow.h"

#include "Dravin/shadow/xshadow_generator.h"
#include "host/params/clone_map.h"

const ParamBlockDesc2& XShadowBlock() {
#define PARAM(symbol, id, name, type, ...) ParamDef(id, name, ParamType::k##type) __VA_ARGS__,
    using namespace xshadowParams;
    static const ParamBlockDesc2 block{0,
                                       "params",
                                       "Parameters",
                                       0,
                                       true,
                                       {
#include "Dravin/shadow/xshadow_params.inc"
                                       }};
#undef PARAM
    return block;
}

XShadow::XShadow() { m_block = IParamBlock2::Create(XShadowBlock(), this); }

std::unique_ptr<ShadowGenerator> XShadow::CreateShadowGenerator(const LightObject* light,
                                                                const LightDesc& about,
                                                                uint32_t flags) {
    return std::make_unique<XShadowGen>(*this, m_inner->CreateShadowGenerator(light, about, flags),
                                        light, about);
}

int XShadow::MapSize(TimeValue t) const { return Block().GetInt(xshadowParams::kSize, t); }

std::shared_ptr<ReferenceTarget> XShadow::GetReference(int slot) const {
    if (slot == 0) return m_block.Share();
    return slot == 1 ? std::static_pointer_cast<ReferenceTarget>(m_map.Share()) : nullptr;
}

void XShadow::SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {
    if (slot == 1) m_map = std::dynamic_pointer_cast<Texmap>(target);
}

std::string XShadow::SubAnimName(int i) const {
    return i == 0 ? "Parameters" : i == 1 ? "Map" : "";
}

std::shared_ptr<ReferenceTarget> XShadow::Clone(CloneMap& map) const {
    auto copy = std::make_shared<XShadow>();
    copy->m_block = m_block->CloneFor(copy.get(), map);
    map.Add(*m_block.Get(), copy->m_block.Share());
    map.Refer(m_map.Share(), [copy](auto custom) { copy->m_map = std::move(custom); });
    return copy;
}
