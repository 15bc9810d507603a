// The one way from a file's name in a scene to a file on disk.
#pragma once

#include <string>

// What a name stands for. Either path or error is empty.
struct SceneFile {
    std::string path;     // of a regular file that exists
    std::string error;    // why there is none
    bool isName = true;   // the name could be one of a file
    std::string warning;  // the file lies outside the folder, by its name or by links
};

// name: with either kind of slash; relative to `folder` (empty: the current one), or absolute.
SceneFile FindSceneFile(const std::string& folder, const std::string& name);
