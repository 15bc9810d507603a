// The open scene, and all work on it.
//
// The window's thread owns the scene. Long work (builds for the view, files, commands) runs in a
// thread beside it, one job at a time, and meanwhile the window's thread keeps out of the scene
// altogether: whoever wants to read or change it hands a function to Do, which calls it at once
// while nobody works, else as soon as the job has ended. A build for the view gives way: it is
// cancelled, and begun anew afterwards. Functions are called in the order they came.
//
// All members are for the window's thread.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <QObject>

#include "Dravin/commands/command_table.h"
#include "Dravin/panels/panel_values.h"
#include "apps/studio/undo_marks.h"
#include "host/base/signal.h"
#include "host/params/hold.h"
#include "host/scene/scene.h"

class IUserInterface;
struct RenderOptions;
struct RenderOutcome;
class Session;
class StudioConsole;
class TDravin;
class TParamGesture;
class TViewportScene;
class QTimer;

// Calls work; what it throws is told as an error of `name`, and must not take the scene with it.
void RunGuarded(const std::string& name, const std::function<void()>& work);

enum class MessageLevel { kNote, kWarning, kError };

// What the last build of a scatter object left, as texts.
struct ObjectReport {
    NodeHandle handle = 0;
    int64_t numItems = 0;
    int buildMs = 0;
    std::string message;     // what is wrong, or worth knowing; empty: nothing
    std::string statistics;  // lines
};

class StudioSession {
public:
    using MakeInterface = std::function<std::unique_ptr<IUserInterface>()>;

    // Opens an empty scene. makeInterface: the user-interface port of each session.
    explicit StudioSession(MakeInterface makeInterface);
    ~StudioSession();  // waits for the job
    StudioSession(const StudioSession&) = delete;
    StudioSession& operator=(const StudioSession&) = delete;

    // --- the scene

    // Calls work(scene) when the scene is free. isChange: marks and views follow it.
    void Do(std::function<void(Scene&)> work, bool isChange = true);
    // A read: nothing follows from it.
    void Look(std::function<void(Scene&)> work) { Do(std::move(work), false); }
    // A read that takes a while, beside the window and quietly; changes wait for its end. done: in
    // the window's thread.
    void Study(const std::string& name, std::function<void(Scene&)> work,
               std::function<void()> done);
    // Whoever shows the scene shows it again, as after a change.
    void Refresh();
    // A job that is no build for the view runs: changes are refused until it has ended.
    // Behind a quiet job they wait.
    bool IsBusy() const { return m_running && !m_running->isView && !m_running->isQuiet; }
    bool IsFree() const { return !m_running && m_waiting.empty(); }

    // Replaces the scene by that of a file, a demo folder or an empty one; when that fails, all
    // stays as it was. done: after the job, with the error, which has been shown.
    using Done = std::function<void(const std::string& error)>;
    void Open(const std::string& path, Done done = {});
    // scene: of those that the demo writes into its folder.
    void OpenDemo(const std::string& folder, const std::string& scene = "forest.json",
                  Done done = {});
    void NewScene();
    void Save(const std::string& path, Done done = {});
    const std::string& Path() const { return m_path; }  // empty: never saved
    // Writes a copy, quietly; the scene keeps its path and stays unsaved.
    void SaveCopy(const std::string& path, Done done);
    // Opens a copy as the scene of `path`, empty for never saved, with changes that are not saved.
    void OpenCopy(const std::string& copy, const std::string& path, Done done = {});

    // A command of the table, beside the window; its error is shown.
    using CommandDone = std::function<void(const TCommandResult&)>;
    void Run(const std::string& command, const std::string& target, TArguments arguments,
             CommandDone done = {});
    const TCommandTable& Commands() const { return m_commands; }

    // A picture of the scene as it is now, by its renderer, beside everything else: the scene may
    // be changed, replaced and closed meanwhile. One at a time. done: with no picture when it
    // failed, which has been told, or was cancelled.
    using RenderDone = std::function<void(const RenderOutcome&)>;
    void Render(const RenderOptions& options, RenderDone done);
    bool IsRendering() const;
    float RenderProgress() const;  // 0..1
    void CancelRender();

    void Undo();
    void Redo();
    const std::string& UndoName() const { return m_undoName; }
    const std::string& RedoName() const { return m_redoName; }
    // To where this many steps of all have been done.
    void GoToStep(size_t numSteps);
    const UndoMarks& Marks() const { return m_marks; }
    bool IsModified() const { return m_marks.Current() != m_savedMark; }
    // Of the scene as it is: a number that comes again with the state, by undo and redo.
    uint64_t State() const { return m_marks.Current(); }

    // --- time

    // The newest wish counts; no undo step.
    void SetTime(TimeValue t);
    // While frames follow each other, builds for the view are let finish.
    void SetPlaying(bool isPlaying) { m_isPlaying = isPlaying; }

    // --- panels

    // The selected scatter objects; where none is selected, those selected last.
    TPanel Panel(Scene& scene);
    // A drag of a number: moves follow the newest wish; one at a time.
    void BeginDrag(TParamKey key);
    void Drag(double offset);
    void EndDrag(bool keep);
    bool IsDragging() const { return m_isDragging; }

    // A tool's gesture: previews follow the newest wish, and one undo step remains, or nothing.
    // Undo and redo wait for its end. False: a job has the scene.
    bool BeginGesture(const std::string& stepName);
    // change: from the state at the beginning; it is called again for each preview and at the end.
    // Through the scene's undo list nothing may go, as commands that name their own steps do.
    void Preview(std::function<void(Scene&)> change);
    // Keeps what `change` makes as one undo step; none takes the previews back.
    void EndGesture(std::function<void(Scene&)> change = {});
    bool HasGesture() const { return m_toolGesture != nullptr; }

    // --- views

    const std::shared_ptr<const TViewportScene>& View() const { return m_view; }
    const std::vector<ObjectReport>& Reports() const { return m_reports; }
    // While a number is dragged, objects of many items answer with some of them; the others follow
    // when the hand rests.
    bool IsThinned() const { return m_isThinned; }
    // How far the running job is, 0..1, its name, and its end. The view's is "Building". Where no
    // job runs these are the render's.
    float Progress() const;
    std::string Activity() const;
    void CancelJob();

    // What the active view shows, and through which camera (0: none, a view of its own); the scene
    // hears it as soon as it is free. Neither an undo step nor a change to be saved.
    // view: none for one without perspective.
    void LookFrom(const std::optional<ViewState>& view, NodeHandle camera);

    IUserInterface& Ui();

    // Who shows things listens. The scene is free while sceneReplaced and changed are sent.
    Signal<Scene&> sceneReplaced;
    Signal<Scene&> changed;
    Signal<> viewReady;
    Signal<> activityChanged;
    Signal<MessageLevel, const std::string&> told;

private:
    struct Job {
        std::string name;
        bool isView = false;
        std::function<void()> work;   // in the job's thread
        std::function<void()> ended;  // in the window's
        bool isQuiet = false;         // nobody has asked for it
    };
    struct Waiting {
        std::function<void(Scene&)> edit;
        bool isChange = false;
    };
    void Pump();
    void RunEdit(const Waiting& waiting);
    void Start(Job job);
    void Ended();
    void EndRender();
    void EndWaitingRender();
    void StartView();
    struct ViewResult {
        std::vector<ObjectReport> reports;
        std::shared_ptr<const TViewportScene> view;  // the last one, then the new one
        bool isThinned = false;
    };
    void BuildView(bool mayThin, ViewResult& result);
    bool BuildThinned(TDravin& object, TimeValue t) const;
    void StopView();
    bool ViewMayFinish() const;
    void TellView();
    void Replace(std::unique_ptr<Session> session, const std::string& path);
    void Load(const std::string& name, const std::string& path, std::function<int(Session&)> read,
              Done done);
    void DropSession();
    int Write(const std::string& path);  // gives an exit code
    void NoteChange();
    void SendChanged();
    void Tell(MessageLevel level, const std::string& text);
    bool Refuse(const std::string& what);
    bool GestureWaits() const { return m_gesture || m_toolGesture; }

    MakeInterface m_makeInterface;
    QObject m_receiver;  // of what other threads send
    std::unique_ptr<StudioConsole> m_console;
    TCommandTable m_commands;
    std::unique_ptr<Session> m_session;
    std::string m_path, m_undoName, m_redoName;
    UndoMarks m_marks;
    uint64_t m_savedMark = 0;

    std::deque<Waiting> m_waiting;
    bool m_isEditing = false, m_viewWished = false;
    std::unique_ptr<Job> m_running;
    struct Rendering;
    std::shared_ptr<Rendering> m_rendering;  // null: none
    std::thread m_thread;
    std::unique_ptr<QTimer> m_nagger;  // cancels again what may have begun since
    std::atomic<bool> m_stop{false};
    std::atomic<TDravin*> m_building{nullptr};
    std::vector<NodeHandle> m_panelNodes;

    std::unique_ptr<TParamGesture> m_gesture;
    struct ToolGesture {
        std::string stepName;
        std::function<void(Scene&)> wish;
        bool waits = false;
        Hold::Records previewed;
    };
    std::shared_ptr<ToolGesture> m_toolGesture;
    double m_dragWish = 0;
    bool m_isDragging = false, m_dragWaits = false;
    int m_lastViewMs = 0;  // of the last one with all items
    bool m_isThinned = false, m_runsThinned = false, m_handRests = false;
    std::unique_ptr<QTimer> m_rest;  // of the hand, after which all items are built
    TimeValue m_timeWish = 0;
    bool m_timeWaits = false, m_isPlaying = false;

    std::shared_ptr<const TViewportScene> m_view;
    std::vector<ObjectReport> m_reports;
    struct SeenFrom {
        std::optional<ViewState> view;
        NodeHandle camera = 0;
    };
    std::optional<SeenFrom> m_lookWish;  // the scene has not heard of it yet
    Connection m_redraws;
};
