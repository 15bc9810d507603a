#include "host/script/scene_scripts.h"

#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/script/mesh_scripts.h"
#include "host/script/node_scripts.h"
#include "host/script/script_system.h"

SceneScripts::SceneScripts() {
    auto& scripts = HostContext::Current()->State<ScriptSystem>();
    auto scene = [] { return HostContext::Current()->CurrentScene(); };
    RegisterNodeScripts(scripts, [scene](unsigned handle) {
        return scene() ? scene()->FindHandle(handle) : nullptr;
    });
    RegisterMeshScripts(scripts, [scene](const std::string& name) {
        return scene() ? scene()->FindNode(name) : nullptr;
    });
}
