// Images as renderers read them: 8-bit pyramids of averages.
//
// An image map is copied once into a pyramid of box-filtered levels, so that distant foliage takes
// averages instead of shimmering; the level follows from the width of the ray where it hits. Maps
// without an image have none and are asked at every hit. Immutable after construction; threads
// share it.
#pragma once

#include <cstdint>
#include <vector>

#include "host/math/display_color.h"
#include "host/scene/shading.h"
#include "host/scene/texmaps.h"

class RenderTexture {
public:
    // map: prepared by Update, and alive as long as this. A mask with a cutoff above 0 is 1 where
    // it reaches the cutoff and 0 elsewhere; from afar it gives the share of what is kept.
    RenderTexture(const Texmap& map, MapUse use, float cutoff = 0);

    // Whether there is an image to look up.
    bool HasImage() const { return !m_levels.empty(); }
    int Channel() const { return m_map->channel; }
    // Colour at mapping coordinates uv of the map's channel, linear light or plain numbers; `width`
    // is the ray's width there, in units of uv. Needs an image.
    Color LookUp(Point2 uv, float width) const;
    // The same of a mask, in 0..1.
    float LookUpMask(Point2 uv, float width) const;

private:
    struct Level {
        int width = 0, height = 0;
        std::vector<uint8_t> texels;  // rows bottom up, m_channels bytes a texel
    };
    struct Footprint {
        const Level* level;
        int x0, x1, y0, y1;
        float u, v;
    };
    void Bake(const Bitmap& image, bool alphaOnly);
    // What a value of the finest level counts as in a coarser one, 0..1.
    float Value(uint8_t texel, bool isFinest) const;
    void AddCoarserLevels();
    Footprint Locate(Point2 uv, float width) const;

    Color Texel(const Level& level, int x, int y) const;

    const Texmap* m_map;
    BitmapTex::Wrap m_wrap = BitmapTex::Wrap::kTile;
    bool m_isNearest = false;  // of the finest level
    MapUse m_use;
    float m_cutoff;
    int m_channels;
    std::vector<Level> m_levels;  // finest first; empty for maps without an image
};
