#include "apps/dravin/session.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>

#include <fmt/format.h>

#include "Dravin/assembly/dravin_classes.h"
#include "Dravin/config/main_folder.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/geometry/lod_object.h"
#include "Dravin/render/render_notices.h"
#include "Dravin/scene/dravin_description.h"
#include "Dravin/storage/dravin_storage.h"
#include "host/base/text.h"
#include "host/io/scene_loaders.h"
#include "host/storage/scene_storage.h"

namespace {

// What the system tells a user goes the way of all messages.
class ProgramUserInterface : public ConsoleUserInterface {
public:
    explicit ProgramUserInterface(bool yes) : m_yes(yes) {}

    void MessageBox(const std::string& text, const std::string& caption,
                    MessageKind kind) override {
        std::string line = caption + ": " + text;
        kind == MessageKind::kError ? PrintError(line) : PrintWarning(line);
    }
    Answer Question(const std::string& text, const std::string& caption, QuestionKind) override {
        PrintNote(fmt::format("{}: {} {}", caption, text, m_yes ? "Yes." : "No."));
        return m_yes ? Answer::kYes : Answer::kNo;
    }
    void ListenerPrint(const std::string& text) override { PrintNote(text); }
    void ProgressStart(const std::string& title) override {
        m_bar = std::make_unique<ProgressBar>(title);
    }
    bool ProgressUpdate(int percent) override {
        if (m_bar) m_bar->Update(float(percent) / 100);
        return true;
    }
    void ProgressEnd() override { m_bar.reset(); }

private:
    bool m_yes;
    std::unique_ptr<ProgressBar> m_bar;
};

std::vector<SceneDravin> AllObjects(const Scene& scene) {
    std::vector<SceneDravin> objects;
    for (INode* node : scene.Nodes())
        if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
            objects.push_back({node, object});
    return objects;
}

// Shows how far some work is, from a thread of its own; not before it has taken a while. Ends with
// the object.
class PatientWatch {
public:
    PatientWatch(ProgressBar& bar, std::function<float()> fraction, std::function<void()> cancel)
        : m_fraction(std::move(fraction)), m_cancel(std::move(cancel)) {
        if (!bar.IsShown()) return;
        try {
            m_thread = std::jthread([this, &bar](std::stop_token stop) { Watch(stop, bar); });
        } catch (const std::system_error&) {
            // Where no thread can start, work goes on without a bar.
        }
    }

private:
    void Watch(std::stop_token stop, ProgressBar& bar) {
        std::unique_lock lock(m_mutex);
        while (!stop.stop_requested()) {
            m_wake.wait_for(lock, stop, PauseBefore(++m_numLooks), [] { return false; });
            if (!stop.stop_requested() && !bar.Update(m_fraction())) m_cancel();
        }
    }

    // Who may cancel must not wait until a bar is worth being shown.
    static std::chrono::milliseconds PauseBefore(int look) {
        bool isWatched = HasConsoleWatcher();
        return std::chrono::milliseconds(look == 1 && !isWatched ? 500 : isWatched ? 10 : 50);
    }

    std::function<float()> m_fraction;
    std::function<void()> m_cancel;
    int m_numLooks = 0;
    std::mutex m_mutex;
    std::condition_variable_any m_wake;
    std::jthread m_thread;
};

std::string FolderOf(const std::string& path) {
    return std::filesystem::path(path).parent_path().string();
}

// `"a", "b" and 3 more`, or "none".
std::string Listed(const std::vector<std::string>& names) {
    constexpr size_t kMost = 10;
    if (names.empty()) return "none";
    std::string text;
    for (size_t i = 0; i < std::min(names.size(), kMost); ++i)
        text += fmt::format("{}\"{}\"", i ? ", " : "", names[i]);
    return names.size() > kMost ? fmt::format("{} and {} more", text, names.size() - kMost) : text;
}

}  // namespace

bool IsDescriptionName(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension().string();
    return ending == ".json" || ending == ".JSON";
}

std::unique_ptr<IUserInterface> MakeProgramInterface(bool yes) {
    return std::make_unique<ProgramUserInterface>(yes);
}

Session::Session()
    : m_loaders(MakeSceneLoaders(
          [this](const std::string& path, WorkWatch* watch) { return ReadScene(path, watch); })),
      m_formats(m_loaders) {
    RegisterDravinStorage(m_storage);
    m_host.SetUserInterface(MakeProgramInterface());
    m_host.quiet = IsQuietConsole();
    RegisterDravinNodes(m_formats);
    RegisterDravinClasses(m_host.classes);
    m_host.State<SessionLoaders>().loaders = m_loaders;
    StartRenderIntegration();
}

namespace {

// What work(watch) gives, with a progress bar on a terminal when it takes a while.
template <class Work>
auto Watched(const char* title, const Work& work) {
    WorkWatch watch;
    ProgressBar bar(title);
    PatientWatch patient(
        bar, [&watch] { return watch.Share(); }, [&watch] { watch.Cancel(); });
    return work(&watch);
}

}  // namespace

// read(watch): the scene.
template <class Reader>
ExitCode Session::Take(const Reader& read) {
    if (!HasMainFolder()) PrintWarning(NoMainFolder());
    m_host.notifications.Broadcast(HostNotify::kFilePreOpen);
    SceneReadResult result = Watched("reading", read);
    for (const std::string& warning : result.warnings) PrintWarning(warning);
    if (!result) {
        PrintError(result.error);
        return ExitCode(int(result.errorClass));
    }
    m_scene = std::move(result.scene);
    m_host.SetCurrentScene(m_scene.get());
    m_host.notifications.Broadcast(HostNotify::kFilePostOpen);
    return kExitDone;
}

// Scene files are told by how they start, whatever they are called.
SceneReadResult Session::ReadScene(const std::string& path, WorkWatch* watch) {
    if (IsSceneFile(path)) return LoadSceneFile(path, m_storage, *m_loaders, watch);
    return ReadSceneDescription(path, m_formats, watch);
}

ExitCode Session::Read(const std::string& path) {
    return Take([&](WorkWatch* work) { return ReadScene(path, work); });
}

ExitCode Session::Open(const std::string& path) {
    ExitCode code = Read(path);
    if (code == kExitDone) LoadTemplates();
    return code;
}

ExitCode Session::Parse(const std::string& text, const std::string& name,
                        const std::string& folder) {
    ExitCode code = Take([&](WorkWatch* work) {
        return ParseSceneDescription(text, name, folder, m_formats, work);
    });
    if (code == kExitDone) LoadTemplates();
    return code;
}

void Session::New() {
    NoticePair making(HostNotify::kSystemPreNew, HostNotify::kSystemPostNew);
    m_scene = std::make_unique<Scene>();
    m_host.SetCurrentScene(m_scene.get());
}

ExitCode Session::Add(const std::string& text, const std::string& name) {
    std::string folder = FolderOf(m_scene->path);
    SceneAddResult result = AddSceneDescription(text, name, folder, m_formats, *m_scene);
    for (const std::string& warning : result.warnings) PrintWarning(warning);
    if (!result.error.empty()) {
        PrintError(result.error);
        return ExitCode(int(result.errorClass));
    }
    LoadTemplates();
    return kExitDone;
}

TCommandResult Session::Run(const TCommandTable& commands, const std::string& name,
                            const std::string& target, const TArguments& arguments) {
    TCommandResult result = commands.Run(name, *m_scene, target, arguments);
    if (result && (name.starts_with("geometry.") || name.starts_with("lod."))) LoadTemplates();
    return result;
}

ExitCode Session::Save(const std::string& path) {
    std::string error;
    std::vector<std::string> warnings;
    bool isCancelled = false;
    bool isSaved = Watched("writing", [&](WorkWatch* watch) {
        bool isDone = IsDescriptionName(path)
                          ? SaveSceneDescription(*m_scene, path, m_formats, &error, watch)
                          : SaveSceneFile(*m_scene, path, m_storage, &warnings, &error, watch);
        isCancelled = watch->IsCancelled();
        return isDone;
    });
    for (const std::string& warning : warnings) PrintWarning(path + ": " + warning);
    if (isSaved) return kExitDone;
    PrintError(error);
    return isCancelled ? ExitCode(int(DescriptionErrorClass::kCancelled)) : kExitNoOutput;
}

std::optional<std::string> Session::Copy() {
    std::string error;
    std::vector<std::string> warnings;
    auto copy = SaveSceneBytes(*m_scene, FolderOf(m_scene->path), m_storage, &warnings, &error);
    for (const std::string& warning : warnings) PrintWarning(warning);
    if (!copy) PrintError(error);
    return copy;
}

ExitCode Session::ReadCopy(std::string_view copy, const std::string& path) {
    ExitCode code = Take([&](WorkWatch* work) {
        return LoadSceneBytes(copy, "copy of " + path, FolderOf(path), m_storage, *m_loaders, work);
    });
    if (code != kExitDone) return code;
    m_scene->path = path;
    LoadTemplates();
    return kExitDone;
}

// Rows of geometry lists and levels of detail name templates by name; their ids follow the
// catalogue, and their models come into the scene.
void Session::LoadTemplates() {
    HoldSuspender noUndo(&m_scene->undo);
    for (const SceneDravin& dravin : AllObjects(*m_scene)) {
        TTreeSpecList rows(std::static_pointer_cast<IParamBlock2>(
            dravin.object->Block(kGeomParams).shared_from_this()));
        for (int i = 0; i < rows.Count(); ++i) {
            TSpecEntry entry = rows.ReadRow(i, 0, SharedGenerator());
            if (LoadTemplate(*dravin.node, entry)) rows.WriteRow(i, entry);
        }
    }
    for (INode* node : std::vector<INode*>(m_scene->Nodes())) {  // templates join them
        auto* lod = dynamic_cast<TDLod*>(node->GetObjectRef());
        for (int i = 0; lod && i < lod->NumLevels(); ++i) {
            TSpecEntry entry = lod->ReadLevel(i).entry;
            if (LoadTemplate(*node, entry)) lod->SetTemplate(i, entry);
        }
    }
}

// False where the entry shows no template, or there is none.
bool Session::LoadTemplate(const INode& node, TSpecEntry& entry) {
    if (entry.kind != kGeomTemplate) return false;
    TTemplates& templates = DravinGlobals().templates;
    std::vector<std::string> names = templates.Names();
    if (names.empty()) {
        PrintWarning(fmt::format("{}: the row \"{}\" shows nothing: {} lists no templates",
                                 node.GetName(), entry.name, templates.Folder() + "/index.dat"));
        return false;
    }
    SceneFileLoader loader = [this](const std::string& path, std::string* error) {
        SceneReadResult file = ReadScene(path, nullptr);
        *error = file.error;
        if (!file) PrintWarning(file.error);
        return std::move(file.scene);
    };
    int id = !entry.templateName.empty() ? FindTemplateByName(names, entry.templateName)
                                         : std::clamp(entry.templateId, 0, int(names.size()) - 1);
    entry.templateId = id;
    entry.templateName = names[size_t(id)];
    LoadTemplateNode(*templates.List()[size_t(id)], *m_scene, templates.Folder(), loader);
    return true;
}

std::optional<std::vector<SceneDravin>> Session::FindObjects(const std::string& name) {
    std::vector<SceneDravin> objects = AllObjects(*m_scene);
    if (name.empty()) {
        if (!objects.empty()) return objects;
        PrintError("the scene has no scatter object (a node of type \"dravin\")");
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const SceneDravin& dravin : objects) {
        names.push_back(dravin.node->GetName());
        if (names.back() == name) return std::vector<SceneDravin>{dravin};
    }
    PrintError(fmt::format("--object: the scene has no scatter object \"{}\"{}; it has {}", name,
                           DidYouMean(name, names), Listed(names)));
    return std::nullopt;
}

std::optional<SceneDravin> Session::FindObject(const std::string& name) {
    auto objects = FindObjects(name);
    if (!objects) return std::nullopt;
    if (objects->size() == 1) return objects->front();
    std::vector<std::string> names;
    for (const SceneDravin& dravin : *objects) names.push_back(dravin.node->GetName());
    PrintError(fmt::format("the scene has several scatter objects; choose one with --object: {}",
                           Listed(names)));
    return std::nullopt;
}

void WatchBuild(const SceneDravin& dravin, const std::function<void()>& work) {
    TDravinBuild& build = dravin.object->Build();
    ProgressBar bar(fmt::format("building {}", dravin.node->GetName()));
    PatientWatch watch(
        bar, [&build] { return build.Progress().Fraction(); }, [&build] { build.Cancel(); });
    work();
}

void BuildWithProgress(const SceneDravin& dravin, TimeValue time, const TBuildFlags& flags,
                       const TItemConsumer* consumer) {
    WatchBuild(dravin, [&] { dravin.object->Build().BuildMesh(time, flags, consumer); });
}
