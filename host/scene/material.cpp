#include "host/scene/material.h"

const StandardMtl* MtlOfFace(const Mtl* mtl, int matID) {
    constexpr int kMaxNesting = 16;  // deeper is a ring of multi-materials
    for (int depth = 0; mtl && depth < kMaxNesting; ++depth) {
        int count = mtl->NumSubMtls();
        if (count == 0) return dynamic_cast<const StandardMtl*>(mtl);
        mtl = mtl->GetSubMtl(matID % count);
    }
    return nullptr;
}
