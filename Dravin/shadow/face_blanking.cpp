#include "Dravin/shadow/face_blanking.h"

#include <algorithm>

#include "Dravin/build/dravin_build.h"
#include "Dravin/mesh/shadow_planes.h"

TFaceBlanking::TFaceBlanking(TDravin& object, Mesh& mesh, TimeValue t) : m_mesh(mesh) {
    const TDravinBuild& build = object.Build();
    const TObjectMesh& shown = build.ObjectMesh();
    bool isAny = object.Block(kShadowParams).GetBool(shadowParams::kCustshadow, t);
    m_items.resize(build.Items().Count());
    TDravinItem item;
    for (size_t i = 0; i < m_items.size() && i < shown.Ranges().size(); ++i) {
        const TItemRange& range = shown.Ranges()[i];
        build.Items().ReadStored(i, &item, 0);
        if (item.discarded || !range.IsMeshed()) continue;
        const TSpecBuildNode* node = build.Specimens().NodeOf(item);
        if (!node || !node->source || !(isAny || IsTemplateNode(*node->source))) continue;
        if (m_backup.empty()) m_backup = m_mesh.faces;
        size_t planes = size_t(item.verticalShadow != 0) + size_t(item.horizontalShadow != 0);
        size_t count = shown.Shapes()[range.shape].mesh->faces.size() + planes * kPlaneFaces;
        std::fill_n(m_mesh.faces.begin() + range.firstFace, count, Face{{}, 0, 0, 0});
        m_items[i] = true;
    }
}

void TFaceBlanking::Restore() {
    if (!m_backup.empty()) std::copy(m_backup.begin(), m_backup.end(), m_mesh.faces.begin());
    m_backup = {};
}
