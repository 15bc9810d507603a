// Angles: users see degrees, computations radians.
#pragma once

inline constexpr double kRadiansOfDegree = 0.017453292519943295;
inline constexpr float kDegreesToRadians = 0.017453292f;  // in single precision, as items are made
