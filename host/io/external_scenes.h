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
