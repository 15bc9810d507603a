// The extension module behind the Python package `dravin`: its classes are those that the package's
// own (python/dravin) hold.
#include "python/engine/open_scene.h"

PYBIND11_MODULE(_engine, m) {
    m.doc() = "The engine behind the package dravin; its names are not for use.";
    ForwardLog();
    py::class_<SceneNode> node(m, "Node");
    BindScene(m);
    BindItems(m);
    BindNode(m, node);
    BindScatter(node);
    BindPublished(m, node);
    BindCommands(m);
    BindEdits(m);
}
