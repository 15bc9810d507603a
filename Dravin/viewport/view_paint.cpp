#include "Dravin/viewport/view_paint.h"

#include <algorithm>

TViewPaint PaintOf(const StandardMtl* material) {
    TViewPaint paint;
    if (!material) return paint;
    paint.color = material->diffuse;
    paint.opacity = std::clamp(material->opacity.Get(), 0.f, 1.f);
    paint.isWire = material->wireframe;
    paint.showsMap = material->viewportMaps != ViewportMaps::kNone;
    paint.usesVertexColors = material->vertexColors;
    paint.texture = TextureOf(*material);
    paint.meanColor = paint.color;
    if (paint.texture && paint.texture->color.image) paint.meanColor = MeanColor(*paint.texture);
    if (paint.showsMap) paint.color = paint.meanColor;
    return paint;
}

std::vector<TViewPaint> PaintsOf(Mtl* material, size_t numIds) {
    std::vector<TViewPaint> paints;
    for (size_t id = 0; id < std::max<size_t>(numIds, 1); ++id)
        paints.push_back(PaintOf(StandardMtlOfFace(material, int(id))));
    return paints;
}
