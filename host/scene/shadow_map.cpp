#include "host/scene/shadow_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "host/params/clone_map.h"
#include "host/scene/object.h"

namespace {

constexpr float kEmpty = std::numeric_limits<float>::infinity();
constexpr int kMaxTaps = 8;  // along a side of the sample range

const ParamBlockDesc2& ShadowMapBlock() {
    using P = ShadowMapType;
    static const ParamBlockDesc2 block{
        0,
        "params",
        "Shadow Map",
        0,
        true,
        {ParamDef(P::kBias, "bias", ParamType::kFloat)
             .Default(1.0f)
             .Range(0, 1e9)
             .Animatable()
             .Label("Bias")
             .Control(ControlKind::kSpinner)
             .Meaning("How far places are moved towards the light before they are compared."),
         ParamDef(P::kSize, "size", ParamType::kInt)
             .Default(1024)
             .Range(0, 999999)
             .Animatable()
             .Label("Map Size")
             .Control(ControlKind::kSpinner)
             .Meaning("Pixels along a side of the map; 0: the light casts no shadows."),
         ParamDef(P::kSample, "sample", ParamType::kFloat)
             .Default(2.0f)
             .Range(0, 1e9)
             .Animatable()
             .Label("Sample Range")
             .Control(ControlKind::kSpinner)
             .Meaning("Side of the square of pixels that soften the shadow's edge."),
         ParamDef(P::kAbsolute, "absolute", ParamType::kBool)
             .Label("Absolute Map Bias")
             .Control(ControlKind::kCheckBox)
             .Meaning("The bias is a length of the scene, not a number of pixels.")}};
    return block;
}

class ShadowMapGenerator final : public ShadowGenerator {
public:
    ShadowMapGenerator(const ShadowMapType& type, const LightObject* light, LightKind kind)
        : m_type(type), m_light(light), m_kind(kind) {}

    int Update(const Request& request) override;
    void FreeBuffer() override { m_depths = {}; }
    float Sample(const ShadeContext&, float x, float y, float z, float xSlope,
                 float ySlope) const override;
    float Sample(const ShadeContext&, const Point3&, Color*) const override { return 1; }
    float QuickSample(int x, int y, float z) const override { return Sees(x, y, z); }
    float FiltSample(float x, float y, float z, float range) const override {
        return Mean(x, y, z, range, 0, 0);
    }
    float LineSample(const Point3& from, const Point3& to) const override;
    int Size() const override { return m_view.size; }
    float* Buffer() override { return m_depths.empty() ? nullptr : m_depths.data(); }

private:
    bool TakeBuffer(IShadowScene& scene);
    float BiasAt(float z) const {
        if (m_isAbsolute) return m_bias;
        return m_bias / m_view.scale * (m_view.isPerspective ? z : 1);
    }
    float Sees(int x, int y, float z) const {
        if (m_depths.empty() || x < 0 || y < 0 || x >= m_view.size || y >= m_view.size) return 1;
        return z <= m_depths[size_t(y) * size_t(m_view.size) + size_t(x)] ? 1.f : 0.f;
    }
    float Mean(float x, float y, float z, float range, float xSlope, float ySlope) const;

    const ShadowMapType& m_type;
    const LightObject* m_light;
    LightKind m_kind;
    ShadowView m_view;
    float m_bias = 0, m_range = 0, m_clip = 0;
    bool m_isAbsolute = false;
    std::vector<float> m_depths;
};

// False, and told, where there is none to be had.
bool ShadowMapGenerator::TakeBuffer(IShadowScene& scene) {
    m_depths = {};
    uint64_t size = uint64_t(std::max(m_view.size, 0)), bytes = size * size * sizeof(float);
    if (size == 0) {
        scene.Tell("a light casts no shadows: the size of its shadow map is 0; give it pixels");
        return false;
    }
    if (uint64_t left = scene.MemoryLeft(); bytes > left) {
        scene.Tell(
            fmt::format("a light casts no shadows: its shadow map of {0} x {0} pixels takes "
                        "{1:.2f} GB, {2:.2f} "
                        "GB are free; give it a smaller size",
                        size, double(bytes) / 1e9, double(left) / 1e9));
        return false;
    }
    m_depths.assign(size_t(size * size), kEmpty);
    return true;
}

int ShadowMapGenerator::Update(const Request& request) {
    const IParamBlock2& block = m_type.Block();
    m_bias = block.GetFloat(ShadowMapType::kBias, request.time);
    m_range = block.GetFloat(ShadowMapType::kSample, request.time);
    m_isAbsolute = block.GetBool(ShadowMapType::kAbsolute, request.time);
    m_clip = request.clipDistance;
    m_view = MakeShadowView(request.lightToWorld, m_kind, request.param,
                            block.GetInt(ShadowMapType::kSize, request.time));
    m_view.light = m_light;
    if (TakeBuffer(*request.scene)) request.scene->DrawDepth(m_view, m_depths);
    return 1;
}

float ShadowMapGenerator::Sample(const ShadeContext&, float x, float y, float z, float xSlope,
                                 float ySlope) const {
    if (m_clip > 0 && z > m_clip) return 1;
    return Mean(x, y, z - BiasAt(z), m_range, xSlope, ySlope);
}

// Pixels count by how much of the square they cover; a large square is asked at places of a grid.
float ShadowMapGenerator::Mean(float x, float y, float z, float range, float xSlope,
                               float ySlope) const {
    if (m_depths.empty()) return 1;
    float size = float(m_view.size), width = std::clamp(range, 1.f, size);
    bool isNear = x > -width && y > -width && x < size + width && y < size + width;
    if (!isNear) return 1;
    float sum = 0, weights = 0;
    if (width > float(kMaxTaps)) {
        for (int j = 0; j < kMaxTaps; ++j)
            for (int i = 0; i < kMaxTaps; ++i) {
                float dx = ((float(i) + 0.5f) / kMaxTaps - 0.5f) * width;
                float dy = ((float(j) + 0.5f) / kMaxTaps - 0.5f) * width;
                sum += Sees(int(std::floor(x + dx)), int(std::floor(y + dy)),
                            z + dx * xSlope + dy * ySlope);
            }
        return sum / (kMaxTaps * kMaxTaps);
    }
    float left = x - width / 2, right = x + width / 2, top = y - width / 2, bottom = y + width / 2;
    for (int j = int(std::floor(top)); float(j) < bottom; ++j) {
        float high = std::min(bottom, float(j + 1)) - std::max(top, float(j));
        for (int i = int(std::floor(left)); float(i) < right; ++i) {
            float share = (std::min(right, float(i + 1)) - std::max(left, float(i))) * high;
            float dx = float(i) + 0.5f - x, dy = float(j) + 0.5f - y;
            sum += share * Sees(i, j, z + dx * xSlope + dy * ySlope);
            weights += share;
        }
    }
    return weights > 0 ? sum / weights : 1;
}

float ShadowMapGenerator::LineSample(const Point3& from, const Point3& to) const {
    if (m_depths.empty()) return 1;
    constexpr float kMaxSteps = 4096;
    float longest = std::max(std::fabs(to.x - from.x), std::fabs(to.y - from.y));
    int steps = 1 + int(std::min(longest, kMaxSteps));
    float sum = 0;
    for (int i = 0; i < steps; ++i) {
        Point3 p = from + (to - from) * ((float(i) + 0.5f) / float(steps));
        sum += Sees(int(std::floor(p.x)), int(std::floor(p.y)), p.z);
    }
    return sum / float(steps);
}

}  // namespace

ShadowMapType::ShadowMapType() { m_block = IParamBlock2::Create(ShadowMapBlock()); }

std::unique_ptr<ShadowGenerator> ShadowMapType::CreateShadowGenerator(const LightObject* light,
                                                                      const LightDesc& about,
                                                                      uint32_t) {
    return std::make_unique<ShadowMapGenerator>(*this, light, about.kind);
}

int ShadowMapType::MapSize(TimeValue t) const { return Block().GetInt(kSize, t); }

void ShadowMapType::SetMapRange(TimeValue t, float pixels) { Block().SetValue(kSample, t, pixels); }
void ShadowMapType::SetMapSize(TimeValue t, int size) { Block().SetValue(kSize, t, size); }
void ShadowMapType::SetMapBias(TimeValue t, float bias) { Block().SetValue(kBias, t, bias); }
void ShadowMapType::SetAbsoluteMapBias(TimeValue t, bool isAbsolute) {
    Block().SetValue(kAbsolute, t, isAbsolute);
}

std::shared_ptr<ReferenceTarget> ShadowMapType::GetReference(int slot) const {
    return slot == 0 ? m_block.Share() : nullptr;
}

std::shared_ptr<ReferenceTarget> ShadowMapType::Clone(CloneMap& map) const {
    auto copy = std::make_shared<ShadowMapType>();
    copy->m_block = m_block->CloneFor(nullptr, map);
    map.Add(*m_block.Get(), copy->m_block.Share());
    return copy;
}

std::shared_ptr<ShadowMapType> NewDefaultShadowMapType() {
    return std::make_shared<ShadowMapType>();
}

ShadowView MakeShadowView(const Matrix3& lightToWorld, LightKind kind, float param, int size) {
    ShadowView view;
    Matrix3 axes = lightToWorld;
    for (int i = 0; i < 3; ++i) axes.row[i] = Normalize(axes.row[i]);
    view.worldToLight = Inverse(axes);
    view.isPerspective = kind != LightKind::kDirectional;
    view.size = size;
    float reach = view.isPerspective ? std::tan(param / 2) : param;
    view.scale = float(size) / (2 * reach);
    return view;
}
