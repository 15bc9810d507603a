// Commands that read files into the scene that is open, and run scripts.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "common/util/attach_nodes.h"
#include "common/util/material_library.h"
#include "common/util/script_file.h"
#include "host/io/external_scenes.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"
#include "host/script/script_system.h"

namespace {

using Kind = TArgumentKind;

ISceneLoaders* Loaders() {
    HostContext* session = HostContext::Current();
    return session ? session->State<SessionLoaders>().loaders.get() : nullptr;
}

TCommandResult RereadExternal(TCommandCall& call) {
    TCommandResult result;
    ISceneLoaders* loaders = Loaders();
    if (!loaders) return TCommandResult::Error("this session reads no files");
    std::string file = call.Text("file");
    int numRead = RereadExternals(call.scene, *loaders, file, &result.warnings, &result.error);
    if (!result) return result;
    if (numRead == 0 && !file.empty())
        return TCommandResult::Error(
            fmt::format("the scene shows no object of the file \"{}\"", file));
    result.value.value = int64_t(numRead);
    return result;
}

TCommandResult LoadMaterial(TCommandCall& call) {
    ISceneLoaders* loaders = Loaders();
    if (!loaders) return TCommandResult::Error("this session reads no files");
    MaterialLibraryLoader load = [loaders](const std::string& path, std::string* why) {
        ExternalSceneLoad loaded = loaders->LoadScene(path, nullptr);
        *why = loaded.error;
        return loaded.scene;
    };
    std::string error;
    std::shared_ptr<Mtl> material = LoadMaterialFromLibrary(
        call.scene, call.Text("library"), call.Text("material"), "Dravin Pack", load, &error);
    if (!material) return TCommandResult::Error(error);
    for (const std::string& name : call.Texts("nodes")) {
        INode* node = call.scene.FindNode(name);
        if (!node) return TCommandResult::Error(fmt::format("the scene has no node \"{}\"", name));
        node->SetMtl(material);
    }
    return {};
}

TCommandResult Attach(TCommandCall& call) {
    std::vector<INode*> nodes{call.node};
    for (const std::string& name : call.Texts("nodes")) {
        INode* node = call.scene.FindNode(name);
        if (!node) return TCommandResult::Error(fmt::format("the scene has no node \"{}\"", name));
        if (std::find(nodes.begin(), nodes.end(), node) == nodes.end()) nodes.push_back(node);
    }
    std::string error;
    INode* joined = AttachNodesScript(nodes, call.Text("name", call.node->GetName()), &error);
    return joined ? TCommandResult::Value({joined->GetName()}) : TCommandResult::Error(error);
}

TCommandResult RunScript(TCommandCall& call) {
    ScriptResult result = RunScriptFile(call.Text("file"), call.Text("command"));
    return result.IsError() ? TCommandResult::Error(result.error)
                            : TCommandResult::Value({result.Text()});
}

}  // namespace

void AddFileCommands(TCommandTable& table) {
    table.Add({"scene.reread_externals",
               "Reread Other Scenes",
               "Reads the scene files again whose objects are shown here, and gives how many "
               "objects.",
               TCommandTarget::kScene,
               {{"file", Kind::kText, "only this file, as nodes name it; none: all"}},
               RereadExternal});
    table.Add({"material.load",
               "Load Material",
               "Takes a material of another scene's library into this one.",
               TCommandTarget::kScene,
               {{"library", Kind::kText, "a scene file or description", true},
                {"material", Kind::kText, "its name there", true},
                {"nodes", Kind::kTexts, "names of nodes that get it"}},
               LoadMaterial});
    table.Add({"node.attach",
               "Attach",
               "Joins the meshes of nodes into one, with their materials; the pivot comes to the "
               "middle of its base. Gives the name.",
               TCommandTarget::kNode,
               {{"nodes", Kind::kTexts, "names of those that are joined to it, and go", true},
                {"name", Kind::kText, "of the node afterwards; none: as before"}},
               Attach});
    table.Add({"script.run",
               "Run Script",
               "Runs a file of script commands, then one more, and gives the last value.",
               TCommandTarget::kScene,
               {{"file", Kind::kText, "a path", true},
                {"command", Kind::kText, "what runs after the file; none: nothing"}},
               RunScript});
}
