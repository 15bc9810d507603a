// A scene: nodes, named texture maps and materials, layers, time, units and render settings.
//
// A scene owns its nodes through its root. Names of nodes are found fast; the scene does not
// enforce that they are unique (the first node of a name is found). One thread changes a scene.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/scene/node.h"
#include "host/scene/texmap.h"

struct Layer {
    std::string name;
    bool hidden = false;
    bool frozen = false;
    bool renderable = true;
};

// The active viewport: a camera frame (looks along -Z) and its horizontal field of view.
struct ViewState {
    Matrix3 transform;
    float fovDegrees = 45;
    friend bool operator==(const ViewState&, const ViewState&) = default;
};

struct SceneRenderSettings {
    int width = 1280, height = 720;
    std::string renderer;  // empty: the built-in one
    // Of the built-in ray tracer.
    int samples = 32;    // rays a pixel
    float exposure = 0;  // stops
    float skyTurbidity = 2.5f, skyStrength = 1, skyClouds = 0;
    float hazeVisibility = 0;  // scene units; 0: clear air
    float hazeScaleHeight = 0, hazeBaseHeight = 0;
    friend bool operator==(const SceneRenderSettings&, const SceneRenderSettings&) = default;
};

class Scene : public ReferenceMaker {
public:
    Scene();
    ~Scene();

    double unitScale = 1;  // metres in one scene unit
    int ticksPerFrame = 160;
    SceneRenderSettings render;
    Reference<INode> renderCamera{this};
    // The undo records of a scene go with it.
    std::shared_ptr<void> KeepForUndo() override {
        m_recorded = true;
        return {std::shared_ptr<void>(), this};
    }
    std::optional<ViewState> view;
    // The camera that the active viewport looks through; without one `view` stands for itself.
    Reference<INode> viewCamera{this};
    std::string path;  // file that the scene came from, empty for none

    // What the active viewport shows at a time: through its camera, else `view`.
    std::optional<ViewState> ActiveView(TimeValue t) const;

    TimeValue GetTime() const { return m_time; }
    void SetTime(TimeValue t);

    INode* GetRootNode() const { return m_root.get(); }
    // All nodes but the root, in the order in which they were added.
    const std::vector<INode*>& Nodes() const { return m_nodes; }
    // Null when there is none. The first added wins among equals.
    INode* FindNode(const std::string& name) const;
    // `name`, or name with the first free three-digit number behind it when it is taken.
    std::string UniqueNodeName(const std::string& name) const;

    // Adds a node below `parent` (null: the root) and announces it; undoable. Children that the
    // node already has come with it.
    INode* AddNode(std::shared_ptr<INode> node, INode* parent = nullptr);
    INode* AddNode(const std::string& name, std::shared_ptr<Object> object,
                   INode* parent = nullptr);
    // Takes a node out. Everything that refers to it loses the reference; its children move up to
    // its parent and keep their place in the world. Undoable.
    void DeleteNode(INode& node);

    // Texture maps and materials by name; assigning a name anew replaces.
    std::map<std::string, std::shared_ptr<Texmap>> texmaps;
    std::map<std::string, std::shared_ptr<Mtl>> materials;

    Layer& MakeLayer(const std::string& name);  // found or made
    Layer* FindLayer(const std::string& name);
    const std::map<std::string, Layer>& Layers() const { return m_layers; }

private:
    friend class INode;
    friend class NodeRestore;
    void NodeRenamed(INode& node, const std::string& oldName);
    void Enter(INode& node);
    void Leave(INode& node);
    void Detach(const std::shared_ptr<INode>& node);

    TimeValue m_time = 0;
    bool m_recorded = false;  // undo records speak of this scene
    std::shared_ptr<INode> m_root;
    std::vector<INode*> m_nodes;
    std::unordered_map<std::string, std::vector<INode*>> m_byName;
    std::map<std::string, Layer> m_layers;
};
