// What users do with the tools utility, without a window: on the selected scatter objects of the
// scene. Questions, messages and results go to the user-interface port. One thread.
#pragma once

#include <string>
#include <vector>

#include "Dravin/tools/export_fields.h"
#include "Dravin/tools/tools_utility.h"

class Scene;
class TDravin;
class INode;

class TToolCommands {
public:
    // Both must outlive this; the scene is the current one of the session.
    TToolCommands(Scene& scene, TDtools& tools) : m_scene(scene), m_tools(tools) {}

    // Each is true when it did something for every selected object.
    bool Instantiate();
    bool DeleteInstances();
    bool EnableGeometry();
    // Builds the objects and writes their items.
    bool Export(const TExportFields& fields, const std::string& path);

private:
    struct Selected {
        INode* node;
        TDravin* object;
    };
    // Those that are selected; with none the user is told.
    std::vector<Selected> Objects() const;

    Scene& m_scene;
    TDtools& m_tools;
};
