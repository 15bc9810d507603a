// A scene that Python holds: the session, the nodes, and which results still show a build's items.
#pragma once

#include <map>
#include <memory>
#include <string>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "apps/dravin/session.h"
#include "python/engine/call.h"

class BuiltItems;

// Node, result and array handles keep it alive; it goes in whichever thread drops the last one.
class OpenScene {
public:
    // open(session): an exit code, with the errors printed.
    static std::shared_ptr<OpenScene> Make(const std::function<ExitCode(Session&)>& open,
                                           const py::object& progress);
    ~OpenScene();

    Session& GetSession() { return *m_session; }
    Scene& GetScene() { return m_session->GetScene(); }

    // Results of this object's last build keep its items, which leave the build. To be called
    // before anything that may build the object again.
    void Detach(const TDravin& object);
    void DetachAll();
    // The result of the object's build as it stands.
    std::shared_ptr<BuiltItems> ItemsOf(const std::shared_ptr<OpenScene>& self,
                                        const std::shared_ptr<TDravin>& object);

private:
    OpenScene() = default;
    std::unique_ptr<Session> m_session;
    std::map<const TDravin*, std::weak_ptr<BuiltItems>> m_built;
};

// A node of an open scene. It may have left the scene, which calls tell.
struct SceneNode {
    std::shared_ptr<OpenScene> scene;
    std::shared_ptr<INode> node;
};

// Where light calls work: its turn, and the scene's session current in this thread.
class SceneCall : public Call {
public:
    explicit SceneCall(OpenScene& scene)
        : Call(&scene.GetSession()), m_scope(scene.GetSession().Host()) {}

private:
    ContextScope m_scope;
};

// The node, which must be in its scene.
INode& NodeOf(const SceneNode& handle);
SceneNode HandleOf(const std::shared_ptr<OpenScene>& scene, INode& node);
// The scatter object of a node; a TypeError for others.
std::shared_ptr<TDravin> ScatterOf(const SceneNode& handle);

// A value for the engine: null, a truth value, a number, text, a node, or a sequence of them. A
// TypeError for anything else.
ParamInput InputOf(const OpenScene& scene, const py::handle& value);

// A matrix as an array of four rows of three numbers, and back.
py::array_t<float> ToArray(const Matrix3& m);
Matrix3 ToMatrix(const py::object& rows);

void BindScene(py::module_& m);
void BindNode(py::module_& m, py::class_<SceneNode>& node);
void BindScatter(py::class_<SceneNode>& node);
void BindPublished(py::module_& m, py::class_<SceneNode>& node);
void BindItems(py::module_& m);
void BindCommands(py::module_& m);
void BindEdits(py::module_& m);
