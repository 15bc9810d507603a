// Commands on materials and texture maps.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/value_commands.h"
#include "Dravin/materials/scene_looks.h"
#include "host/base/text.h"
#include "host/io/bitmap.h"
#include "host/io/new_entity.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;
using Target = std::shared_ptr<ReferenceTarget>;

// The two kinds of looks: what commands call them.
struct Topic {
    LookKind kind;
    SuperClass super;
    const char* name;  // of commands and of their argument
    const char* title;
    const char* words;
};
constexpr Topic kMaterial{LookKind::kMaterial, SuperClass::kMaterial, "material", "Material",
                          "a material"};
constexpr Topic kMap{LookKind::kMap, SuperClass::kTexmap, "map", "Map", "a texture map"};

Target LookOfCall(const Topic& topic, TCommandCall& call, TCommandResult* result) {
    return FindLook(call.scene, topic.kind, call.Text(topic.name), &result->error);
}

TCommandResult Names(const std::vector<SceneLook>& looks) {
    ParamInput::Array names;
    for (const SceneLook& look : looks) names.emplace_back(look.path);
    return TCommandResult::Value(ParamInput(std::move(names)));
}

TCommandResult New(const Topic& topic, TCommandCall& call) {
    HostContext* session = HostContext::Current();
    std::string name =
        call.Text("class", topic.kind == LookKind::kMaterial ? "standard" : "bitmap");
    std::vector<std::string> classes;
    for (const ClassDesc* desc : session->classes.OfSuperClass(topic.super))
        if (desc->isPublic) classes.push_back(desc->internalName);
    const ClassDesc* desc = session->classes.Find(topic.super, name);
    if (!desc || !desc->isPublic)
        return TCommandResult::Error(
            fmt::format("there is no class \"{}\" of {}s{}; there are {}", CutText(name, 60),
                        topic.name, DidYouMean(name, classes), fmt::join(classes, ", ")));
    Target made = NewEntity(*desc);
    return TCommandResult::Value(
        ParamInput(EnterLook(call.scene, made, call.Text("name", desc->info.name))));
}

TCommandResult LoadMap(TCommandCall& call) {
    std::string file = call.Text("file");
    std::string name = file.substr(file.find_last_of("/\\") + 1);
    auto map = MakeBitmapTex(file);
    TCommandResult result;
    result.value = ParamInput(EnterLook(call.scene, map, call.Text("name", name)));
    std::string problem;
    if (!map->Update(call.scene.GetTime(), &problem)) return TCommandResult::Error(problem);
    return result;
}

TCommandResult Rename(const Topic& topic, TCommandCall& call) {
    TCommandResult result;
    if (Target look = LookOfCall(topic, call, &result))
        RenameLook(call.scene, look, call.Text("name"), &result.error);
    return result;
}

TCommandResult Delete(const Topic& topic, TCommandCall& call) {
    TCommandResult result;
    if (Target look = LookOfCall(topic, call, &result)) DeleteLook(call.scene, look);
    return result;
}

TCommandResult DeleteUnused(const Topic& topic, TCommandCall& call) {
    std::vector<SceneLook> unused = UnusedLooks(call.scene, topic.kind);
    for (const SceneLook& look : unused) DeleteLook(call.scene, look.target);
    return Names(unused);
}

TCommandResult Duplicate(const Topic& topic, TCommandCall& call) {
    TCommandResult result;
    Target look = LookOfCall(topic, call, &result);
    if (!look) return result;
    Target copy = CopyLook(call.scene, *look);
    if (!copy) return TCommandResult::Error(fmt::format("{} cannot be copied", look->ClassName()));
    return TCommandResult::Value(ParamInput(LookName(call.scene, copy.get())));
}

TCommandResult Assign(TCommandCall& call) {
    TCommandResult result;
    std::shared_ptr<Mtl> material;
    if (call.Has("material")) {
        material = std::dynamic_pointer_cast<Mtl>(LookOfCall(kMaterial, call, &result));
        if (!material) return result;
    }
    std::vector<INode*> nodes = call.scene.Selection();
    if (call.Has("nodes")) {
        nodes.clear();
        for (const std::string& name : call.Texts("nodes")) {
            nodes.push_back(call.scene.FindNode(name));
            if (!nodes.back())
                return TCommandResult::Error(fmt::format("the scene has no node \"{}\"", name));
        }
    }
    if (nodes.empty()) return TCommandResult::Error("no node is named or selected");
    for (INode* node : nodes) node->SetMtl(material);
    return TCommandResult::Value(ParamInput(int64_t(nodes.size())));
}

TCommandResult Select(TCommandCall& call) {
    TCommandResult result;
    Target look = LookOfCall(kMaterial, call, &result);
    if (!look) return result;
    std::vector<INode*> nodes = NodesWith(call.scene, dynamic_cast<Mtl&>(*look));
    call.scene.Select(nodes);
    return TCommandResult::Value(ParamInput(int64_t(nodes.size())));
}

// The entries of a multi-material; null with the reason in the result.
MultiMtl* MultiOfCall(TCommandCall& call, TCommandResult* result) {
    Target look = LookOfCall(kMaterial, call, result);
    auto* multi = dynamic_cast<MultiMtl*>(look.get());
    if (look && !multi)
        result->error = fmt::format("\"{}\" has no list of materials", call.Text("material"));
    return multi;
}

TCommandResult AddSub(TCommandCall& call) {
    TCommandResult result;
    MultiMtl* multi = MultiOfCall(call, &result);
    if (!multi) return result;
    multi->Append(nullptr);
    result.value = ParamInput(multi->NumSubMtls() - 1);
    return result;
}

TCommandResult DeleteSub(TCommandCall& call) {
    TCommandResult result;
    MultiMtl* multi = MultiOfCall(call, &result);
    if (!multi) return result;
    int row = call.Int("row"), count = multi->NumSubMtls();
    if (row < 0 || row >= count)
        return TCommandResult::Error(
            fmt::format("there is no entry {}; the list has {}", row, count));
    for (int i = row; i + 1 < count; ++i) multi->SetSubMtl(i, multi->ShareSubMtl(i + 1));
    multi->SetNumSubMtls(count - 1);
    return result;
}

// Commands that both kinds have.
void AddLookCommands(TCommandTable& table, const Topic& topic) {
    std::string prefix = std::string(topic.name) + ".", words = topic.words, title = topic.title;
    TArgumentInfo look{topic.name, Kind::kText, "its name or path", true};
    auto on = [&topic](auto run) {
        return [&topic, run](TCommandCall& call) { return run(topic, call); };
    };
    table.Add({prefix + "list",
               "",
               "Gives the names and paths of all that the scene shows or keeps.",
               TCommandTarget::kScene,
               {},
               [&topic](TCommandCall& call) { return Names(LooksOf(call.scene, topic.kind)); }});
    table.Add(
        {prefix + "new",
         "New " + title,
         "Makes " + words + " and gives its name.",
         TCommandTarget::kScene,
         {{"class", Kind::kText,
           "by its name for scripts, such as \"" +
               std::string(topic.kind == LookKind::kMaterial ? "standard" : "checker") + "\""},
          {"name", Kind::kText, "of the new one"}},
         on(New)});
    table.Add({prefix + "rename",
               "Rename " + title,
               "Gives " + words + " another name; one without a name in the scene gets it.",
               TCommandTarget::kScene,
               {look, {"name", Kind::kText, "the new name", true}},
               on(Rename)});
    table.Add({prefix + "delete",
               "Delete " + title,
               "Takes " + words + " out of the scene; what showed it shows nothing in its place.",
               TCommandTarget::kScene,
               {look},
               on(Delete)});
    table.Add({prefix + "delete_unused",
               "Delete Unused " + title + "s",
               "Takes out what no node leads to, and gives the names.",
               TCommandTarget::kScene,
               {},
               on(DeleteUnused)});
    table.Add({prefix + "duplicate",
               "Duplicate " + title,
               "Copies " + words + ", which shares the maps below it, and gives the copy's name.",
               TCommandTarget::kScene,
               {look},
               on(Duplicate)});
    TValueTopic values{topic.name, title, TCommandTarget::kScene, {look}};
    values.things = [&topic](TCommandCall& call, TCommandResult* result) {
        Target found = LookOfCall(topic, call, result);
        return found ? std::vector{found} : std::vector<Target>();
    };
    AddValueCommands(table, values);
}

}  // namespace

void AddMaterialCommands(TCommandTable& table) {
    AddLookCommands(table, kMaterial);
    AddLookCommands(table, kMap);
    table.Add({"map.load",
               "Load Map",
               "Makes a texture map of an image file, and gives its name.",
               TCommandTarget::kScene,
               {{"file", Kind::kText, "a path", true},
                {"name", Kind::kText, "of the map (default: the file's)"}},
               LoadMap});
    table.Add({"material.assign",
               "Assign Material",
               "Gives nodes a material, or takes theirs; gives how many nodes.",
               TCommandTarget::kScene,
               {{"material", Kind::kText, "its name or path; none: nodes show none of their own"},
                {"nodes", Kind::kTexts, "names (default: the selected ones)"}},
               Assign});
    TArgumentInfo multi{"material", Kind::kText, "name or path of a multi-material", true};
    table.Add({"material.add_sub",
               "Add Entry",
               "Appends an empty entry to a multi-material, and gives its number.",
               TCommandTarget::kScene,
               {multi},
               AddSub});
    table.Add({"material.delete_sub",
               "Delete Entry",
               "Takes an entry out of a multi-material; those behind it move up.",
               TCommandTarget::kScene,
               {multi, {"row", Kind::kInteger, "its number, from 0", true}},
               DeleteSub});
    table.Add({"material.select",
               "Select by Material",
               "Selects the nodes that show a material, and gives how many.",
               TCommandTarget::kScene,
               {{"material", Kind::kText, "its name or path", true}},
               Select});
}
