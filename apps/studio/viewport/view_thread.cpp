#include "apps/studio/viewport/view_thread.h"

#include <chrono>
#include <cmath>
#include <stdexcept>

#include <sys/resource.h>
#include <unistd.h>

namespace {

// Of pictures at rest; the fine one follows where the whole one had to be simplified.
constexpr uint64_t kWholeFaces = 500'000, kFineFaces = 4'000'000, kFacesOfCard = 60'000'000;
constexpr int kSmoothing = 4;        // samples a pixel of pictures at rest
constexpr int kMovingFactor = 4;     // pixels a side of a rendered one while the hand moves
constexpr double kPublishing = 0.1;  // seconds between rendered pictures
constexpr int kNiceness = 10;

double Now() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

RenderCamera CameraOf(const TViewportCamera& camera) {
    constexpr float kDegrees = 57.29578f;
    RenderCamera out{Inverse(camera.Transform()), 2 * std::atan(camera.SlopeX()) * kDegrees, 0};
    if (camera.IsParallel()) out.parallelWidth = 2 * camera.SlopeX();
    return out;
}

std::vector<uint8_t> WithFourthByte(const std::vector<uint8_t>& rgb) {
    std::vector<uint8_t> out(rgb.size() / 3 * 4, 255);
    for (size_t i = 0; i < rgb.size() / 3; ++i)
        for (size_t c = 0; c < 3; ++c) out[i * 4 + c] = rgb[i * 3 + c];
    return out;
}

}  // namespace

std::shared_ptr<ViewThread> ViewThread::Share() {
    static std::mutex mutex;
    static std::weak_ptr<ViewThread> running;
    std::lock_guard lock(mutex);
    std::shared_ptr<ViewThread> thread = running.lock();
    if (!thread) running = thread = std::make_shared<ViewThread>();
    return thread;
}

ViewThread::ViewThread() : m_thread([this] { Run(); }) {}

ViewThread::~ViewThread() {
    {
        std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

uint64_t ViewThread::AddView(ViewRenderer::OnPicture onPicture, bool avoidsOpenGl) {
    auto view = std::make_shared<View>();
    view->onPicture = std::move(onPicture), view->avoidsOpenGl = avoidsOpenGl;
    std::lock_guard lock(m_mutex);
    m_views[++m_lastView] = std::move(view);
    return m_lastView;
}

void ViewThread::RemoveView(uint64_t number) {
    std::unique_lock lock(m_mutex);
    std::shared_ptr<View> view = m_views[number];
    m_views.erase(number);
    ++view->asked;  // what it draws is wanted no more
    m_idle.wait(lock, [&] { return m_busy != view; });
}

void ViewThread::Ask(uint64_t number, ViewRequest request) {
    std::lock_guard lock(m_mutex);
    View& view = *m_views[number];
    view.wish = std::move(request);
    ++view.asked;
    m_wake.notify_all();
}

// Where there is no OpenGL, or a part of it fails, the reason is kept and the splatter draws.
void ViewThread::Start() {
    setpriority(PRIO_PROCESS, id_t(gettid()), kNiceness);
    m_context = GlContext::Make(&m_whyNoGl);
    if (!m_context) return;
    try {
        m_drawing = std::make_unique<GlDrawing>();
    } catch (const std::exception& e) {
        m_whyNoGl = e.what();
    }
}

void ViewThread::Run() {
    Start();
    std::unique_lock lock(m_mutex);
    while (View* view = NextView(lock)) {
        TakeWish(*view);
        lock.unlock();
        Step(*view);
        lock.lock();
        m_busy.reset();
        m_idle.notify_all();
    }
    lock.unlock();
    m_drawing.reset();
    m_context.reset();
}

// The next that has something to do, round about; those with a new wish first. Null at the end.
ViewThread::View* ViewThread::NextView(std::unique_lock<std::mutex>& lock) {
    for (;;) {
        if (m_isEnding) return nullptr;
        for (bool isNew : {true, false})
            for (bool isBehind : {true, false})
                for (auto& [number, view] : m_views) {
                    if ((number > m_lastServed) != isBehind) continue;
                    if (isNew ? !view->wish : view->stage == Stage::kDone) continue;
                    m_lastServed = number;
                    m_busy = view;
                    return view.get();
                }
        m_wake.wait(lock);
    }
}

void ViewThread::TakeWish(View& view) {
    if (!view.wish) return;
    view.current = std::move(view.wish);
    view.wish.reset();
    view.currentNumber = view.asked;
    bool isNewScene = view.shown != view.current->scene;
    if (view.current->shading == ViewportShading::kRendered) return BeginRender(view);
    if (!StandsIn(view)) view.job.reset();
    view.stage = view.current->isMoving || isNewScene ? Stage::kThin : Stage::kWhole;
}

// With the first sample, of the scene as it was taken in where it is the same.
void ViewThread::BeginRender(View& view) {
    bool hasJob = view.job && &view.job->Shown() == view.current->scene.get();
    view.stage = hasJob ? Stage::kSamples : Stage::kPrepare;
    if (hasJob) view.lastPublished = -1;
}

bool ViewThread::StandsIn(const View& view) const {
    ViewportShading shading = view.current->shading;
    bool isShaded = shading == ViewportShading::kShaded || shading == ViewportShading::kTextured;
    return isShaded && !UsesCard(view);
}

std::string ViewThread::NoteOf(const View& view, const char* what) const {
    return "without OpenGL (" + (view.avoidsOpenGl ? "it is not wanted" : m_whyNoGl) + "): " + what;
}

void ViewThread::Step(View& view) {
    try {
        if (view.stage == Stage::kPrepare || view.stage == Stage::kSamples)
            RenderStep(view);
        else
            DrawStep(view);
    } catch (const std::exception& e) {
        // A card that ran out of memory, most likely: from now on without it.
        view.stage = m_drawing ? Stage::kThin : Stage::kDone;
        m_drawing.reset();
        m_whyNoGl = e.what();
    }
}

// --- drawn

void ViewThread::DrawStep(View& view) {
    bool isThin = view.stage == Stage::kThin;
    std::optional<ViewPicture> picture = Draw(view, isThin);
    if (!picture) {  // the next wish waits
        view.stage = Stage::kDone;
        return;
    }
    bool isFine = view.stage == Stage::kFine;
    view.stage = Stage::kDone;
    if (!view.current->isMoving && isThin) view.stage = Stage::kWhole;
    if (!view.current->isMoving && !isThin && StandsIn(view)) {
        picture->isWhole = false;
        BeginRender(view);
    } else if (!view.current->isMoving && !isThin && !isFine && picture->isSimplified)
        view.stage = Stage::kFine;
    view.shown = view.current->scene;
    Publish(view, std::move(*picture));
}

std::optional<ViewPicture> ViewThread::Draw(const View& view, bool isThin) {
    bool usesCard = UsesCard(view);
    bool isHardware = usesCard && !m_context->IsSoftware();
    ViewBudget& budget = !usesCard ? m_splatBudget : isHardware ? m_cardBudget : m_budget;
    TViewportSettings settings = SettingsOf(*view.current);
    settings.isNavigating = isThin;
    settings.maxFaces = isHardware                   ? kFacesOfCard
                        : view.stage == Stage::kFine ? kFineFaces
                                                     : kWholeFaces;
    if (isThin) settings.maxFaces = budget.Faces(), settings.maxElements = budget.Dots();
    double start = Now();
    std::optional<ViewPicture> picture =
        usesCard ? DrawByCard(view, settings, isThin) : DrawBySplatter(view, settings);
    if (!picture) return picture;
    picture->seconds = Now() - start;
    if (isThin) budget.Learn(picture->seconds, picture->counts.itemsDrawn == 0);
    return picture;
}

std::optional<ViewPicture> ViewThread::DrawByCard(const View& view,
                                                  const TViewportSettings& settings, bool isThin) {
    // The first answer comes in any case; the whole picture may be given up.
    return m_drawing->Draw(*view.current, settings, isThin ? 1 : kSmoothing,
                           [&] { return !isThin && IsStale(view); });
}

std::optional<ViewPicture> ViewThread::DrawBySplatter(const View& view,
                                                      const TViewportSettings& settings) {
    const ViewRequest& request = *view.current;
    TViewportPicture drawn = DrawViewport(*request.scene, request.camera, settings);
    ViewPicture picture;
    picture.width = drawn.width, picture.height = drawn.height;
    picture.rgbx = WithFourthByte(drawn.rgb);
    picture.camera = request.camera, picture.scene = request.scene;
    picture.counts = drawn.counts;
    picture.isWhole = settings.maxElements == 0;
    picture.note = NoteOf(view, "plain colours");
    return picture;
}

// --- rendered

void ViewThread::RenderStep(View& view) {
    const ViewRequest& request = *view.current;
    if (view.stage == Stage::kPrepare) {
        // Taking the scene in may last seconds: until then there is an ordinary picture.
        bool hasPicture = request.shading != ViewportShading::kRendered;
        if (std::optional<ViewPicture> picture = hasPicture ? std::nullopt : Draw(view, true)) {
            picture->isWhole = false, picture->wantedSamples = kViewSamples;
            view.shown = request.scene;
            Publish(view, std::move(*picture));
        }
        if (IsStale(view)) {
            view.stage = Stage::kDone;
            return;
        }
        view.job = std::make_unique<RenderJob>(request.scene);
        view.stage = Stage::kSamples, view.lastPublished = -1;
    }
    if (request.isMoving) return RenderMoving(view);
    PictureTracer& tracer = view.job->Tracer();
    if (view.lastPublished < 0) {
        tracer.Begin(CameraOf(request.camera),
                     view.job->Settings(request.camera.Width(), request.camera.Height()));
        view.lastPublished = 0;
    }
    if (!tracer.AddSamples(1, [&] { return IsStale(view); })) {
        view.stage = Stage::kDone;
        return;
    }
    bool isLast = tracer.NumSamples() >= kViewSamples;
    if (isLast) view.stage = Stage::kDone;
    if (isLast || tracer.NumSamples() == 1 || Now() - view.lastPublished > kPublishing) {
        PublishRendered(view, 1);
        view.lastPublished = Now();
    }
}

// One sample for many pixels.
void ViewThread::RenderMoving(View& view) {
    const TViewportCamera& camera = view.current->camera;
    view.job->Tracer().Begin(
        CameraOf(camera),
        view.job->Settings((camera.Width() + kMovingFactor - 1) / kMovingFactor,
                           (camera.Height() + kMovingFactor - 1) / kMovingFactor));
    view.job->Tracer().AddSamples(1);
    view.stage = Stage::kDone;
    PublishRendered(view, kMovingFactor);
}

void ViewThread::PublishRendered(View& view, int factor) {
    const ViewRequest& request = *view.current;
    Picture light = view.job->Tracer().Develop();
    ViewPicture picture;
    picture.width = request.camera.Width(), picture.height = request.camera.Height();
    picture.camera = request.camera, picture.scene = request.scene;
    picture.samples = view.job->Tracer().NumSamples(), picture.wantedSamples = kViewSamples;
    picture.isWhole = picture.samples >= kViewSamples;
    if (StandsIn(view)) picture.note = NoteOf(view, "the ray tracer's picture");
    std::vector<uint8_t> shown;
    for (const Color& pixel : light.pixels) {
        Color c = light.Shown(pixel);
        for (float v : {c.r, c.g, c.b})
            shown.push_back(uint8_t(std::clamp(v, 0.f, 1.f) * 255 + 0.5f));
    }
    picture.rgbx.assign(size_t(picture.width) * size_t(picture.height) * 4, 255);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x) {
            size_t from = size_t(y / factor) * size_t(light.width) + size_t(x / factor);
            size_t to = size_t(y) * size_t(picture.width) + size_t(x);
            std::copy_n(&shown[from * 3], 3, &picture.rgbx[to * 4]);
        }
    Publish(view, std::move(picture));
}

void ViewThread::Publish(View& view, ViewPicture picture) {
    {
        std::lock_guard lock(m_mutex);
        bool isThere = false;
        for (auto& [number, known] : m_views) isThere |= known.get() == &view;
        if (!isThere) return;
    }
    view.onPicture(std::make_shared<const ViewPicture>(std::move(picture)));
}

// --- views

ViewRenderer::ViewRenderer(OnPicture onPicture, bool avoidsOpenGl)
    : m_thread(ViewThread::Share()),
      m_view(m_thread->AddView(std::move(onPicture), avoidsOpenGl)) {}

ViewRenderer::~ViewRenderer() { m_thread->RemoveView(m_view); }

void ViewRenderer::Ask(ViewRequest request) { m_thread->Ask(m_view, std::move(request)); }
