#include "apps/studio/studio_session.h"

#include <algorithm>

#include <fmt/format.h>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/panels/param_gesture.h"
#include "Dravin/viewport/viewport_scene.h"
#include "apps/dravin/session.h"
#include "apps/studio/studio_console.h"

namespace {

constexpr int kNagMs = 10;
// While a number is dragged, builds that take no longer than this are let finish, so that the view
// follows; others give way to the newest wish.
constexpr int kQuickViewMs = 300;
// Where building all items takes longer, a part of them answers the drag of a number first.
constexpr int kThinAboveMs = 50, kThinnedItems = 100'000;
constexpr int kRestMs = 120;  // without a move of the hand, before all items are built

std::string Lines(const std::vector<TPanelLine>& lines) {
    std::string text;
    for (const TPanelLine& line : lines)
        if (!line.label.empty()) text += fmt::format("{}\t{}\n", line.label, line.value);
    return text;
}

ObjectReport ReportOf(const INode& node, const TDravinBuild& build) {
    ObjectReport report;
    report.handle = node.GetHandle();
    report.numItems = build.Statistics().itemCount;
    report.buildMs = build.Statistics().buildMs;
    for (const std::string& line : build.Message())
        if (!line.empty()) report.message += (report.message.empty() ? "" : " ") + line;
    if (!build.Failure().empty()) report.message = build.Failure();
    if (!build.Refusal().empty()) report.message += " " + build.Refusal();
    report.statistics = Lines(build.Panel());
    return report;
}

}  // namespace

StudioSession::StudioSession(MakeInterface makeInterface)
    : m_makeInterface(std::move(makeInterface)),
      m_commands(MakeCommandTable()),
      m_nagger(std::make_unique<QTimer>()),
      m_rest(std::make_unique<QTimer>()) {
    m_console = std::make_unique<StudioConsole>([this](StudioConsole::Kind kind, auto& text) {
        auto level = MessageLevel(int(kind));
        QMetaObject::invokeMethod(
            &m_receiver, [this, level, text = std::string(text)] { told.Send(level, text); },
            Qt::QueuedConnection);
    });
    QObject::connect(m_nagger.get(), &QTimer::timeout, &m_receiver, [this] { StopView(); });
    m_nagger->setInterval(kNagMs);
    m_rest->setSingleShot(true);
    m_rest->setInterval(kRestMs);
    QObject::connect(m_rest.get(), &QTimer::timeout, &m_receiver, [this] {
        m_viewWished = m_handRests = true;
        Pump();
    });
    NewScene();
    while (!m_session) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

StudioSession::~StudioSession() {
    m_waiting.clear();
    m_viewWished = false;
    m_gesture.reset();
    m_rendering.reset();
    if (m_running) {
        CancelJob();
        while (m_running) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, kNagMs);
    }
    DropSession();
}

void StudioSession::DropSession() {
    if (!m_session) return;
    ContextScope scope(m_session->Host());
    m_redraws.Disconnect();
    m_gesture.reset();
    m_toolGesture.reset();
    m_session.reset();
}

void StudioSession::Tell(MessageLevel level, const std::string& text) { told.Send(level, text); }

IUserInterface& StudioSession::Ui() { return m_session->Host().UserInterface(); }

// --- edits

bool StudioSession::Refuse(const std::string& what) {
    if (!IsBusy()) return false;
    Tell(MessageLevel::kWarning,
         fmt::format("{}: wait until \"{}\" has ended, or cancel it", what, m_running->name));
    return true;
}

void StudioSession::Do(std::function<void(Scene&)> work, bool isChange) {
    if (isChange && Refuse("Nothing has changed")) return Refresh();
    m_waiting.push_back({std::move(work), isChange});
    Pump();
}

void StudioSession::Pump() {
    if (m_isEditing) return;
    while (!m_waiting.empty()) {
        if (m_running) {
            if (!m_running->isView || ViewMayFinish()) return m_nagger->stop();
            StopView();
            return m_nagger->start();
        }
        Waiting next = std::move(m_waiting.front());
        m_waiting.pop_front();
        RunEdit(next);
    }
    m_nagger->stop();
    if (!m_running && m_viewWished) StartView();
}

bool StudioSession::ViewMayFinish() const {
    int quick = m_isDragging ? kThinAboveMs : kQuickViewMs;
    return m_isPlaying || (GestureWaits() && (m_runsThinned || m_lastViewMs <= quick));
}

void StudioSession::LookFrom(const std::optional<ViewState>& view, NodeHandle camera) {
    m_lookWish = SeenFrom{view, camera};
    if (IsFree() && !m_isEditing && m_session) TellView();
}

void StudioSession::TellView() {
    if (!m_lookWish) return;
    SeenFrom look = *std::exchange(m_lookWish, std::nullopt);
    ContextScope scope(m_session->Host());
    Scene& scene = m_session->GetScene();
    INode* camera = scene.FindHandle(look.camera);
    scene.SetView(look.view);
    scene.SetViewCamera(camera ? std::static_pointer_cast<INode>(camera->shared_from_this())
                               : nullptr);
}

void StudioSession::RunEdit(const Waiting& waiting) {
    TellView();
    m_isEditing = true;
    ContextScope scope(m_session->Host());
    waiting.edit(m_session->GetScene());
    m_isEditing = false;
    if (waiting.isChange) NoteChange();
}

// Marks and names follow the undo list; whoever shows the scene follows that.
void StudioSession::NoteChange() {
    Scene& scene = m_session->GetScene();
    m_marks.Done(scene.undo);
    m_undoName = scene.undo.UndoName();
    m_redoName = scene.undo.RedoName();
    m_viewWished = true;
    SendChanged();
}

// Listeners read the scene; what they ask for comes afterwards.
void StudioSession::SendChanged() {
    m_isEditing = true;
    ContextScope scope(m_session->Host());
    changed.Send(m_session->GetScene());
    m_isEditing = false;
}

void StudioSession::Study(const std::string& name, std::function<void(Scene&)> work,
                          std::function<void()> done) {
    auto study = [this, work = std::move(work)] {
        ContextScope scope(m_session->Host());
        work(m_session->GetScene());
    };
    Look([=, this, study = std::move(study), done = std::move(done)](Scene&) {
        Start({name, false, study, done, true});
    });
}

void StudioSession::Undo() {
    if (GestureWaits()) return Tell(MessageLevel::kNote, "Undo waits for the end of the drag");
    Do([this](Scene& scene) {
        if (scene.undo.Undo()) m_marks.Undone(scene.undo);
    });
}

void StudioSession::Redo() {
    if (GestureWaits()) return;
    Do([this](Scene& scene) {
        if (scene.undo.Redo()) m_marks.Redone(scene.undo);
    });
}

void StudioSession::GoToStep(size_t numSteps) {
    if (m_gesture) return Tell(MessageLevel::kNote, "Undo waits for the end of the drag");
    if (numSteps == m_marks.NumUndoSteps()) return;
    Do([this, numSteps](Scene& scene) {
        while (scene.undo.NumUndoSteps() > numSteps && scene.undo.Undo())
            m_marks.Undone(scene.undo);
        while (scene.undo.NumUndoSteps() < numSteps && scene.undo.Redo())
            m_marks.Redone(scene.undo);
    });
}

void StudioSession::Refresh() {
    Look([this](Scene& scene) { changed.Send(scene); });
}

// --- time

void StudioSession::SetTime(TimeValue t) {
    m_timeWish = t;
    if (IsBusy() || std::exchange(m_timeWaits, true)) return;
    Do([this](Scene& scene) {
        m_timeWaits = false;
        scene.SetTime(m_timeWish);
    });
}

// --- panels

TPanel StudioSession::Panel(Scene& scene) {
    std::vector<NodeHandle> selected;
    for (INode* node : scene.Selection())
        if (dynamic_cast<TDravin*>(node->GetObjectRef())) selected.push_back(node->GetHandle());
    if (!selected.empty()) m_panelNodes = selected;
    std::vector<TDravin*> objects;
    for (NodeHandle handle : m_panelNodes) {
        INode* node = scene.FindHandle(handle);
        auto* object = node ? dynamic_cast<TDravin*>(node->GetObjectRef()) : nullptr;
        if (object && std::find(objects.begin(), objects.end(), object) == objects.end())
            objects.push_back(object);
    }
    return {scene, std::move(objects)};
}

void StudioSession::BeginDrag(TParamKey key) {
    if (IsBusy()) return;
    EndDrag(true);
    m_isDragging = true;
    m_dragWaits = false;
    Look([this, key](Scene& scene) {
        m_gesture = std::make_unique<TParamGesture>(Panel(scene), key);
    });
}

void StudioSession::Drag(double offset) {
    m_dragWish = offset;
    if (!m_isDragging) return;
    if (std::exchange(m_dragWaits, true)) return;
    Do([this](Scene&) {
        m_dragWaits = false;
        if (m_gesture) m_gesture->PreviewOffset(m_dragWish);
    });
}

void StudioSession::EndDrag(bool keep) {
    if (!std::exchange(m_isDragging, false)) return;
    Do([this, keep](Scene&) {
        if (!m_gesture) return;
        keep ? m_gesture->Commit() : m_gesture->Cancel();
        m_gesture.reset();
    });
}

// --- jobs

void RunGuarded(const std::string& name, const std::function<void()>& work) {
    try {
        work();
    } catch (const std::bad_alloc&) {
        PrintError(name + ": out of memory");
    } catch (const std::exception& error) {
        PrintError(name + ": " + error.what());
    }
}

void StudioSession::Start(Job job) {
    m_console->Start();
    m_stop = false;
    m_running = std::make_unique<Job>(std::move(job));
    // A thread each: what a job leaves behind in its thread is gone with it.
    m_thread = std::thread([this, work = m_running->work, name = m_running->name] {
        RunGuarded(name, work);
        QMetaObject::invokeMethod(
            &m_receiver, [this] { Ended(); }, Qt::QueuedConnection);
    });
    activityChanged.Send();
}

void StudioSession::Ended() {
    m_thread.join();
    std::unique_ptr<Job> job = std::move(m_running);
    job->ended();
    activityChanged.Send();
    Pump();
}

void StudioSession::StopView() {
    if (!m_running || !m_running->isView) return m_nagger->stop();
    m_stop = true;
    if (TDravin* object = m_building) object->Build().Cancel();
}

std::string StudioSession::Activity() const {
    return m_running ? m_running->name : IsRendering() ? "Rendering" : "";
}

void StudioSession::CancelJob() {
    if (!m_running) return CancelRender();
    m_console->isCancelled = true;
    m_stop = true;
    if (TDravin* object = m_building) object->Build().Cancel();
}

float StudioSession::Progress() const {
    if (!m_running) return IsRendering() ? RenderProgress() : 1;
    if (TDravin* object = m_building) return object->Build().Progress().Fraction();
    return m_console->Fraction();
}

void StudioSession::StartView() {
    m_viewWished = false;
    TellView();
    m_rest->stop();
    bool handRests = std::exchange(m_handRests, false);
    m_runsThinned = m_isDragging && !handRests && m_lastViewMs > kThinAboveMs;
    auto result = std::make_shared<ViewResult>();
    result->view = m_view;
    QElapsedTimer timer;
    timer.start();
    Job job{"Building", true, [=, this] { BuildView(m_runsThinned, *result); },
            [=, this] {
                m_session->Host().TakeRedraw();  // what the build itself asked for is drawn by it
                if (m_stop) {
                    m_viewWished = !m_console->isCancelled;
                    return;
                }
                m_isThinned = result->isThinned;
                if (m_isThinned)
                    m_rest->start();
                else
                    m_lastViewMs = int(timer.elapsed());
                m_view = result->view;
                m_reports = std::move(result->reports);
                viewReady.Send();
            }};
    Start(std::move(job));
}

void StudioSession::BuildView(bool mayThin, ViewResult& result) {
    ContextScope scope(m_session->Host());
    Scene& scene = m_session->GetScene();
    TimeValue t = scene.GetTime();
    for (INode* node : scene.Nodes()) {
        auto* object = dynamic_cast<TDravin*>(node->GetObjectRef());
        if (!object || node->IsHidden(t) || m_stop) continue;
        m_building = object;
        if (mayThin && BuildThinned(*object, t))
            result.isThinned = true;
        else
            node->EvalWorldState(t);
        m_building = nullptr;
        result.reports.push_back(ReportOf(*node, object->Build()));
    }
    int threads = std::max(int(std::thread::hardware_concurrency()), 1);
    if (!m_stop) result.view = MakeViewportScene(scene, t, threads, result.view.get());
}

// False where nothing is to be built, or items stand one by one as somebody has put them.
bool StudioSession::BuildThinned(TDravin& object, TimeValue t) const {
    bool isScattered = object.Block(kEditionParams).GetInt(editionParams::kMode, t) == 0;
    if (!isScattered || !object.NeedsBuild(t)) return false;
    TBuildFlags flags;
    flags.displayLimit = kThinnedItems;
    object.Build().BuildMesh(t, flags);
    object.Build().SetValidity(Interval::Never());
    return true;
}

void StudioSession::Run(const std::string& command, const std::string& target, TArguments arguments,
                        CommandDone done) {
    // The scene must be free: a job is begun like an edit, in its turn.
    if (Refuse(command)) return;
    Look([=, this, arguments = std::move(arguments)](Scene&) {
        auto result = std::make_shared<TCommandResult>(
            TCommandResult::Error(command + " has not been finished"));
        auto work = [=, this] {
            ContextScope scope(m_session->Host());
            *result = m_session->Run(m_commands, command, target, arguments);
        };
        auto ended = [=, this] {
            for (const std::string& warning : result->warnings)
                Tell(MessageLevel::kWarning, warning);
            if (!*result) Tell(MessageLevel::kError, result->error);
            NoteChange();
            if (done) done(*result);
        };
        Start({m_commands.Find(command) ? command : "Command", false, work, ended});
    });
}
