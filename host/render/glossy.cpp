#include "host/render/glossy.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

// Smith's auxiliary function of a direction.
float Lambda(float cosine, float alpha) {
    float c2 = cosine * cosine;
    return (std::sqrt(1 + alpha * alpha * (1 - c2) / c2) - 1) / 2;
}

}  // namespace

Color GlossyLayer::Fresnel(float cosine) const {
    float x = 1 - std::clamp(cosine, 0.f, 1.f), x2 = x * x;
    return m_specular + (Color{1, 1, 1} - m_specular) * (x2 * x2 * x);
}

float GlossyLayer::MaskingOf(float cosine) const { return 1 / (1 + Lambda(cosine, m_alpha)); }

Color GlossyLayer::Reflected(const Point3& normal, const Point3& view,
                             const Point3& toLight) const {
    float v = DotProd(normal, view), l = DotProd(normal, toLight);
    if (v <= 1e-4f || l <= 1e-4f) return {};
    Point3 half = Normalize(view + toLight);
    float h = DotProd(normal, half), a2 = m_alpha * m_alpha;
    float slope = h * h * (a2 - 1) + 1;
    float density = a2 / (kPi * slope * slope);
    float shadowing = 1 / (1 + Lambda(v, m_alpha) + Lambda(l, m_alpha));
    return Fresnel(DotProd(view, half)) * (density * shadowing / (4 * v));
}

Point3 GlossyLayer::Draw(const Point3& normal, const Point3& view, Point2 u, Color* weight) const {
    Point3 s, t;
    MakeFrame(normal, &s, &t);
    Point3 local{DotProd(view, s), DotProd(view, t), std::max(1e-4f, DotProd(view, normal))};
    // The hemisphere stretched until the facets are those of a plain one; a normal of its visible
    // half, and back.
    Point3 stretched = Normalize(Point3{m_alpha * local.x, m_alpha * local.y, local.z});
    Point3 s1, t1;
    MakeFrame(stretched, &s1, &t1);
    float r = std::sqrt(u.x), angle = 2 * kPi * u.y;
    float x = r * std::cos(angle), y = r * std::sin(angle);
    // The frame is turned so that s1 lies in the surface: visible halves are measured across it.
    float across = std::hypot(stretched.x, stretched.y);
    if (across > 1e-6f) {
        s1 = {-stretched.y / across, stretched.x / across, 0};
        t1 = CrossProd(stretched, s1);
    }
    float share = (1 + stretched.z) / 2;
    y = (1 - share) * std::sqrt(std::max(0.f, 1 - x * x)) + share * y;
    Point3 n = s1 * x + t1 * y + stretched * std::sqrt(std::max(0.f, 1 - x * x - y * y));
    Point3 facet = Normalize(Point3{m_alpha * n.x, m_alpha * n.y, std::max(1e-6f, n.z)});
    Point3 half = s * facet.x + t * facet.y + normal * facet.z;
    float cosine = DotProd(view, half);
    Point3 out = half * (2 * cosine) - view;
    float l = DotProd(out, normal), v = local.z;
    if (l <= 1e-4f) return *weight = {}, Point3{};
    float both = 1 / (1 + Lambda(v, m_alpha) + Lambda(l, m_alpha));
    *weight = Fresnel(cosine) * (both / MaskingOf(v));
    return Normalize(out);
}
