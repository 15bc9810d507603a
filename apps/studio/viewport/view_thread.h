// The thread behind ViewRenderer: one a process while there are views.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "apps/studio/viewport/gl_context.h"
#include "apps/studio/viewport/gl_drawing.h"
#include "apps/studio/viewport/render_job.h"
#include "apps/studio/viewport/view_budget.h"
#include "apps/studio/viewport/view_renderer.h"

class ViewThread {
public:
    // The one that runs, or a new one.
    static std::shared_ptr<ViewThread> Share();
    ViewThread();
    ~ViewThread();

    uint64_t AddView(ViewRenderer::OnPicture onPicture, bool avoidsOpenGl);
    // Returns when no callback of the view runs any more.
    void RemoveView(uint64_t view);
    void Ask(uint64_t view, ViewRequest request);

private:
    enum class Stage { kThin, kWhole, kFine, kPrepare, kSamples, kDone };
    struct View {
        ViewRenderer::OnPicture onPicture;
        bool avoidsOpenGl = false;
        // Under the lock: the newest wish, and its number.
        std::optional<ViewRequest> wish;
        std::atomic<uint64_t> asked{0};
        // The thread's own.
        std::optional<ViewRequest> current;
        uint64_t currentNumber = 0;
        Stage stage = Stage::kDone;
        std::shared_ptr<const TViewportScene> shown;
        std::unique_ptr<RenderJob> job;
        double lastPublished = 0;
    };

    void Run();
    void Start();
    View* NextView(std::unique_lock<std::mutex>& lock);
    void TakeWish(View& view);
    void Step(View& view);
    void DrawStep(View& view);
    void RenderStep(View& view);
    void RenderMoving(View& view);
    void BeginRender(View& view);
    std::optional<ViewPicture> Draw(const View& view, bool isThin);
    std::optional<ViewPicture> DrawByCard(const View& view, const TViewportSettings& settings,
                                          bool isThin);
    std::optional<ViewPicture> DrawBySplatter(const View& view, const TViewportSettings& settings);
    void Publish(View& view, ViewPicture picture);
    void PublishRendered(View& view, int factor);
    bool UsesCard(const View& view) const { return m_drawing && !view.avoidsOpenGl; }
    // Without a card the path tracer stands in for shaded pictures at rest.
    bool StandsIn(const View& view) const;
    std::string NoteOf(const View& view, const char* what) const;
    bool IsStale(const View& view) const {
        return view.asked.load(std::memory_order_relaxed) != view.currentNumber;
    }

    std::mutex m_mutex;
    std::condition_variable m_wake, m_idle;
    bool m_isEnding = false;
    std::map<uint64_t, std::shared_ptr<View>> m_views;
    std::shared_ptr<View> m_busy;  // whose picture is on its way
    uint64_t m_lastView = 0, m_lastServed = 0;

    // The thread's own.
    std::unique_ptr<GlContext> m_context;
    std::unique_ptr<GlDrawing> m_drawing;
    std::string m_whyNoGl;
    ViewBudget m_budget{150'000, 300'000}, m_cardBudget{6'000'000, 1'500'000},
        m_splatBudget{60'000, 300'000};
    std::thread m_thread;
};
