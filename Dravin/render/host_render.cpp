#include "Dravin/render/host_render.h"

#include "Dravin/build/mesh_source.h"
#include "Dravin/dravin.h"
#include "Dravin/render/pack_interface.h"
#include "Dravin/render/render_node_source.h"
#include "Dravin/render/trees_interface.h"
#include "host/base/memory_size.h"

TBuildStatus THostRender::Begin(TimeValue t) {
    constexpr uint32_t kDrawsTemplates = 1;
    uint32_t features[3] = {TDravinInstanceV512::kVersion, kDrawsTemplates, 0};
    TDravinPackInterface::Current().setEngineFeatures(features);
    TreesOf(*m_object)->IDravinRenderBegin(t);
    m_hasBegun = true;
    return m_object->Build().Status();
}

std::vector<std::unique_ptr<IInstanceSource>> THostRender::TakeSources() {
    TDravinBuild& build = m_object->Build();
    std::vector<std::unique_ptr<IInstanceSource>> sources;
    if (build.ObjectMesh().IsBuilt())
        sources.push_back(std::make_unique<TDravinMeshSource>(*m_object, build));
    auto nodes = std::make_unique<TRenderNodeSource>(
        *m_object, build.Flags().unprotected ? UINT64_MAX : FreeMemory());
    if (nodes->NumInstances() > 0 || !nodes->Refusal().empty()) sources.push_back(std::move(nodes));
    return sources;
}

THostRender::~THostRender() {
    if (m_object && m_hasBegun) TreesOf(*m_object)->IDravinRenderEnd(m_object->Build().Time());
}
