// A scene: nodes, named texture maps and materials, layers, selection, time, units and render
// settings.
//
// A scene owns its nodes through its root, and the undo list of its changes. Names and handles of
// nodes are found fast; the scene does not enforce that names are unique (the first node of a name
// is found). Changes are announced to the current session. One thread changes a scene.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/params/hold.h"
#include "host/scene/layer.h"
#include "host/scene/node.h"
#include "host/scene/texmap.h"

// The active viewport: a camera frame (looks along -Z) and its horizontal field of view.
struct ViewState {
    Matrix3 transform;
    float fovDegrees = 45;
    int width = 0, height = 0;  // of what it is shown in, pixels; 0: nowhere yet
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

struct TimeRange {
    TimeValue start = 0, end = 100 * 160;
    friend bool operator==(const TimeRange&, const TimeRange&) = default;
};

class Scene : public ReferenceMaker, private INodeHome {
public:
    Scene();
    ~Scene() override;

    // The changes of this scene, while it is the session's current one.
    Hold undo;
    // The undo records of a scene go with it.
    std::shared_ptr<void> KeepForUndo() override { return {std::shared_ptr<void>(), this}; }

    // Whatever was worked out with other units is told to be stale.
    Property<double> unitScale{&m_units, 1.0};  // metres in one scene unit
    Property<int> ticksPerFrame{&m_units, 160};
    Property<TimeRange> timeRange{this};  // of animations
    Property<SceneRenderSettings> render{this};
    std::string path;  // file that the scene came from, empty for none
    // What the file held and nobody knew, for the next one that is written.
    std::shared_ptr<void> unknownParts;

    // The camera of pictures, null for none. Undoable.
    INode* RenderCamera() const { return m_renderCamera.Get(); }
    void SetRenderCamera(std::shared_ptr<INode> camera);

    // The active viewport: through a camera, else a view of its own.
    const std::optional<ViewState>& View() const { return m_view; }
    void SetView(const std::optional<ViewState>& view);
    INode* ViewCamera() const { return m_viewCamera.Get(); }
    void SetViewCamera(std::shared_ptr<INode> camera);
    // What the active viewport shows at a time.
    std::optional<ViewState> ActiveView(TimeValue t) const;

    TimeValue GetTime() const { return m_time; }
    void SetTime(TimeValue t);

    INode* GetRootNode() const { return m_root.get(); }
    // All nodes but the root, in the order in which they were added.
    const std::vector<INode*>& Nodes() const { return m_nodes; }
    // Null when there is none. The first added wins among equals.
    INode* FindNode(const std::string& name) const;
    INode* FindHandle(NodeHandle handle) const;
    // The handle that was given out last; nodes that are added get the ones after it.
    NodeHandle LastHandle() const { return m_lastHandle; }
    // Gives out no handle up to this one any more, so that nodes from a file keep theirs.
    void ReserveHandles(NodeHandle last) { m_lastHandle = std::max(m_lastHandle, last); }
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
    // Copies of nodes of this scene, each with a copy of its object and a name of its own, beside
    // the node or below the copy of its parent. What the copies refer to is copied where it is
    // among the nodes, and shared otherwise. In the order of `nodes`; undoable.
    std::vector<INode*> CloneNodes(std::span<INode* const> nodes);
    // Takes all nodes, maps, materials and layers out, forgets the undo list and announces it.
    void Reset();

    // Selected nodes, in the order of Nodes().
    std::vector<INode*> Selection() const;
    // Selects these nodes of the scene and no other; announced once, undoable.
    void Select(std::span<INode* const> nodes);

    // Texture maps and materials by name; a name assigned anew replaces, null takes it out.
    // Undoable.
    const std::map<std::string, std::shared_ptr<Texmap>>& Texmaps() const { return m_texmaps; }
    void SetTexmap(const std::string& name, std::shared_ptr<Texmap> texmap);
    const std::map<std::string, std::shared_ptr<Mtl>>& Materials() const { return m_materials; }
    void SetMaterial(const std::string& name, std::shared_ptr<Mtl> mtl);

    Layer& MakeLayer(const std::string& name);  // found or made
    std::shared_ptr<Layer> ShareLayer(const std::string& name) override;
    Layer* FindLayer(const std::string& name) const;
    const std::map<std::string, std::shared_ptr<Layer>>& Layers() const { return m_layers; }

private:
    friend class INode;
    struct Units : ReferenceMaker {
        explicit Units(Scene& owner) : scene(owner) {}
        std::shared_ptr<void> KeepForUndo() override { return scene.KeepForUndo(); }
        void ValueChanged() override { scene.UnitsChanged(); }
        Scene& scene;
    };
    void UnitsChanged();
    // number: the first that may be free; in the end the one given.
    std::string UniqueNodeName(const std::string& name, int* number) const;
    void NodeRenamed(INode& node, const std::string& oldName) override;
    void RecordPresence(INode& node, bool isIn);
    void Enter(INode& node);
    void Leave(INode& node);
    void PutIn(INode& node, INode& parent, size_t place);
    void TakeOut(INode& node);
    void SetSelected(std::span<INode* const> nodes);

    Units m_units{*this};
    TimeValue m_time = 0;
    std::optional<ViewState> m_view;
    Reference<INode> m_renderCamera{this};
    Reference<INode> m_viewCamera{this};
    NodeHandle m_lastHandle = 0;
    std::shared_ptr<INode> m_root;
    std::vector<INode*> m_nodes;                                    // by rising handle
    std::unordered_map<std::string, std::vector<INode*>> m_byName;  // each by rising handle
    std::map<std::string, std::shared_ptr<Layer>> m_layers;
    std::map<std::string, std::shared_ptr<Texmap>> m_texmaps;
    std::map<std::string, std::shared_ptr<Mtl>> m_materials;
};
