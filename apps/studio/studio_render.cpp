// Pictures of the scene that is open.
#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "apps/studio/studio_console.h"
#include "apps/studio/studio_session.h"
#include "host/render/render_outcome.h"

void StudioSession::Render(const RenderOptions& options, RenderDone done) {
    if (Refuse("Render")) return;
    EndDrag(true);
    Look([=, this, done = std::move(done)](Scene&) {
        auto outcome = std::make_shared<RenderOutcome>();
        auto code = std::make_shared<ExitCode>(kExitFailed);
        auto work = [=, this] {
            ContextScope scope(m_session->Host());
            *code = RenderOpenScene(*m_session, options, outcome.get());
        };
        auto ended = [=, this] {
            m_viewWished = true;  // what stood for the render is no view
            if (*code != kExitDone || m_console->isCancelled) outcome->picture = {};
            done(*outcome);
        };
        Start({"Rendering", false, work, ended});
    });
}
