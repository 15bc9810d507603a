// Commands on libraries of effects on disk: the user's and that of all users.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/commands/effect_session.h"
#include "Dravin/config/effect_library.h"
#include "Dravin/dravin.h"
#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_folders.h"

namespace {

using Kind = TArgumentKind;

const TArgumentInfo kLibrary = {
    "library", Kind::kText, "which one (default: user)", false, {"user", "shared"}};
const TArgumentInfo kName = {"name", Kind::kText, "path in the library, joined by \"/\"", true};

// Runs `work` on the library that a call names.
template <class Work>
auto InLibrary(Work work) {
    return [work](TCommandCall& call) {
        TCommandResult result;
        std::optional<TEffectsFolders> folders = EffectsFoldersOfUser(&result.error);
        if (!folders) return result;
        bool isShared = call.Text("library") == "shared";
        TEffectLibrary library(isShared ? folders->library : folders->user);
        work(call, library, &result);
        return result;
    };
}

void Save(TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
    int row = EffectOfCall(call, result);
    if (row < 0) return;
    const std::string text =
        call.object->Block(kEffectParams).GetString(effectParams::kEfxmllist, 0, row);
    std::string definition = IsEffectDefinition(text) ? text : WrapEffectProgram(text, "");
    library.Save(call.Text("name"), definition, call.Bool("replace"), &result->error);
}

void Load(TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
    int row = EffectOfCall(call, result);
    if (row < 0) return;
    std::optional<std::string> text = library.Load(call.Text("name"), &result->error);
    if (!text || !ReadEffectDefinition(*text, &result->error)) return;
    EffectCommandsOf(*call.object).TakeDefinition(row, *text);
}

void List(TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
    auto entries = library.List(call.Text("folder"), &result->error);
    if (!entries) return;
    ParamInput::Array names;
    for (const TEffectLibrary::Entry& entry : *entries)
        names.emplace_back(entry.name + (entry.isFolder ? "/" : ""));
    result->value = ParamInput(std::move(names));
}

}  // namespace

void AddEffectLibraryCommands(TCommandTable& table) {
    const TArgumentInfo effect = {"effect", Kind::kValue,
                                  "number from 0, name or id (default: the only or selected one)"};
    table.Add({"effect.library.list",
               "",
               "Gives what lies in a library; folders end with \"/\".",
               TCommandTarget::kScene,
               {kLibrary, {"folder", Kind::kText, "folder of the library (default: itself)"}},
               InLibrary(List)});
    table.Add({"effect.library.save",
               "",
               "Saves an effect's definition into a library.",
               TCommandTarget::kObject,
               {effect, kName, kLibrary, {"replace", Kind::kBool, "an effect that is there goes"}},
               InLibrary(Save)});
    table.Add({"effect.library.load",
               "Load Effect",
               "Gives an effect the definition of one in a library.",
               TCommandTarget::kObject,
               {effect, kName, kLibrary},
               InLibrary(Load)});
    table.Add({"effect.library.rename",
               "",
               "Renames an effect or a folder of a library.",
               TCommandTarget::kScene,
               {kName, {"to", Kind::kText, "the new path", true}, kLibrary},
               InLibrary([](TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
                   library.Rename(call.Text("name"), call.Text("to"), &result->error);
               })});
    table.Add({"effect.library.folder",
               "",
               "Makes a folder in a library.",
               TCommandTarget::kScene,
               {kName, kLibrary},
               InLibrary([](TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
                   library.MakeFolder(call.Text("name"), &result->error);
               })});
    table.Add({"effect.library.delete",
               "",
               "Deletes an effect of a library, or a folder with all in it.",
               TCommandTarget::kScene,
               {kName, kLibrary},
               InLibrary([](TCommandCall& call, TEffectLibrary& library, TCommandResult* result) {
                   library.Delete(call.Text("name"), &result->error);
               })});
}
