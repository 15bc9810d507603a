// How an item is shown as an instance of its source: not at all, as dots, or by which level.
#pragma once

#include <algorithm>
#include <cmath>

#include "Dravin/viewport/viewport_camera.h"
#include "Dravin/viewport/viewport_scene.h"

class TInstanceChooser {
public:
    static constexpr int kHidden = -2, kDots = -1;
    static constexpr float kLeastPixels = 3;  // smaller items are dots
    // Larger ones never are: the coarsest level costs less than so many dots.
    static constexpr float kMostDotPixels = 40;

    // camera: of the scatter object's space. scale: from there to the world. quality: items count
    // as so many times their size, above 0.
    TInstanceChooser(const TViewportCamera& camera, float scale, float quality)
        : m_camera(camera), m_scale(scale), m_quality(quality) {}

    // Pixels along the largest side of the item's box, about.
    float Pixels(const TViewItem& item) const {
        float depth = -m_camera.ToView(item.toObject.row[3]).z, size = Size(item);
        return size * m_camera.PixelsAt(std::max(depth, size / 2));
    }
    int LevelAt(const TViewPrototype& prototype, float pixels) const {
        float counted = pixels * m_quality;
        if (!prototype.shape || !(counted >= kLeastPixels || pixels >= kMostDotPixels))
            return kDots;
        return int(LevelFor(prototype.shape->Mesh(), counted));
    }
    // A level, kDots or kHidden: surely out of view.
    int Level(const TViewItem& item, const TViewPrototype& prototype) const {
        Point3 view = m_camera.ToView(item.toObject.row[3]);
        float depth = -view.z, size = Size(item), radius = size * prototype.radius;
        if (depth + radius < m_camera.Nearest()) return kHidden;
        float spread = m_camera.IsParallel() ? 1 : std::max(depth, 0.f);
        // The sides lean outward: a ball that a side just touches has its middle further away.
        float lean = m_camera.IsParallel() ? 1 : 1 + m_camera.SlopeX() + m_camera.SlopeY();
        if (std::abs(view.x) > spread * m_camera.SlopeX() + radius * lean ||
            std::abs(view.y) > spread * m_camera.SlopeY() + radius * lean)
            return kHidden;
        return LevelAt(prototype, size * m_camera.PixelsAt(std::max(depth, size / 2)));
    }

private:
    float Size(const TViewItem& item) const {
        const Point3* row = item.toObject.row;
        return m_scale * std::sqrt(std::max({LengthSquared(row[0]), LengthSquared(row[1]),
                                             LengthSquared(row[2])}));
    }
    const TViewportCamera& m_camera;
    float m_scale, m_quality;
};

// Largest scale of a matrix along its axes.
inline float LargestScale(const Matrix3& m) {
    return std::sqrt(
        std::max({LengthSquared(m.row[0]), LengthSquared(m.row[1]), LengthSquared(m.row[2])}));
}
