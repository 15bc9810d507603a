// What a scatter object is made of: its data, its build, and what it is for renderers. Neither the
// data nor the build knows of renderers.
#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/render/render_state.h"
#include "Dravin/render/trees_interface.h"
#include "Dravin/render/ui_interface.h"

TDravin::TDravin() {
    for (const ParamBlockDesc2& desc : DravinBlocks()) {
        m_blocks.emplace_back(this);
        m_blocks.back() = IParamBlock2::Create(desc, this);
    }
    for (int slot = 0; slot < kNumDravinSlots; ++slot) m_slots.emplace_back(this);
    CreateCurveSets();
    m_build = std::make_unique<TDravinBuild>(*this);
    m_render = std::make_unique<TRenderState>(*this);
}

TDravin::~TDravin() = default;

FPInterface* TDravin::GetInterface(InterfaceId id) {
    if (id == ITreesInterface::kId) return &m_render->Trees();
    return id == IUInterface::kId ? &m_render->Ui() : nullptr;
}

Interval TDravin::ObjectValidity(TimeValue t) const {
    if (m_meshValidity.Contains(t)) return m_meshValidity;
    if (IsFrozen(t) && !updateState.updateOnce) return Interval::Forever();
    Interval valid = m_build->Validity();
    bool holds = valid.Contains(t) && !m_render->IsLeftBehind();
    return holds ? valid : Interval::Instant(t);
}
