#include "host/io/export_colors.h"

#include <algorithm>

#include "host/io/gltf_image.h"
#include "host/math/display_color.h"
#include "host/scene/texmaps.h"

float ToUnit(float f) { return f > 0 ? std::min(f, 1.0f) : 0.0f; }

Color LinearFactor(const Color& c) {
    auto linear = [](float f) { return f >= 1 ? 1 : DisplayToLinear(ToUnit(f)); };
    return {linear(c.r), linear(c.g), linear(c.b)};
}

const Texmap* ImagedMap(const Reference<Texmap>& map) {
    return map && !IsSolid(*map.Get()) ? map.Get() : nullptr;
}

Color BaseFactor(const StandardMtl& material) {
    if (ImagedMap(material.diffuseMap)) return LinearFactor(material.mapFactor);
    auto* noise = dynamic_cast<const NoiseTex*>(material.diffuseMap.Get());
    return noise ? LinearFactor((noise->color1 + noise->color2) * 0.5f) *
                       LinearFactor(material.mapFactor)
                 : LinearFactor(material.diffuse);
}
