// Scenes come and go: new ones, files, the demo.
#include <filesystem>

#include <fmt/format.h>
#include <QTimer>

#include "Dravin/config/main_folder.h"
#include "Dravin/dravin.h"
#include "Dravin/panels/param_gesture.h"
#include "Dravin/viewport/viewport_scene.h"
#include "apps/dravin/demo_scene.h"
#include "apps/dravin/session.h"
#include "apps/studio/studio_session.h"

namespace {

constexpr uint64_t kNeverSaved = ~uint64_t{0};  // no state of the scene is in a file

}  // namespace

void StudioSession::Replace(std::unique_ptr<Session> session, const std::string& path) {
    m_waiting.clear();
    EndWaitingRender();
    m_rest->stop();
    m_isThinned = m_handRests = false;
    m_lastViewMs = 0;
    m_dragWaits = m_isDragging = m_timeWaits = m_isPlaying = false;
    DropSession();
    m_session = std::move(session);
    ContextScope scope(m_session->Host());
    m_session->Host().SetUserInterface(m_makeInterface());
    // Views are built beside the window, whoever asks for them.
    m_session->Host().buildsAtOnce = false;
    m_redraws = m_session->Host().redrawRequested.Connect([this] {
        if (!m_running || !m_running->isView) m_viewWished = true;
    });
    m_lookWish.reset();
    m_session->LoadTemplates();
    Scene& scene = m_session->GetScene();
    scene.undo.Clear();
    m_path = path;
    m_marks.Reset();
    m_savedMark = m_marks.Current();
    m_undoName = m_redoName = {};
    m_view.reset();
    m_reports.clear();
    m_panelNodes.clear();
    for (INode* node : scene.Nodes())
        if (m_panelNodes.empty() && dynamic_cast<TDravin*>(node->GetObjectRef()))
            m_panelNodes.push_back(node->GetHandle());
    m_viewWished = true;
    m_isEditing = true;
    sceneReplaced.Send(scene);
    m_isEditing = false;
    SendChanged();
}

void StudioSession::Load(const std::string& name, const std::string& path,
                         std::function<int(Session&)> read, Done done) {
    if (Refuse(name)) return;
    auto load = [=, this] {
        auto session = std::make_shared<std::unique_ptr<Session>>();
        auto code = std::make_shared<int>(kExitFailed);
        auto work = [=] {
            *session = std::make_unique<Session>();
            *code = read(**session);
            if (*code != kExitDone) session->reset();
        };
        auto ended = [=, this] {
            std::string error;
            if (*code == kExitDone)
                Replace(std::move(*session), path);
            else
                error = fmt::format("{} cannot be opened; the log says why",
                                    path.empty() ? "The copy" : path);
            if (!error.empty()) Tell(MessageLevel::kError, error);
            if (done) done(error);
        };
        Start({name, false, work, ended});
    };
    if (!m_session) return load();  // the first scene of all
    EndDrag(false);
    Look([load](Scene&) { load(); });
}

void StudioSession::NewScene() {
    Load("New scene", "", [](Session& session) { return session.New(), int(kExitDone); }, {});
}

void StudioSession::Open(const std::string& path, Done done) {
    Load(
        "Opening", path, [path](Session& session) { return session.Read(path); }, std::move(done));
}

void StudioSession::OpenDemo(const std::string& folder, const std::string& scene, Done done) {
    std::string path = folder + "/" + scene;
    auto read = [=](Session& session) -> int {
        std::error_code ignored;
        std::string error;
        bool isThere = std::filesystem::exists(path, ignored) ||
                       WriteDemoScene(folder, {MainFolder(), kDemoItems}, &error);
        if (isThere) return session.Read(path);
        PrintError(error);
        return kExitNoOutput;
    };
    Load("Opening the demo", path, read, std::move(done));
}

// In the job's thread.
int StudioSession::Write(const std::string& path) {
    ContextScope scope(m_session->Host());
    return m_session->Save(path);
}

void StudioSession::Save(const std::string& path, Done done) {
    if (Refuse("Save")) return;
    EndDrag(true);
    Look([=, this](Scene&) {
        auto code = std::make_shared<int>(kExitFailed);
        auto work = [=, this] { *code = Write(path); };
        auto ended = [=, this] {
            std::string error;
            if (*code == kExitDone) {
                m_path = path;
                m_session->GetScene().path = path;
                m_savedMark = m_marks.Current();
                Tell(MessageLevel::kNote, "Saved " + path);
            } else {
                error = path + " has not been saved; the log says why";
                Tell(MessageLevel::kError, error);
            }
            SendChanged();
            if (done) done(error);
        };
        Start({"Saving", false, work, ended});
    });
}

void StudioSession::SaveCopy(const std::string& path, Done done) {
    Look([=, this, done = std::move(done)](Scene&) {
        auto code = std::make_shared<int>(kExitFailed);
        auto work = [=, this] { *code = Write(path); };
        auto ended = [=] { done(*code == kExitDone ? "" : path + " cannot be written"); };
        Start({"Saving a copy", false, work, ended, true});
    });
}

void StudioSession::OpenCopy(const std::string& copy, const std::string& path, Done done) {
    auto read = [=](Session& session) -> int {
        int code = session.Read(copy);
        if (code == kExitDone) session.GetScene().path = path;
        return code;
    };
    Load("Recovering", path, read, [=, this](const std::string& error) {
        if (error.empty()) {
            m_savedMark = kNeverSaved;
            SendChanged();
        }
        if (done) done(error);
    });
}
