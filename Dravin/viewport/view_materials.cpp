#include "Dravin/viewport/view_materials.h"

void TViewMaterials::Prepare(Mtl* material) {
    if (!material) return;
    for (Mtl* each : WithSubMtls(*material))
        if (m_prepared.insert(each).second) each->Update(m_time, nullptr);
}

std::shared_ptr<Mtl> TViewMaterials::CopyOf(Mtl* material) {
    if (!material) return nullptr;
    Copy(*material);
    return std::dynamic_pointer_cast<Mtl>(m_copies.Find(*material));
}

// Materials and maps; other things that they refer to stay shared.
void TViewMaterials::Copy(ReferenceTarget& target) {
    if (m_copies.Find(target)) return;
    std::shared_ptr<ReferenceTarget> copy = target.Clone(m_copies);
    if (!copy) return;
    m_copies.Add(target, copy);
    for (int i = 0; i < target.NumRefs(); ++i) {
        std::shared_ptr<ReferenceTarget> below = target.GetReference(i);
        bool isShading = dynamic_cast<Mtl*>(below.get()) || dynamic_cast<Texmap*>(below.get());
        if (isShading) Copy(*below);
    }
}
