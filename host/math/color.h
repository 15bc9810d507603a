// Colours as red, green, blue in 0..1 (not clamped), and with alpha.
#pragma once

struct Color {
    float r = 0, g = 0, b = 0;

    friend Color operator+(Color a, Color c) { return {a.r + c.r, a.g + c.g, a.b + c.b}; }
    friend Color operator-(Color a, Color c) { return {a.r - c.r, a.g - c.g, a.b - c.b}; }
    friend Color operator*(Color a, Color c) { return {a.r * c.r, a.g * c.g, a.b * c.b}; }
    friend Color operator*(Color a, float s) { return {a.r * s, a.g * s, a.b * s}; }
    friend bool operator==(Color, Color) = default;
};

// Colour with alpha; alpha 1 is opaque.
struct AColor {
    float r = 0, g = 0, b = 0, a = 1;

    Color Rgb() const { return {r, g, b}; }
    friend bool operator==(AColor, AColor) = default;
};

// The luminance that density tests compare with a threshold.
inline float Luminance(Color c) { return 0.299f * c.r + 0.587f * c.g + 0.114f * c.b; }
