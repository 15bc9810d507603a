// Vertical rays in row order through a terrain of a million triangles, with Embree: one by one, and
// in packets as wide as the machine has lanes. One thread. The terrain and the rays are those of
// the benchmark SurfaceRays.
#include <cmath>
#include <string>
#include <vector>

#include <embree3/rtcore.h>
#include <pmmintrin.h>
#include <xmmintrin.h>

#include "bench/peers/measure.h"

namespace {

constexpr int kCellsX = 1000, kCellsY = 500;  // two triangles each, a metre wide
constexpr int kRaysX = 2 * kCellsX, kRaysY = 2 * kCellsY;
constexpr size_t kRays = size_t(kRaysX) * kRaysY;
constexpr float kStart = 1000;  // the rays' height

float HeightAt(double x, double y) {
    return float(18 * std::sin(0.013 * x) * std::cos(0.017 * y) +
                 5 * std::sin(0.061 * x + 0.047 * y) +
                 1.2 * std::sin(0.31 * x) * std::sin(0.27 * y) +
                 0.3 * std::sin(1.1 * x + 2 * std::sin(0.9 * y)));
}

RTCScene MakeTerrain(RTCDevice device) {
    RTCGeometry ground = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* place = static_cast<float*>(rtcSetNewGeometryBuffer(ground, RTC_BUFFER_TYPE_VERTEX, 0,
                                                              RTC_FORMAT_FLOAT3, 3 * sizeof(float),
                                                              size_t(kCellsX + 1) * (kCellsY + 1)));
    for (int j = 0; j <= kCellsY; ++j)
        for (int i = 0; i <= kCellsX; ++i) {
            *place++ = float(i) - kCellsX / 2;
            *place++ = float(j) - kCellsY / 2;
            *place++ = HeightAt(i, j);
        }
    auto* corner = static_cast<unsigned*>(
        rtcSetNewGeometryBuffer(ground, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                3 * sizeof(unsigned), 2 * size_t(kCellsX) * kCellsY));
    for (int j = 0; j < kCellsY; ++j)
        for (int i = 0; i < kCellsX; ++i) {
            unsigned a = unsigned(j * (kCellsX + 1) + i), b = a + kCellsX + 1;
            for (unsigned v : {a, a + 1, b + 1, a, b + 1, b}) *corner++ = v;
        }
    rtcCommitGeometry(ground);
    RTCScene scene = rtcNewScene(device);
    rtcAttachGeometry(scene, ground);
    rtcReleaseGeometry(ground);
    rtcCommitScene(scene);
    return scene;
}

// Half a metre apart, row after row.
float RayX(size_t ray) { return float(ray % kRaysX) * 0.5f + 0.25f - kCellsX / 2; }
float RayY(size_t ray) { return float(ray / kRaysX) * 0.5f + 0.25f - kCellsY / 2; }

void Shoot(RTCScene scene, std::vector<float>& heights) {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    for (size_t i = 0; i < kRays; ++i) {
        RTCRayHit ray{};
        ray.ray.org_x = RayX(i), ray.ray.org_y = RayY(i), ray.ray.org_z = kStart;
        ray.ray.dir_z = -1, ray.ray.tfar = INFINITY, ray.ray.mask = ~0u;
        ray.hit.geomID = ray.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene, &context, &ray);
        heights[i] = kStart - ray.ray.tfar;
    }
}

template <int kWidth, class RayHits, class Intersect>
void ShootPackets(RTCScene scene, Intersect intersect, std::vector<float>& heights) {
    static_assert(kRays % kWidth == 0);
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
    alignas(64) int valid[kWidth];
    for (int& lane : valid) lane = -1;
    for (size_t i = 0; i < kRays; i += kWidth) {
        RayHits rays{};
        for (int k = 0; k < kWidth; ++k) {
            rays.ray.org_x[k] = RayX(i + k), rays.ray.org_y[k] = RayY(i + k);
            rays.ray.org_z[k] = kStart, rays.ray.dir_z[k] = -1;
            rays.ray.tfar[k] = INFINITY, rays.ray.mask[k] = ~0u;
            rays.hit.geomID[k] = rays.hit.instID[0][k] = RTC_INVALID_GEOMETRY_ID;
        }
        intersect(valid, scene, &context, &rays);
        for (int k = 0; k < kWidth; ++k) heights[i + k] = kStart - rays.ray.tfar[k];
    }
}

// Every ray found the terrain, about where its function says.
bool IsRight(const std::vector<float>& heights) {
    for (size_t i = 0; i < kRays; ++i) {
        double exact = HeightAt(RayX(i) + kCellsX / 2, RayY(i) + kCellsY / 2);
        if (!(std::abs(heights[i] - exact) < 1)) return false;
    }
    return true;
}

}  // namespace

int main() {
    _MM_SET_FLUSH_ZERO_MODE(_MM_FLUSH_ZERO_ON);
    _MM_SET_DENORMALS_ZERO_MODE(_MM_DENORMALS_ZERO_ON);
    RTCDevice device = rtcNewDevice("threads=1");
    RTCScene scene = MakeTerrain(device);
    std::vector<float> heights(kRays);

    double single = SecondsOf([&] { Shoot(scene, heights); });
    bool isRight = IsRight(heights);
    std::fill(heights.begin(), heights.end(), NAN);
    bool has16 = rtcGetDeviceProperty(device, RTC_DEVICE_PROPERTY_NATIVE_RAY16_SUPPORTED);
    bool has8 = rtcGetDeviceProperty(device, RTC_DEVICE_PROPERTY_NATIVE_RAY8_SUPPORTED);
    double packets = SecondsOf([&] {
        if (has16)
            ShootPackets<16, RTCRayHit16>(scene, rtcIntersect16, heights);
        else if (has8)
            ShootPackets<8, RTCRayHit8>(scene, rtcIntersect8, heights);
        else
            ShootPackets<4, RTCRayHit4>(scene, rtcIntersect4, heights);
    });
    isRight = isRight && IsRight(heights);
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
    if (!isRight) return std::fputs("embree_rays: rays miss the terrain\n", stderr), 1;

    const char* version = "Embree " RTC_VERSION_STRING;
    Tell("single rays", version, double(kRays), single);
    Tell("packets of rays", version, double(kRays), packets);
}
