#include "host/scene/material.h"

const StandardMtl* MtlOfFace(const Mtl* mtl, int matID) {
    for (int depth = 0; mtl && depth <= kMaxMtlNesting; ++depth) {
        int count = mtl->NumSubMtls();
        if (count == 0) return dynamic_cast<const StandardMtl*>(mtl);
        mtl = mtl->GetSubMtl(matID % count);
    }
    return nullptr;
}
