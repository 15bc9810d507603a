#include "Dravin/tools/tool_commands.h"

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/tools/data_export.h"
#include "Dravin/tools/instantiate.h"
#include "host/base/log.h"
#include "host/base/thread_pool.h"
#include "host/params/undo_step.h"
#include "host/scene/host_context.h"

namespace {

// Texts that users know, spelt as they know them.
constexpr const char* kNoObjects = "There are not Dravin objets selected";
constexpr const char* kExported = "XML file created sucessfully";
constexpr const char* kNotExported = "Error writing to XML file";
constexpr const char* kCaption = "Tavu Software";

IUserInterface& User() { return HostContext::Current()->UserInterface(); }

bool AgreesToDelete() {
    return User().Question(kDeleteInstancesQuestion, "Warning") == Answer::kYes;
}

}  // namespace

std::vector<TToolCommands::Selected> TToolCommands::Objects() const {
    std::vector<Selected> objects;
    for (INode* node : m_scene.Selection())
        if (auto* object = dynamic_cast<TDravin*>(node->GetObjectRef()))
            objects.push_back({node, object});
    if (objects.empty()) User().MessageBox(kNoObjects, kCaption, MessageKind::kWarning);
    return objects;
}

bool TToolCommands::Instantiate() {
    std::vector<Selected> objects = Objects();
    bool all = !objects.empty();
    for (const Selected& selected : objects) {
        TInstantiateResult result =
            ::Instantiate(*selected.object, *selected.node, m_tools, AgreesToDelete);
        if (result.status == TInstantiateStatus::kBuildFailed) LogWarning(result.text);
        if (result.status == TInstantiateStatus::kNoCustomObjects) {
            User().SetPrompt(result.text);
            User().ListenerPrint(result.text);
        }
        all &= result.status == TInstantiateStatus::kDone;
    }
    return all;
}

bool TToolCommands::DeleteInstances() {
    std::vector<Selected> objects = Objects();
    if (objects.empty() || !AgreesToDelete()) return false;
    UndoStep step("Delete Instances");
    for (const Selected& selected : objects) ::DeleteInstances(*selected.object, *selected.node);
    return true;
}

bool TToolCommands::EnableGeometry() {
    std::vector<Selected> objects = Objects();
    UndoStep step("Enable Geometry");
    for (const Selected& selected : objects) ::EnableGeometry(*selected.object);
    return !objects.empty();
}

bool TToolCommands::Export(const TExportFields& fields, const std::string& path) {
    std::vector<Selected> objects = Objects();
    if (objects.empty()) return false;
    TDataExport file(fields);
    TItemConsumer consumer = [&file](const TDravinItemList& items) { return file.Take(items); };
    TBuildFlags flags;
    flags.render = flags.noMesh = true;
    std::string error;
    bool good = file.Open(path, &error);
    for (size_t i = 0; good && i < objects.size(); ++i) {
        TDravinBuild& build = objects[i].object->Build();
        file.BeginObject(*objects[i].object, *objects[i].node, m_scene.GetTime());
        build.BuildMesh(m_scene.GetTime(), flags, &consumer);
        file.EndObject(NumProcessors());
        // An object that is switched off has no items.
        good =
            build.Status() == TBuildStatus::kSuccess || build.Status() == TBuildStatus::kDisabled;
        if (!good) error = objects[i].node->GetName() + ": " + build.Message()[0];
    }
    good = good && file.Commit(&error);
    if (!good) LogError(error);
    User().MessageBox(good ? kExported : kNotExported, kCaption,
                      good ? MessageKind::kInformation : MessageKind::kError);
    return good;
}
