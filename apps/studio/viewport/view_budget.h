// How much of a scene may be drawn while the hand moves.
#pragma once

#include <algorithm>
#include <cstdint>

// Elements of each kind that a picture may have, led by the time of the pictures before it. Starts
// with what an ordinary machine draws in about a frame.
class ViewBudget {
public:
    ViewBudget(uint64_t faces, uint64_t dots) : m_faces(faces), m_dots(dots) {}

    uint64_t Faces() const { return uint64_t(double(m_faces) * m_scale); }
    uint64_t Dots() const { return uint64_t(double(m_dots) * m_scale); }
    // A picture took so long. isWhole: it had all there is, so that more would not change it.
    void Learn(double seconds, bool isWhole) {
        double wanted = kWanted / std::max(seconds, 1e-4);
        if (isWhole && wanted > 1) return;
        m_scale = std::clamp(m_scale * std::clamp(wanted, 0.5, 1.25), kLeast, kMost);
    }

private:
    static constexpr double kWanted = 0.032, kLeast = 0.05, kMost = 64;
    uint64_t m_faces, m_dots;
    double m_scale = 1;
};
