// One run of a command over a scene: the host, the scene, and its scatter objects.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "apps/dravin/console.h"
#include "host/io/scene_description.h"
#include "host/scene/host_context.h"

struct SceneDravin {
    INode* node;
    TDravin* object;
};

class Session {
public:
    Session();

    // Reads the scene and loads the templates that its geometry lists name. Errors are printed.
    ExitCode Open(const std::string& path);

    Scene& GetScene() { return *m_scene; }
    // All scatter objects in node order, or the one of that name. None, with the error printed,
    // when there is no such object.
    std::optional<std::vector<SceneDravin>> FindObjects(const std::string& name);

private:
    void LoadTemplates();

    HostContext m_host;
    SceneFormats m_formats;
    std::unique_ptr<Scene> m_scene;
};
