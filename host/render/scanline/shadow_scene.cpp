#include "host/render/scanline/shadow_scene.h"

#include <algorithm>

#include "host/base/thread_pool.h"
#include "host/render/sampler.h"
#include "host/render/scanline/scan_scene_draw.h"

namespace {

constexpr int kTile = 128;  // pixels of a map

ScanView ViewOf(const ShadowView& view) {
    ScanView out;
    out.worldToView = view.worldToLight;
    out.isPerspective = view.isPerspective;
    out.scale = view.scale;
    out.centerX = view.CenterX();
    out.centerY = view.CenterY();
    out.width = out.height = view.size;
    out.facesOfSample = 0.5f;  // shadows are soft
    return out;
}

// Whether nodes cast shadows of a light; pieces of one node follow each other.
class NodeCasts {
public:
    explicit NodeCasts(const LightObject* light) : m_light(light) {}
    bool Does(const INode* node) {
        if (!m_isKnown || node != m_node) m_casts = CastsShadowOf(m_light, node);
        m_isKnown = true, m_node = node;
        return m_casts;
    }

private:
    const LightObject* m_light;
    const INode* m_node = nullptr;
    bool m_isKnown = false, m_casts = true;
};

}  // namespace

bool StopsAtOpacity(float opacity, size_t piece, uint32_t face, uint32_t sample) {
    uint32_t place = HashMix(face * 0x9e3779b9u ^ uint32_t(piece));
    return UnitFloat(HashMix(HashMix(sample) ^ place)) < opacity;
}

ScanShadowScene::ScanShadowScene(const ScanScene& scene, int threads,
                                 std::function<uint64_t()> memory, RenderProgress progress)
    : m_scene(scene),
      m_threads(threads),
      m_memory(std::move(memory)),
      m_progress(std::move(progress)) {
    for (const PlacedSource& source : scene.Sources())
        if (Mesh* mesh = source.source->ChangeableMesh())
            m_instances.push_back(
                {source.source->SourceNode(), mesh, uint32_t(m_instances.size())});
}

uint32_t ScanShadowScene::IdOf(const INode* node) const {
    for (const RenderInstance& instance : m_instances)
        if (instance.node == node) return instance.id;
    return 0xFFFFFFFFu;
}

void ScanShadowScene::DrawDepth(const ShadowView& shadow, std::span<float> depths) const {
    ScanView view = ViewOf(shadow);
    TileBins bins(m_scene, view, kTile, m_threads);
    size_t size = size_t(shadow.size);
    ParallelFor(bins.NumTiles(), m_threads, [&](size_t tile) {
        RasterWindow window = bins.Tile(tile);
        float* corner = depths.data() + size_t(window.y0) * size + size_t(window.x0);
        NodeCasts casts(shadow.light);
        for (uint32_t piece : bins.Pieces(tile)) {
            if (!casts.Does(m_scene.NodeOf(piece))) continue;
            auto emit = [&](int x, int y, float depth, uint32_t, float, float) {
                float& there = corner[size_t(y) * size + size_t(x)];
                there = std::min(there, depth);
            };
            auto emitMasked = [&](int x, int y, float depth, uint32_t face, float u, float v) {
                float& there = corner[size_t(y) * size + size_t(x)];
                if (!(depth < there)) return;
                float width = float((view.isPerspective ? depth : 1) / view.scale);
                HitPlace place = m_scene.PlaceOf(piece, face, u, v);
                HitContext context(place, place.Material(), width, RayKind::kShadow);
                auto sample = uint32_t(&there - depths.data());
                if (StopsAtOpacity(context.Opacity(), piece, face, sample)) there = depth;
            };
            m_scene.DrawPiece(piece, view, window, emit, emitMasked);
        }
    });
}

bool ScanShadowScene::Progress(size_t done, size_t total) {
    m_share = std::max(m_share, total > 0 ? float(done) / float(total) : 1);
    if (!m_isStopped && m_progress && !m_progress(m_share)) m_isStopped = true;
    return !m_isStopped;
}

void ScanShadowScene::Tell(const std::string& problem) {
    if (std::find(m_problems.begin(), m_problems.end(), problem) == m_problems.end())
        m_problems.push_back(problem);
}
