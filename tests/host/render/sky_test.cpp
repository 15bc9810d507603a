#include "host/render/sky.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

SkyModel SkyAt(float elevationDegrees) {
    SunLight sun;
    float a = elevationDegrees * 3.14159265f / 180;
    sun.direction = {std::cos(a), 0, std::sin(a)};
    return SkyModel(SkyLight{}, sun);
}

}  // namespace

TEST(Sky, LowSunIsDimmerAndRedder) {
    Color high = SkyAt(60).SunIrradiance(), low = SkyAt(5).SunIrradiance();
    EXPECT_LT(low.g, high.g);
    EXPECT_GT(low.r / low.b, 2 * high.r / high.b);
    EXPECT_LT(high.r, 1);
    EXPECT_GT(high.r, 0.7f);
}

TEST(Sky, SunBelowTheHorizonGivesNoDirectLight) {
    SkyModel sky = SkyAt(-10);
    EXPECT_EQ(sky.SunIrradiance(), (Color{0, 0, 0}));
    EXPECT_LT(sky.SkyIrradiance().g, SkyAt(20).SkyIrradiance().g);
}

TEST(Sky, ZenithIsBlueAndHorizonPaler) {
    SkyModel sky = SkyAt(40);
    Color zenith = sky.Radiance({0, 0, 1}), horizon = sky.Radiance(Normalize({-1, 0, 0.05f}));
    EXPECT_GT(zenith.b, 2 * zenith.r);
    EXPECT_LT(horizon.b / horizon.r, zenith.b / zenith.r);
    EXPECT_GT(horizon.g, zenith.g);
}

TEST(Sky, IsSymmetricAboutTheSun) {
    SkyModel sky = SkyAt(30);
    Color left = sky.Radiance(Normalize({0.5f, 0.6f, 0.3f}));
    Color right = sky.Radiance(Normalize({0.5f, -0.6f, 0.3f}));
    EXPECT_FLOAT_EQ(left.r, right.r);
    EXPECT_FLOAT_EQ(left.b, right.b);
}

TEST(Sky, IrradianceEqualsTheIntegralOfItsRadiance) {
    SkyModel sky = SkyAt(25);
    // Midpoint rule over elevation and azimuth, a different parametrisation from the model's own.
    constexpr int kElevations = 180, kAzimuths = 90;
    double sum = 0;
    for (int i = 0; i < kElevations; ++i)
        for (int j = 0; j < kAzimuths; ++j) {
            double e = (i + 0.5) / kElevations * M_PI / 2, a = (j + 0.5) / kAzimuths * 2 * M_PI;
            Point3 d{float(std::cos(e) * std::cos(a)), float(std::cos(e) * std::sin(a)),
                     float(std::sin(e))};
            sum += double(sky.Radiance(d).g) * std::sin(e) * std::cos(e) *
                   (M_PI / 2 / kElevations) * (2 * M_PI / kAzimuths);
        }
    EXPECT_NEAR(sum / double(sky.SkyIrradiance().g), 1, 0.02);
}

TEST(Sky, ConstantSkyIsTheSameEverywhere) {
    SkyLight light;
    light.constant = Color{0.1f, 0.2f, 0.3f};
    light.strength = 2;
    SkyModel sky(light, SunLight{});
    EXPECT_EQ(sky.Radiance({0, 0, 1}), (Color{0.2f, 0.4f, 0.6f}));
    EXPECT_EQ(sky.Visible({0, 1, 0}), sky.Radiance({0, 0, -1}));
    EXPECT_NEAR(sky.SkyIrradiance().g, 0.4f * 3.14159265f, 1e-5f);
}

TEST(Sky, TurbidAirMakesAWhiterSky) {
    SkyLight clear, hazy;
    clear.turbidity = 1;
    hazy.turbidity = 8;
    SunLight sun;
    Color a = SkyModel(clear, sun).Radiance({0, 0, 1}), b = SkyModel(hazy, sun).Radiance({0, 0, 1});
    EXPECT_GT(a.b / a.r, b.b / b.r);
}
