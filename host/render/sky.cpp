#include "host/render/sky.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "host/render/sampler.h"

namespace {

constexpr float kPi = std::numbers::pi_v<float>;

// Heights and lengths in kilometres, scattering coefficients per kilometre at sea level.
constexpr float kEarthRadius = 6360, kAirTop = 6460, kEyeHeight = 0.2f;
constexpr float kRayleighHeight = 8, kMieHeight = 1.2f;
constexpr Color kRayleigh{5.802e-3f, 13.558e-3f, 33.1e-3f};
constexpr Color kOzone{0.650e-3f, 1.881e-3f, 0.085e-3f};
constexpr float kMieScatter = 3.996e-3f, kMieExtinct = 4.440e-3f, kMieG = 0.76f;

constexpr int kTableWidth = 64, kTableHeight = 64;
constexpr int kViewSteps = 32, kSunSteps = 12;
constexpr int kSeriesHeights = 16;  // heights at which the multiple scattering is tabulated

Color Exp(Color c) { return {std::exp(-c.r), std::exp(-c.g), std::exp(-c.b)}; }

// Distance from a point at radius `r` to the sphere of radius `radius` along a ray whose cosine
// with the zenith is `mu`; negative when it misses. `far` picks the second intersection.
float SphereDistance(float r, float mu, float radius, bool far) {
    float d = r * r * (mu * mu - 1) + radius * radius;
    if (d < 0) return -1;
    return -r * mu + (far ? std::sqrt(d) : -std::sqrt(d));
}

struct Atmosphere {
    float mie;  // aerosol amount relative to clear air

    struct Density {
        float rayleigh, mie, ozone;
    };
    Density At(float r) const {
        float h = std::max(0.f, r - kEarthRadius);
        return {std::exp(-h / kRayleighHeight), mie * std::exp(-h / kMieHeight),
                std::max(0.f, 1 - std::fabs(h - 25) / 15)};
    }
    static Color Extinction(const Density& d) {
        return kRayleigh * d.rayleigh + kOzone * d.ozone + Color{1, 1, 1} * (kMieExtinct * d.mie);
    }
    static Color Scattering(const Density& d) {
        return kRayleigh * d.rayleigh + Color{1, 1, 1} * (kMieScatter * d.mie);
    }
    // Share of the sun's light that reaches radius r; none in the earth's shadow.
    Color SunTransmittance(float r, float mu) const {
        if (mu < 0 && SphereDistance(r, mu, kEarthRadius, false) > 0) return {};
        float step = SphereDistance(r, mu, kAirTop, true) / kSunSteps;
        Color depth;
        for (int i = 0; i < kSunSteps; ++i) {
            float t = (float(i) + 0.5f) * step;
            float s = std::sqrt(r * r + t * t + 2 * r * mu * t);
            depth = depth + Extinction(At(s)) * step;
        }
        return Exp(depth);
    }
};

// Light scattered twice and more, by height: isotropic, the sum of a geometric series.
class MultipleScattering {
public:
    MultipleScattering(const Atmosphere& air, float sunMu) {
        for (int i = 0; i < kSeriesHeights; ++i) m_value[size_t(i)] = At(air, Radius(i), sunMu);
    }
    Color operator()(float r) const {
        float x = std::sqrt(std::max(0.f, r - kEarthRadius) / (kAirTop - kEarthRadius));
        float p = std::clamp(x, 0.f, 1.f) * (kSeriesHeights - 1);
        int i = std::min(int(p), kSeriesHeights - 2);
        return m_value[size_t(i)] * (1 - (p - float(i))) + m_value[size_t(i) + 1] * (p - float(i));
    }

private:
    static float Radius(int i) {
        float x = float(i) / (kSeriesHeights - 1);
        return kEarthRadius + 0.01f + x * x * (kAirTop - kEarthRadius - 0.02f);
    }
    static Color At(const Atmosphere& air, float r, float sunMu) {
        constexpr int kZeniths = 8, kAzimuths = 8, kSteps = 16;
        Color second, transfer;
        float sunSin = std::sqrt(std::max(0.f, 1 - sunMu * sunMu));
        for (int z = 0; z < kZeniths; ++z)
            for (int a = 0; a < kAzimuths; ++a) {
                float mu = 2 * (float(z) + 0.5f) / kZeniths - 1;
                float s =
                    std::sqrt(1 - mu * mu) * std::cos(2 * kPi * (float(a) + 0.5f) / kAzimuths);
                float ground = mu < 0 ? SphereDistance(r, mu, kEarthRadius, false) : -1;
                float length = ground > 0 ? ground : SphereDistance(r, mu, kAirTop, true);
                Color through{1, 1, 1};
                for (int i = 0; i < kSteps; ++i) {
                    float dt = length / kSteps, t = (float(i) + 0.5f) * dt;
                    float rt = std::sqrt(r * r + t * t + 2 * r * mu * t);
                    float muSun =
                        std::clamp((r * sunMu + t * (mu * sunMu + s * sunSin)) / rt, -1.f, 1.f);
                    auto density = air.At(rt);
                    Color stepThrough = Exp(Atmosphere::Extinction(density) * dt);
                    Color scatter = Atmosphere::Scattering(density) * through * dt;
                    second = second + scatter * air.SunTransmittance(rt, muSun);
                    transfer = transfer + scatter;
                    through = through * stepThrough;
                }
            }
        float count = kZeniths * kAzimuths;
        second = second * (1 / (count * 4 * kPi));
        transfer = transfer * (1 / count);
        return {second.r / (1 - std::min(transfer.r, 0.95f)),
                second.g / (1 - std::min(transfer.g, 0.95f)),
                second.b / (1 - std::min(transfer.b, 0.95f))};
    }
    std::array<Color, kSeriesHeights> m_value;
};

float RayleighPhase(float c) { return 3 / (16 * kPi) * (1 + c * c); }

// Cornette and Shanks 1992.
float MiePhase(float c) {
    float g2 = kMieG * kMieG;
    return 3 / (8 * kPi) * (1 - g2) * (1 + c * c) /
           ((2 + g2) * std::pow(1 + g2 - 2 * kMieG * c, 1.5f));
}

// Table rows are dense near the horizon, where the sky changes fastest.
float ElevationOfRow(float row) {
    float x = row / (kTableHeight - 1);
    return x * x * kPi / 2;
}

// Smooth noise on the plane in about [0, 1], from hashed lattice values.
float PlaneNoise(float x, float y) {
    float fx = std::floor(x), fy = std::floor(y), u = x - fx, v = y - fy;
    auto lattice = [&](int i, int j) {
        return UnitFloat(HashMix(uint32_t(int(fx) + i) + HashMix(uint32_t(int(fy) + j))));
    };
    u = u * u * u * (u * (u * 6 - 15) + 10);
    v = v * v * v * (v * (v * 6 - 15) + 10);
    float low = lattice(0, 0) + (lattice(1, 0) - lattice(0, 0)) * u;
    float high = lattice(0, 1) + (lattice(1, 1) - lattice(0, 1)) * u;
    return low + (high - low) * v;
}

Color Mix(Color a, Color b, float t) { return a * (1 - t) + b * t; }

}  // namespace

SkyModel::SkyModel(const SkyLight& sky, const SunLight& sun) {
    m_sunDirection = Normalize(sun.direction);
    if (m_sunDirection == Point3{}) m_sunDirection = {0, 0, 1};
    float horizontal = std::hypot(m_sunDirection.x, m_sunDirection.y);
    if (horizontal > 1e-6f) {
        m_sunAzimuthX = m_sunDirection.x / horizontal;
        m_sunAzimuthY = m_sunDirection.y / horizontal;
    }
    m_sunCosRadius = std::cos(std::clamp(sun.angleDegrees, 0.f, 90.f) * 0.5f * kPi / 180);
    m_cloudCover = std::clamp(sky.cloudCover, 0.f, 1.f);
    Atmosphere air{std::max(0.f, sky.turbidity - 1)};
    m_sunIrradiance =
        (sun.irradiance ? *sun.irradiance
                        : air.SunTransmittance(kEarthRadius + kEyeHeight, m_sunDirection.z)) *
        sun.filter;
    m_isConstant = sky.constant.has_value();
    if (m_isConstant) {
        m_constant = *sky.constant * sky.strength;
        m_skyIrradiance = m_constant * kPi;
        return;
    }
    FillTable(sky);
}

void SkyModel::FillTable(const SkyLight& sky) {
    Atmosphere air{std::max(0.f, sky.turbidity - 1)};
    float sunMu = m_sunDirection.z, sunSin = std::sqrt(std::max(0.f, 1 - sunMu * sunMu));
    MultipleScattering series(air, sunMu);
    float r = kEarthRadius + kEyeHeight;
    m_table.resize(size_t(kTableWidth) * kTableHeight);
    for (int row = 0; row < kTableHeight; ++row)
        for (int column = 0; column < kTableWidth; ++column) {
            float elevation = std::max(0.002f, ElevationOfRow(float(row)));
            float mu = std::sin(elevation), s = std::cos(elevation);
            float cosSun =
                mu * sunMu + s * sunSin * std::cos(kPi * float(column) / (kTableWidth - 1));
            float length = SphereDistance(r, mu, kAirTop, true);
            Color through{1, 1, 1}, light;
            for (int i = 0; i < kViewSteps; ++i) {
                // Steps grow with the square of the distance: the air is thick near the eye.
                float a = float(i) / kViewSteps, b = float(i + 1) / kViewSteps;
                float dt = (b * b - a * a) * length, t = (a * a + b * b) * 0.5f * length;
                float rt = std::sqrt(r * r + t * t + 2 * r * mu * t);
                auto density = air.At(rt);
                Color sunLight =
                    air.SunTransmittance(rt, std::clamp((r * sunMu + t * cosSun) / rt, -1.f, 1.f));
                Color once = kRayleigh * (density.rayleigh * RayleighPhase(cosSun)) +
                             Color{1, 1, 1} * (kMieScatter * density.mie * MiePhase(cosSun));
                Color scattered = once * sunLight + Atmosphere::Scattering(density) * series(rt);
                light = light + scattered * through * dt;
                through = through * Exp(Atmosphere::Extinction(density) * dt);
            }
            m_table[size_t(row) * kTableWidth + size_t(column)] = light * sky.strength;
        }
    // The sky's irradiance by the midpoint rule, and with it the land below the horizon.
    constexpr int kElevations = 32, kAzimuths = 32;
    for (int i = 0; i < kElevations; ++i)
        for (int j = 0; j < kAzimuths; ++j) {
            float z = std::sqrt((float(i) + 0.5f) / kElevations), s = std::sqrt(1 - z * z);
            float angle = 2 * kPi * (float(j) + 0.5f) / kAzimuths;
            m_skyIrradiance =
                m_skyIrradiance + Table({s * std::cos(angle), s * std::sin(angle), z}) *
                                      (kPi / (kElevations * kAzimuths));
        }
    Color onGround = m_skyIrradiance + m_sunIrradiance * std::max(0.f, sunMu);
    m_ground = onGround * sky.groundAlbedo * (1 / kPi);
}

Color SkyModel::Table(const Point3& d) const {
    float horizontal = std::sqrt(std::max(1e-12f, d.x * d.x + d.y * d.y));
    float cosAzimuth = (d.x * m_sunAzimuthX + d.y * m_sunAzimuthY) / horizontal;
    float column = std::acos(std::clamp(cosAzimuth, -1.f, 1.f)) / kPi * (kTableWidth - 1);
    float elevation = std::asin(std::clamp(d.z, 0.f, 1.f));
    float row = std::sqrt(elevation / (kPi / 2)) * (kTableHeight - 1);
    int x = std::min(int(column), kTableWidth - 2), y = std::min(int(row), kTableHeight - 2);
    float u = column - float(x), v = row - float(y);
    const Color* p = &m_table[size_t(y) * kTableWidth + size_t(x)];
    return Mix(Mix(p[0], p[1], u), Mix(p[kTableWidth], p[kTableWidth + 1], u), v);
}

Color SkyModel::Radiance(const Point3& direction) const {
    if (m_isConstant) return m_constant;
    if (direction.z >= 0) return Table(direction);
    return Mix(Table({direction.x, direction.y, 0}), m_ground,
               std::clamp(-direction.z * 8, 0.f, 1.f));
}

float SkyModel::CloudDensity(const Point3& d) const {
    // A flat sheet high above; stretched along x as wind does it. Five octaves, warped by two.
    float scale = 2.2f / (d.z + 0.06f), x = d.x * scale * 0.55f + 7.3f, y = d.y * scale + 2.9f;
    float warp = PlaneNoise(x * 0.7f + 31, y * 0.7f) + 0.5f * PlaneNoise(x * 1.9f, y * 1.9f + 17);
    x += warp;
    y += 0.6f * warp;
    float sum = 0, amplitude = 0.5f;
    for (int octave = 0; octave < 5; ++octave, amplitude *= 0.55f, x *= 2.03f, y *= 2.13f)
        sum += amplitude * PlaneNoise(x, y);
    float edge = 0.75f - 0.55f * m_cloudCover;
    float density = std::clamp((sum - edge) / 0.38f, 0.f, 1.f);
    return density * density * (3 - 2 * density);
}

Color SkyModel::Visible(const Point3& d) const {
    Color light = Radiance(d);
    if (m_isConstant) return light;
    float cosSun = DotProd(d, m_sunDirection);
    float cover = 0;
    if (m_cloudCover > 0 && d.z > 0.005f) {
        // Thin cloud scatters forward: it is brightest around the sun; far cloud sinks into haze.
        cover = CloudDensity(d) * std::clamp(d.z * 7, 0.f, 1.f) * 0.85f;
        float glow = 0.11f + 0.28f * std::pow(std::max(0.f, cosSun), 6.f);
        Color lit = m_sunIrradiance * glow + m_skyIrradiance * (0.30f / kPi) + light * 0.35f;
        light = Mix(light, lit, cover);
    }
    if (cosSun >= m_sunCosRadius && m_sunCosRadius < 1 && d.z > 0)
        light = light + m_sunIrradiance * (60 * (1 - cover));
    return light;
}

Color SkyModel::HazeRadiance(const Point3& direction) const {
    if (m_isConstant) return m_constant;
    Point3 low = Normalize({direction.x, direction.y, 0.f});
    low.z = 0.05f;
    return Table(Normalize(low));
}

float SkyModel::CardLuminance() const {
    return Luminance(m_sunIrradiance * 0.5f + m_skyIrradiance) / kPi;
}
