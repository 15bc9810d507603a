#include "Dravin/viewport/viewport_camera.h"

#include <cmath>

#include "host/math/degrees.h"

TViewportCamera::TViewportCamera(const Matrix3& transform, float fovDegrees, int width, int height,
                                 float nearest)
    : m_toView(Inverse(transform)), m_width(width), m_height(height), m_nearest(nearest) {
    m_slopeX = std::tan(fovDegrees * kDegreesToRadians / 2);
    m_slopeY = m_slopeX * float(height) / float(width);
    m_centerX = float(width) / 2, m_centerY = float(height) / 2;
    m_focal = m_centerX / m_slopeX;
}

TViewportCamera TViewportCamera::Parallel(const Matrix3& transform, float viewWidth, int width,
                                          int height, float extent) {
    TViewportCamera camera(transform, 90, width, height, 0);
    camera.m_isParallel = true, camera.m_extent = extent;
    camera.m_slopeX = viewWidth / 2;
    camera.m_slopeY = camera.m_slopeX * float(height) / float(width);
    camera.m_focal = float(width) / viewWidth;
    return camera;
}

TViewportCamera TViewportCamera::Of(const Matrix3& toWorld) const {
    TViewportCamera camera = *this;
    camera.m_toView = toWorld * m_toView;
    return camera;
}

TViewportCamera TViewportCamera::Enlarged(int factor) const {
    TViewportCamera camera = *this;
    camera.m_width *= factor, camera.m_height *= factor;
    for (float* length : {&camera.m_focal, &camera.m_centerX, &camera.m_centerY})
        *length *= float(factor);
    return camera;
}

TViewportCamera::BoxSides TViewportCamera::SidesOf(const Box3& box) const {
    BoxSides sides;
    for (int i = 0; i < 8; ++i) {
        uint32_t corner = Sides(ToView(box[i]));
        sides.all &= corner, sides.any |= corner;
    }
    return sides;
}
