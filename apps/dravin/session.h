// A scene that is open: the host, the scene, and its scatter objects. A command has one; a program
// that holds several says which one it works in (Use, and a ContextScope over Host).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "Dravin/commands/command_table.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "apps/dravin/console.h"
#include "host/base/input_record.h"
#include "host/io/scene_description.h"
#include "host/scene/host_context.h"
#include "host/storage/class_storage.h"

struct SceneDravin {
    INode* node;
    TDravin* object;
};

// Whether a file of this name is written as a scene description: its ending is .json.
bool IsDescriptionName(const std::string& path);

class Session {
public:
    Session();

    // Reads the scene and loads the templates that its geometry lists name. Errors are printed.
    ExitCode Open(const std::string& path);
    // Reads the scene alone.
    ExitCode Read(const std::string& path);
    // As Open, from text; relative files start from `folder`.
    ExitCode Parse(const std::string& text, const std::string& name, const std::string& folder);
    // An empty scene.
    void New();
    // Takes nodes, maps and materials of a description into the open scene, all or, with the error
    // printed, none.
    ExitCode Add(const std::string& text, const std::string& name);
    // Loads the templates that geometry lists name, where rows have changed. Their nodes stand in
    // the scene while it is open, and are neither written nor recorded for undo.
    void LoadTemplates();
    // Runs a command of the table, and loads the templates that it may have named.
    TCommandResult Run(const TCommandTable& commands, const std::string& name,
                       const std::string& target, const TArguments& arguments);
    // Writes the scene, whole or not at all: as a description where the name ends so, else as a
    // scene file. The error is printed.
    ExitCode Save(const std::string& path);
    // The scene as another session takes it with ReadCopy, in whatever thread; none, with the error
    // printed, where it cannot be stored.
    std::optional<std::string> Copy();
    // path: of the scene that was copied. Loads templates, too.
    ExitCode ReadCopy(std::string_view copy, const std::string& path);

    Scene& GetScene() { return *m_scene; }
    HostContext& Host() { return m_host; }
    const SceneFormats& Formats() const { return m_formats; }
    // The files that are read from now on are this one's inputs.
    void Use() { m_inputs.TakeOver(); }
    // What has been read so far.
    const InputRecord& Inputs() const { return m_inputs; }
    // All scatter objects in node order, or the one of that name. None, with the error printed,
    // when there is no such object; the message lists those that there are.
    std::optional<std::vector<SceneDravin>> FindObjects(const std::string& name);
    // The one of that name, or the only one there is. None, with the error printed, otherwise.
    std::optional<SceneDravin> FindObject(const std::string& name);

private:
    template <class Reader>
    ExitCode Take(const Reader& read);
    SceneReadResult ReadScene(const std::string& path, WorkWatch* watch);
    bool LoadTemplate(const INode& node, TSpecEntry& entry);

    InputRecord m_inputs;
    HostContext m_host;
    std::shared_ptr<ISceneLoaders> m_loaders;
    SceneFormats m_formats;
    SceneStorage m_storage;
    std::unique_ptr<Scene> m_scene;
};

// Messages go the way of all messages, questions are answered with yes or no, and told.
std::unique_ptr<IUserInterface> MakeProgramInterface(bool yes = false);

// Runs `work`, which builds the object, with a progress bar on a terminal when it takes a while.
void WatchBuild(const SceneDravin& dravin, const std::function<void()>& work);
// Builds one object so. consumer: as
// TDravinBuild::BuildMesh takes it.
void BuildWithProgress(const SceneDravin& dravin, TimeValue time, const TBuildFlags& flags,
                       const TItemConsumer* consumer = nullptr);
