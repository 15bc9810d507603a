// Scenes whose objects other scenes show, read once a file.
#pragma once

#include <functional>
#include <map>

#include "host/io/scene_description.h"

// Reads a scene of either form, scene file or description.
using SceneOpener = std::function<SceneReadResult(const std::string& path, WorkWatch* watch)>;

class ExternalScenes {
public:
    explicit ExternalScenes(SceneOpener open) : m_open(std::move(open)) {}

    // A file that is being opened already, as files that refer to each other in a ring are, is an
    // error.
    ExternalSceneLoad Load(const std::string& path, WorkWatch* watch);
    void Forget() { m_scenes.clear(); }

private:
    ExternalSceneLoad Open(const std::string& path, WorkWatch* watch);

    SceneOpener m_open;
    std::map<std::string, std::weak_ptr<Scene>> m_scenes;  // by canonical path
    std::vector<std::string> m_opening;                    // from the outermost in
};

// What an external object shows: the node of the origin's name in the file's scene. Null with the
// reason given to `fail`.
std::shared_ptr<class ExternalObject> ShowExternal(
    const struct ExternalOrigin& origin, ISceneLoaders& loaders, const Scene& shownIn,
    WorkWatch* watch, std::vector<std::string>* warnings,
    const std::function<void(const std::string&, DescriptionErrorClass)>& fail);

// How the session that is worked in reads files for its scene, for commands that read them again:
// HostContext::State<SessionLoaders>().
struct SessionLoaders {
    std::shared_ptr<ISceneLoaders> loaders;  // null: it reads none
};

// Reads the files again whose objects the scene shows: all, or the one that is named `file` there.
// Nodes show new objects then, each a restore record; when one cannot be read, nothing has changed
// and `error` says why. Returns how many objects were read.
int RereadExternals(Scene& scene, ISceneLoaders& loaders, const std::string& file,
                    std::vector<std::string>* warnings, std::string* error);
