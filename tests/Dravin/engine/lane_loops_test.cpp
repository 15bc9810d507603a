// Loops over columns against the plain functions that say what they mean, for every instruction set
// that this machine has.
#include "Dravin/engine/lane_loops.h"

#include <cstring>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "Dravin/engine/surfaces.h"
#include "Dravin/engine/transforms.h"
#include "common/nurandom/nurandom.h"
#include "host/math/sin_cos.h"

namespace {

constexpr size_t kCount = 259;  // no whole number of vectors

// Runs body once for each instruction set.
template <class Body>
void ForEachTarget(const Body& body) {
    for (int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        body();
    }
    hwy::SetSupportedTargetsForTest(0);
}

std::vector<uint32_t> Outputs() {
    std::vector<uint32_t> outputs{0, 1, 127, 128, 0xFFFFFF7F, 0xFFFFFF80, 0xFFFFFFFF, 0x80000000};
    TNuRandom generator(5);
    while (outputs.size() < kCount) outputs.push_back(generator.Step());
    return outputs;
}

struct Points {
    std::vector<float> x = std::vector<float>(kCount), y = x, z = x;

    lane_loops::PointColumns Columns() { return {x.data(), y.data(), z.data()}; }
    lane_loops::ConstPointColumns Columns() const { return {x.data(), y.data(), z.data()}; }
    Point3 At(size_t k) const { return {x[k], y[k], z[k]}; }
    void Set(size_t k, const Point3& p) { x[k] = p.x, y[k] = p.y, z[k] = p.z; }
};

// Points in [-1, 1]^3; some along the axes.
Points SomePoints(uint32_t seed, float scale = 1) {
    TNuRandom generator(seed);
    auto number = [&] { return (generator.Random() * 2 - 1) * scale; };
    Points points;
    for (size_t k = 0; k < kCount; ++k) {
        Point3 p{number(), number(), number()};
        if (k % 7 == 0) p = {0, 0, 1};
        if (k % 11 == 0) p = {1, 0, 0};
        points.Set(k, p);
    }
    return points;
}

bool SameBits(const Point3& a, const Point3& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

TEST(LaneLoops, NumbersAreThoseOfOneGenerator) {
    std::vector<uint32_t> outputs = Outputs();
    ForEachTarget([&] {
        std::vector<float> unit(kCount), range(kCount), percent(kCount), wide(kCount);
        lane_loops::ToUnit(outputs, unit.data());
        lane_loops::ToRange(outputs, -2.5f, 7, range.data());
        lane_loops::ToPercentRange(outputs, 80, 120, percent.data());
        lane_loops::ToPercentRange(outputs, INT32_MIN, INT32_MAX, wide.data());
        for (size_t k = 0; k < kCount; ++k) {
            float u = TNuRandom::ToUnit(outputs[k]);
            ASSERT_EQ(unit[k], u);
            ASSERT_EQ(range[k], -2.5f + u * (7 - -2.5f));
            ASSERT_EQ(percent[k], float(TNuRandom::ScaleToRange(outputs[k], 80, 120)) * 0.01f);
            ASSERT_EQ(wide[k],
                      float(TNuRandom::ScaleToRange(outputs[k], INT32_MIN, INT32_MAX)) * 0.01f);
        }
    });
}

TEST(LaneLoops, OutputsThatNoNumberComesOfAreFound) {
    ForEachTarget([] {
        for (uint32_t x : {0u, 1u, 127u, 0xFFFFFF7Fu, 0xFFFFFF80u, 0xFFFFFFFFu})
            for (size_t at : {size_t{0}, size_t{100}, kCount - 1}) {
                std::vector<uint32_t> outputs(kCount, 12345);
                outputs[at] = x;
                EXPECT_EQ(lane_loops::AnyRejected(outputs), TNuRandom::IsRejected(x)) << x;
            }
    });
}

TEST(LaneLoops, FramesAreThoseOfOneItem) {
    Points reference = SomePoints(1), normal = SomePoints(2);
    ForEachTarget([&] {
        Points x, y, z;
        lane_loops::MakeFrames(kCount, std::as_const(reference).Columns(),
                               std::as_const(normal).Columns(), x.Columns(), y.Columns(),
                               z.Columns());
        for (size_t k = 0; k < kCount; ++k) {
            Matrix3 frame = MakeFrame(reference.At(k), normal.At(k));
            // Zeros of either sign are equal here: a vanished axis has no direction.
            ASSERT_EQ(x.At(k), frame.row[0]) << k;
            ASSERT_EQ(y.At(k), frame.row[1]) << k;
            ASSERT_EQ(z.At(k), frame.row[2]) << k;
        }
    });
}

TEST(LaneLoops, TurnsAreThoseOfAMatrix) {
    Points angles = SomePoints(3, 20);
    angles.Set(5, {1e7f, -1e30f, 2e6f});  // beyond what is reduced
    Points start[3] = {SomePoints(4), SomePoints(5), SomePoints(6)};
    ForEachTarget([&] {
        Points axes[3] = {start[0], start[1], start[2]};
        lane_loops::TurnFrames(kCount, std::as_const(angles).Columns(), axes[0].Columns(),
                               axes[1].Columns(), axes[2].Columns());
        for (size_t k = 0; k < kCount; ++k) {
            Matrix3 m{{start[0].At(k), start[1].At(k), start[2].At(k), {}}};
            m.PreRotateX(angles.x[k]);
            m.PreRotateY(angles.y[k]);
            m.PreRotateZ(angles.z[k]);
            for (size_t i = 0; i < 3; ++i)
                ASSERT_TRUE(SameBits(axes[i].At(k), m.row[i])) << k << " " << i;
        }
    });
}

TEST(LaneLoops, NormalsLeanAsThoseOfOneItem) {
    Points face = SomePoints(9);
    face.Set(3, {0, 0, -1});
    for (float percent : {0.0f, 50.0f, 100.0f, -30.0f, -100.0f}) {
        float up = percent * 0.01f, keep = up >= 0 ? 1 - up : 1 + up;
        ForEachTarget([&] {
            Points normal;
            lane_loops::Lean(kCount, std::as_const(face).Columns(), keep, up, normal.Columns());
            for (size_t k = 0; k < kCount; ++k)
                ASSERT_EQ(normal.At(k), WorkingNormal(face.At(k), percent)) << k;
        });
    }
}

TEST(LaneLoops, ScaledPointsAreAdded) {
    Points a = SomePoints(7), b = SomePoints(8);
    std::vector<float> f(kCount);
    for (size_t k = 0; k < kCount; ++k) f[k] = float(k) * 0.37f - 40;
    ForEachTarget([&] {
        Points sum = a;
        lane_loops::AddScaled(kCount, sum.Columns(), std::as_const(b).Columns(), f.data());
        for (size_t k = 0; k < kCount; ++k)
            ASSERT_TRUE(SameBits(sum.At(k), a.At(k) + f[k] * b.At(k))) << k;
    });
}
