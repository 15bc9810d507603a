#include "apps/studio/viewport/render_job.h"

#include <set>

#include "host/base/thread_pool.h"

namespace {

constexpr int kBounces = 2;

// The items of a scatter object's snapshot. Elements that are hidden one by one show.
class ViewItemSource : public IInstanceSource {
public:
    explicit ViewItemSource(const TViewNode& node) : m_node(node), m_scatter(*node.scatter) {}

    std::string SourceName() const override { return m_node.name; }
    size_t NumPrototypes() const override { return m_scatter.prototypes.size(); }
    std::string PrototypeName(size_t) const override { return m_node.name; }
    const Mesh* PrototypeMesh(size_t p) const override {
        return &m_scatter.prototypes[p].sample->UnitMesh();
    }
    Mtl* PrototypeMtl(size_t p) const override { return m_scatter.prototypes[p].material.get(); }
    size_t NumInstances() const override { return m_scatter.Items().size(); }
    void GetInstances(size_t first, std::span<InstanceRecord> out) const override {
        constexpr float kByte = 1 / 255.f;
        for (size_t k = 0; k < out.size(); ++k) {
            const TViewItem& item = m_scatter.Items()[first + k];
            InstanceRecord& record = out[k];
            record.transform = item.toObject * m_node.toWorld;
            record.prototype = item.prototype;
            record.id = int32_t(item.item);
            record.tint =
                Color{float(item.tint[0]), float(item.tint[1]), float(item.tint[2])} * kByte;
            record.tintBlend = float(item.tintAmount) * kByte;
        }
    }

private:
    const TViewNode& m_node;
    const TViewScatter& m_scatter;
};

}  // namespace

RenderJob::RenderJob(std::shared_ptr<const TViewportScene> scene) : m_scene(std::move(scene)) {
    const TViewLight& light = m_scene->Light();
    m_description.time = m_scene->Time();
    m_description.sun = light.sun;
    m_description.sky = light.sky;
    m_description.haze = light.haze;
    m_description.lights = light.lights;
    for (const TViewNode& node : m_scene->Nodes()) {
        if (node.scatter && !node.scatter->Items().empty()) {
            m_sources.push_back(std::make_unique<ViewItemSource>(node));
            m_description.sources.push_back(m_sources.back().get());
        } else if (!node.scatter && (node.mesh || node.heights)) {
            m_description.nodes.push_back(
                {node.mesh.get(), node.material.get(), node.toWorld, node.heights.get(), nullptr});
        }
    }
    m_tracer = std::make_unique<PictureTracer>(m_description, kBounces);
}

RenderJob::~RenderJob() = default;

RenderSettings RenderJob::Settings(int width, int height) const {
    RenderSettings settings;
    settings.width = width, settings.height = height;
    settings.threads = NumProcessors();
    settings.exposure = m_scene->Light().exposure;
    return settings;
}
