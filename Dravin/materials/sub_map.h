// A map behind another one.
#pragma once

#include "host/math/display_color.h"
#include "host/scene/texmaps.h"

class SubMap {
public:
    SubMap() = default;
    // map: brought to the time, and alive as long as this; null for none.
    explicit SubMap(const Texmap* map)
        : m_map(map), m_isImage(dynamic_cast<const BitmapTex*>(map) != nullptr) {}

    explicit operator bool() const { return m_map != nullptr; }
    const Texmap* Get() const { return m_map; }
    // Its display colour at a hit, averaged over the ray where it is an image.
    AColor At(const ShadeContext& sc) const {
        if (!m_isImage) return m_map->Eval(sc);
        Color c = LinearToDisplay(sc.LinearColor(*m_map));
        return {c.r, c.g, c.b, 1};
    }

private:
    const Texmap* m_map = nullptr;
    bool m_isImage = false;
};
