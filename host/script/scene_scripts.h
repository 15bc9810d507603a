// The host's own script commands, on the scene of the session that runs them.
#pragma once

// Registers them (node_scripts.h, mesh_scripts.h) with the current session's scripts, once a
// session: HostContext::Current()->State<SceneScripts>().
struct SceneScripts {
    SceneScripts();
};
