#include "Dravin/shadow/xshadow_generator.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "Dravin/build/dravin_build.h"
#include "Dravin/materials/shaded_items.h"
#include "Dravin/shadow/face_blanking.h"
#include "Dravin/shadow/opacity_tables.h"
#include "host/scene/host_context.h"
#include "host/scene/node.h"

using namespace xshadowParams;

namespace {

constexpr size_t kProgressSteps = 20;

// Far beyond every map all the same.
int Truncated(float value) { return std::isnan(value) ? 0 : int(std::clamp(value, -1e8f, 1e8f)); }

TDravin* DravinOf(const INode* node) {
    return node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
}

// How long a map, with all that it refers to, stays as it is at time t.
class MapValidity {
public:
    static Interval Of(const Texmap& map, TimeValue t) {
        MapValidity found(t);
        found.Look(map);
        return found.m_valid;
    }

private:
    explicit MapValidity(TimeValue t) : m_time(t) {}

    void Look(const ReferenceTarget& target) {
        if (!m_seen.insert(&target).second) return;
        if (auto* block = dynamic_cast<const IParamBlock2*>(&target)) return LookAtBlock(*block);
        for (int slot = 0; slot < target.NumRefs(); ++slot)
            if (auto held = target.GetReference(slot)) Look(*held);
    }
    void LookAtBlock(const IParamBlock2& block) {
        for (const ParamDef& def : block.GetDesc().params)
            for (const ParamElement& element : block.GetElements(def.id)) {
                if (!element.track.IsEmpty()) (void)element.track.Eval(m_time, &m_valid);
                auto* held = std::get_if<std::shared_ptr<ReferenceTarget>>(&element.value);
                if (held && def.type == ParamType::kTexmap && *held) Look(**held);
            }
    }

    TimeValue m_time;
    Interval m_valid = Interval::Forever();
    std::set<const ReferenceTarget*> m_seen;
};

}  // namespace

// From places of the world to the quads of items in a directional light's map.
struct XShadowGen::QuadLight {
    Matrix3 worldToLight;
    float scale;
    int size, half;
    Point3 across;  // horizontal direction of the horizontal quads

    Point3 ToMap(const Point3& p) const { return p * worldToLight; }
    int Column(float x) const { return Truncated(x * scale) + half; }
    int Row(float y) const { return size - Truncated(y * scale) - half; }
    // Facing the light, as large as the item, which stands at p.
    TShadowQuad Vertical(const TDravinItem& item, const Point3& p) const {
        float center = float(item.centerPercent) * 0.01f;
        if (item.mirrored) center = 1 - center;
        Point3 a = ToMap(p), b = ToMap(p + Point3{0, 0, item.height});
        int x = Column(a.x - (center - 0.5f) * item.width);
        int reach = Truncated(item.width * 0.5f * scale);
        return {x - reach, x + reach, Row(b.y), Row(a.y), -b.z, -a.z, nullptr, item.mirrored != 0};
    }
    // offset: of the item's height; size: of half its width.
    TShadowQuad Horizontal(const TDravinItem& item, const Point3& p, float offset,
                           float size) const {
        Point3 middle = p + Point3{0, 0, offset * item.height};
        float side = item.width * 0.5f * size;
        int reach = Truncated(side * scale);
        Point3 c1 = ToMap(middle + across * side), c2 = ToMap(middle - across * side);
        return {Column(c1.x) - reach, Column(c2.x) + reach, Row(c2.y), Row(c1.y), -c2.z, -c1.z};
    }
};

void XShadowGen::ReadParameters(TimeValue t) {
    const IParamBlock2& block = m_type.Block();
    m_validity = Interval::Forever();
    m_image = block.GetInt(kTypemap, t, 0, &m_validity);
    m_disablesCache = block.GetInt(kDisablecache, t, 0, &m_validity);
    m_preventsSelfShadow = block.GetInt(kSelfshadow, t, 0, &m_validity);
    m_bias = block.GetFloat(kBias, t, 0, &m_validity);
    m_size = block.GetInt(kSize, t, 0, &m_validity);
    m_range = block.GetFloat(kSample, t, 0, &m_validity);
    m_isAbsolute = block.GetInt(kAbsolute, t, 0, &m_validity);
    if (m_type.CustomMap()) m_validity &= MapValidity::Of(*m_type.CustomMap(), t);
    ShadowMapType& inner = m_type.Inner();
    inner.SetMapRange(t, m_range);
    inner.SetMapSize(t, m_size);
    inner.SetMapBias(t, m_bias);
    inner.SetAbsoluteMapBias(t, m_isAbsolute);
}

// The wrapped map, without the faces of items that quads stand for.
std::vector<XShadowGen::Caster> XShadowGen::DrawInner(const Request& request) {
    std::vector<Caster> casters;
    std::vector<std::unique_ptr<TFaceBlanking>> blanked;
    m_ids.clear();
    bool hasQuads = m_about.kind == LightKind::kDirectional;
    for (const RenderInstance& instance : request.scene->Instances()) {
        TDravin* object = DravinOf(instance.node);
        if (!object || !hasQuads || !CastsShadowOf(m_light, instance.node)) continue;
        blanked.push_back(std::make_unique<TFaceBlanking>(*object, *instance.mesh, request.time));
        casters.push_back({object, instance, blanked.back()->Items()});
        m_ids.emplace(instance.node, instance.id);
    }
    m_inner->Update(request);
    return casters;  // the meshes are whole again
}

bool XShadowGen::TakeOwners(IShadowScene& scene) {
    m_owners = {};
    if (!m_preventsSelfShadow) return true;
    uint64_t pixels = uint64_t(m_inner->Size()) * uint64_t(m_inner->Size());
    if (pixels * sizeof(uint32_t) <= scene.MemoryLeft()) {
        m_owners.assign(size_t(pixels), 0);
        return true;
    }
    if (HostContext* session = HostContext::Current())
        session->UserInterface().MessageBox("No available memory for buffer, XShadow aborted",
                                            "XShadow Error", MessageKind::kError);
    return false;
}

int XShadowGen::Update(const Request& request) {
    ReadParameters(request.time);
    m_owners = {};
    std::vector<Caster> casters = DrawInner(request);
    m_lastTime = request.time;
    if (!m_inner->Buffer() || m_about.kind != LightKind::kDirectional) return 1;
    m_lightToWorld = request.lightToWorld;
    if (!TakeOwners(*request.scene)) return 0;
    DrawQuads(request, casters);
    return 1;
}

int XShadowGen::UpdateViewDepParams(const Matrix3& worldToCamera) {
    m_lightToCamera = m_lightToWorld * worldToCamera;
    return 1;
}

void XShadowGen::DrawQuads(const Request& request, const std::vector<Caster>& casters) {
    int size = m_inner->Size();
    ShadowView view = MakeShadowView(request.lightToWorld, m_about.kind, request.param, size);
    Point3 axis = request.lightToWorld.row[2];
    QuadLight light{view.worldToLight, view.scale, size, size / 2,
                    Normalize(Point3{axis.x, axis.y, 0})};
    Texmap* custom = m_type.CustomMap();
    std::string problem;
    if (custom && m_image == kImageCustom && !custom->Update(request.time, &problem))
        request.scene->Tell(problem);
    size_t pixels = size_t(size) * size_t(size);
    TQuadDrawer drawer({m_inner->Buffer(), pixels}, m_owners, size, !m_disablesCache, request.time);
    for (const Caster& caster : casters)
        if (!DrawCaster(caster, request, light, drawer)) return;
}

bool XShadowGen::DrawCaster(const Caster& caster, const Request& request, const QuadLight& light,
                            TQuadDrawer& drawer) {
    const TDravinBuild& build = caster.object->Build();
    const IParamBlock2& settings = caster.object->Block(kShadowParams);
    TimeValue t = request.time;
    Matrix3 toWorld = caster.instance.node->GetObjectTM(t);
    bool hasVertical = settings.GetBool(shadowParams::kVshadow, t);
    bool hasHorizontal = settings.GetBool(shadowParams::kHshadow, t);
    auto offset = float(settings.GetInt(shadowParams::kHsoffset, t)) * 0.01f;
    auto reach = float(settings.GetInt(shadowParams::kHsscale, t)) * 0.01f;
    TOpacityTables tables;
    if (m_image == kImageFromMaterial)
        tables = MakeOpacityTables(build.Specimens(), t, *request.scene);

    size_t count = build.Items().Count(), step = count / kProgressSteps, processed = 0;
    TDravinItem item;
    for (size_t i = 0; i < count; ++i) {
        build.Items().ReadStored(i, &item, kGroupCenter);
        if (item.discarded) continue;
        TOpacityMaps maps;
        if (caster.items[i] && m_image == kImageFromMaterial)
            maps = tables[build.Specimens().NodeOf(item)];
        if (caster.items[i] && m_image == kImageCustom)
            maps = {m_type.CustomMap(), m_type.CustomMap()};
        Point3 p = item.position * toWorld;
        uint32_t owner = OwnerCode(i, caster.instance.id);
        bool isOpaque = m_image == kImageOpaque && caster.items[i];
        if (hasVertical && (maps.vertical || isOpaque))
            drawer.Draw(light.Vertical(item, p).Shown(maps.vertical, owner));
        // Never without a map: an opaque disc would hide the item's foot.
        if (hasHorizontal && maps.horizontal)
            drawer.Draw(light.Horizontal(item, p, offset, reach).Shown(maps.horizontal, owner));
        if (step > 0 && ++processed % step == 0 && !request.scene->Progress(i, count)) return false;
    }
    return true;
}

uint32_t XShadowGen::OwnerAt(int x, int y) const {
    int size = m_inner->Size();
    if (m_owners.empty() || x < 0 || y < 0 || x >= size || y >= size) return 0;
    return m_owners[size_t(y) * size_t(size) + size_t(x)];
}

float XShadowGen::Sample(const ShadeContext& sc, float x, float y, float z, float xSlope,
                         float ySlope) const {
    if (DravinOf(sc.Node())) {
        const IShadedItems* items = IShadedItems::At(sc);
        if (!items) return 1;
        uint32_t code = OwnerAt(Truncated(x + 1e-5f), Truncated(y + 1e-5f));
        auto id = code ? m_ids.find(sc.Node()) : m_ids.end();
        if (id != m_ids.end() &&
            code == OwnerCode(items->ItemIndexOf(sc.Instance(), sc.FaceIndex()), id->second))
            return 1;
    }
    return m_inner->Sample(sc, x, y, z, xSlope, ySlope);
}
