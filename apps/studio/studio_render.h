// A picture of a copy of the scene, made beside all other work: the scene may change meanwhile, or
// go.
#pragma once

#include <functional>
#include <string>
#include <thread>

#include "apps/dravin/commands.h"
#include "apps/studio/studio_console.h"
#include "host/render/render_outcome.h"

class StudioRender {
public:
    // copy: of Session::Copy; path: of its scene. ended: called by the render's thread, at last.
    StudioRender(std::string copy, std::string path, const RenderOptions& options,
                 JobConsole::Tell tell, std::function<void()> ended);
    ~StudioRender();  // cancels, and waits for the end
    StudioRender(const StudioRender&) = delete;
    StudioRender& operator=(const StudioRender&) = delete;

    void Cancel() { m_console.isCancelled = true; }
    float Fraction() const { return m_console.Fraction(); }
    // After the end: with no picture when it failed, which has been told, or was cancelled.
    const RenderOutcome& Outcome() const { return m_outcome; }

private:
    void Run(std::string copy, const std::string& path, const RenderOptions& options);

    JobConsole m_console;
    RenderOutcome m_outcome;
    std::thread m_thread;
};
