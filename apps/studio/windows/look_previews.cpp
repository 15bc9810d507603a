#include "apps/studio/windows/look_previews.h"

#include <algorithm>

#include "host/geom/primitives.h"
#include "host/render/picture_tracer.h"
#include "host/scene/texmaps.h"

namespace {

constexpr int kSamples = 16, kBounces = 2;
constexpr float kRadius = 20;  // scene units; patterns with lengths show a few of their cells

struct Stage {
    Mesh sphere = MakeSphere(kRadius, 64);
    Mesh ground = MakePlane(40 * kRadius, 40 * kRadius);
    std::shared_ptr<StandardMtl> checks = std::make_shared<StandardMtl>();

    Stage() {
        auto map = std::make_shared<CheckerTex>();
        map->color1 = Color{0.42f, 0.42f, 0.42f};
        map->color2 = Color{0.5f, 0.5f, 0.5f};
        map->tiling = Point2{20, 20};
        checks->diffuseMap = map;
    }
};

RenderCamera Camera() {
    RenderCamera camera;
    Point3 place{0, -5 * kRadius, 1.1f * kRadius};
    Point3 backward = Normalize(place), right{1, 0, 0};
    Point3 up = CrossProd(backward, right);
    camera.transform.row[0] = right, camera.transform.row[1] = up;
    camera.transform.row[2] = backward;
    camera.transform.SetTrans(place);
    camera.fovDegrees = 28;
    return camera;
}

QImage ImageOf(const Picture& picture) {
    QImage image(picture.width, picture.height, QImage::Format_RGB32);
    auto part = [](float v) { return int(std::clamp(v, 0.0f, 1.0f) * 255 + 0.5f); };
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            Color c = picture.Shown(picture.pixels[size_t(y * picture.width + x)]);
            image.setPixel(x, y, qRgb(part(c.r), part(c.g), part(c.b)));
        }
    return image;
}

}  // namespace

QImage TraceSphere(Mtl& material, int side, const std::function<bool()>& isStale) {
    Stage stage;
    RenderScene scene;
    scene.camera = Camera();
    scene.sun.direction = {-0.55f, -0.6f, 0.8f};
    scene.sun.angleDegrees = 8;
    scene.sky.constant = Color{0.35f, 0.37f, 0.4f};
    scene.nodes.push_back({&stage.sphere, &material, Matrix3(), nullptr, nullptr});
    scene.nodes.push_back({&stage.ground, stage.checks.get(),
                           Matrix3::Translation({0, 0, -kRadius}), nullptr, nullptr});
    PictureTracer tracer(scene, kBounces);
    RenderSettings settings;
    settings.width = settings.height = side;
    settings.samples = kSamples;
    tracer.Begin(scene.camera, settings);
    while (tracer.NumSamples() < kSamples)
        if (!tracer.AddSamples(2, isStale)) return {};
    return ImageOf(tracer.Develop());
}

LookPreviews::LookPreviews(std::function<void(Key)> made)
    : m_made(std::move(made)), m_worker([this] { Work(); }) {}

LookPreviews::~LookPreviews() {
    {
        std::lock_guard lock(m_mutex);
        m_ends = true;
        m_wishes.clear();
    }
    m_wake.notify_all();
    m_worker.join();
}

const QImage* LookPreviews::Find(Key key) const {
    auto found = m_pictures.find(key);
    return found == m_pictures.end() ? nullptr : &found->second;
}

bool LookPreviews::IsWished(Key key) const {
    if (Find(key)) return true;
    std::lock_guard lock(m_mutex);
    return (m_isTracing && m_traced == key) ||
           std::any_of(m_wishes.begin(), m_wishes.end(),
                       [key](const Job& job) { return job.key == key; });
}

void LookPreviews::Wish(Key key, std::shared_ptr<Mtl> material) {
    if (!material || IsWished(key)) return;
    {
        std::lock_guard lock(m_mutex);
        m_wishes.push_back({key, std::move(material)});
        if (m_wishes.size() > kMaxWishes) m_wishes.pop_front();
    }
    m_wake.notify_all();
}

void LookPreviews::DropWishes() {
    std::lock_guard lock(m_mutex);
    m_wishes.clear();
}

void LookPreviews::Work() {
    while (true) {
        Job job;
        {
            std::unique_lock lock(m_mutex);
            m_isTracing = false;
            m_wake.wait(lock, [this] { return m_ends || !m_wishes.empty(); });
            if (m_ends) return;
            job = std::move(m_wishes.back());
            m_wishes.pop_back();
            m_traced = job.key;
            m_isTracing = true;
        }
        QImage image = TraceSphere(*job.material, job.key.side, [this] {
            std::lock_guard lock(m_mutex);
            return m_ends;
        });
        // The copy goes where it was made: in the window's thread.
        QMetaObject::invokeMethod(
            &m_receiver, [this, job = std::move(job), image] { Take(job, image); },
            Qt::QueuedConnection);
    }
}

void LookPreviews::Take(const Job& job, const QImage& image) {
    if (image.isNull()) return;
    if (m_pictures.size() >= kMaxPictures) m_pictures.clear();
    m_pictures[job.key] = image;
    m_made(job.key);
}
