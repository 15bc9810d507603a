#include "apps/studio/studio_render.h"

#include "apps/dravin/session.h"
#include "apps/studio/studio_session.h"

StudioRender::StudioRender(std::string copy, std::string path, const RenderOptions& options,
                           JobConsole::Tell tell, std::function<void()> ended)
    : m_console(std::move(tell)) {
    m_thread = std::thread([this, copy = std::move(copy), path = std::move(path), options,
                            ended = std::move(ended)]() mutable {
        ThreadConsole console(m_console);
        RunGuarded("Rendering", [&] { Run(std::move(copy), path, options); });
        ended();
    });
}

StudioRender::~StudioRender() {
    Cancel();
    m_thread.join();
}

void StudioRender::Run(std::string copy, const std::string& path, const RenderOptions& options) {
    Session session;
    ExitCode code = session.ReadCopy(copy, path);
    copy = {};
    RenderOutcome outcome;
    if (code == kExitDone) code = RenderOpenScene(session, options, &outcome);
    if (code == kExitDone && !m_console.isCancelled) m_outcome = std::move(outcome);
}

// --- the session's side

struct StudioSession::Rendering {
    RenderDone done;
    std::unique_ptr<StudioRender> work;  // null until the copy is there
};

bool StudioSession::IsRendering() const { return m_rendering != nullptr; }

float StudioSession::RenderProgress() const {
    return m_rendering && m_rendering->work ? m_rendering->work->Fraction() : 0;
}

void StudioSession::Render(const RenderOptions& options, RenderDone done) {
    if (Refuse("Render")) return;
    if (m_rendering)
        return Tell(MessageLevel::kWarning, "Render: wait for the picture before, or cancel it");
    EndDrag(true);
    m_rendering = std::make_shared<Rendering>(Rendering{std::move(done), nullptr});
    auto render = [=, this, rendering = m_rendering](Scene& scene) {
        if (rendering != m_rendering) return;
        auto copy = std::make_shared<std::optional<std::string>>();
        auto work = [=, this] {
            ContextScope scope(m_session->Host());
            *copy = m_session->Copy();
        };
        auto ended = [=, this, path = scene.path] {
            if (rendering != m_rendering) return;
            if (!*copy || m_console->isCancelled) return EndRender();
            rendering->work = std::make_unique<StudioRender>(
                std::move(**copy), path, options, m_console->Teller(), [this] {
                    QMetaObject::invokeMethod(
                        &m_receiver, [this] { EndRender(); }, Qt::QueuedConnection);
                });
        };
        Start({"Rendering", false, work, ended, true});
    };
    Look(render);
    activityChanged.Send();
}

void StudioSession::CancelRender() {
    if (!m_rendering) return;
    if (m_rendering->work) return m_rendering->work->Cancel();
    EndRender();
}

// Its scene goes before it has been copied.
void StudioSession::EndWaitingRender() {
    if (m_rendering && !m_rendering->work) EndRender();
}

void StudioSession::EndRender() {
    std::shared_ptr<Rendering> rendering = std::exchange(m_rendering, nullptr);
    if (!rendering) return;
    RenderOutcome outcome;
    if (rendering->work) outcome = rendering->work->Outcome();
    rendering->work.reset();
    rendering->done(outcome);
    activityChanged.Send();
}
