// How the brush is set: kept from start to start.
#pragma once

enum class PenPressure { kNothing, kSize, kStrength };

struct BrushSettings {
    static constexpr double kLargest = 1e6;

    double size = 0;      // across, scene units; 0: fitted to the ground when painting begins
    double strength = 1;  // of smoothing, 0..1
    PenPressure pen = PenPressure::kSize;

    static BrushSettings Load();
    void Save() const;
    // Within their ranges.
    void SetSize(double wanted);
    void SetStrength(double wanted);
};
