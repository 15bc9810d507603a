// Commands of the lister, of presets and of the tools.
#include <fmt/format.h>

#include "Dravin/commands/all_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/presets/dravin_presets.h"
#include "Dravin/presets/preset_commands.h"
#include "Dravin/tools/lister_commands.h"
#include "Dravin/tools/tool_commands.h"
#include "host/base/text.h"
#include "host/scene/scene.h"

namespace {

using Kind = TArgumentKind;

ParamInput TextList(const std::vector<std::string>& texts) {
    ParamInput::Array array;
    for (const std::string& text : texts) array.emplace_back(text);
    return ParamInput(std::move(array));
}

// --- the lister

TCommandResult ListerRows(TCommandCall& call) {
    TListerCommands lister(call.scene);
    ParamInput::Array rows;
    for (size_t row = 0; row < lister.NumRows(); ++row) {
        std::vector<std::string> cells{lister.Node(row).GetName()};
        for (size_t c = 0; c < kNumListerColumns; ++c) cells.push_back(lister.Cell(row, c));
        rows.push_back(TextList(cells));
    }
    return TCommandResult::Value(ParamInput(std::move(rows)));
}

// The rows of the objects that a call names.
bool RowsOfCall(TCommandCall& call, const TListerCommands& lister, std::vector<size_t>* rows,
                TCommandResult* result) {
    for (const std::string& name : call.Texts("objects")) {
        int row = lister.FindRow(name);
        if (row < 0) {
            result->error = fmt::format("the lister has no object \"{}\"", CutText(name, 60));
            return false;
        }
        rows->push_back(size_t(row));
    }
    return true;
}

TCommandResult ListerSelect(TCommandCall& call) {
    TCommandResult result;
    TListerCommands lister(call.scene);
    std::vector<size_t> rows;
    if (RowsOfCall(call, lister, &rows, &result)) lister.Select(rows);
    return result;
}

TCommandResult ListerHide(TCommandCall& call) {
    TCommandResult result;
    TListerCommands lister(call.scene);
    std::vector<size_t> rows;
    if (!RowsOfCall(call, lister, &rows, &result)) return result;
    for (size_t row : rows)
        if (!lister.Hide(row, call.Bool("hidden", true), &result.error)) break;
    return result;
}

// --- presets

TPresetCommands Presets(TCommandCall& call) {
    return TPresetCommands(*call.object, call.Text("file", DravinPresetsPath()));
}

template <class Work>
auto OnPreset(Work work) {
    return [work](TCommandCall& call) {
        TPresetCommands presets = Presets(call);
        return TCommandResult::Value(ParamInput(work(presets, call.Text("name"))));
    };
}

// --- tools: on what is selected

template <class Work>
auto WithTools(Work work) {
    return [work](TCommandCall& call) {
        TDtools tools;
        TToolCommands commands(call.scene, tools);
        return TCommandResult::Value(ParamInput(work(commands)));
    };
}

TCommandResult Export(TCommandCall& call) {
    TDtools tools;
    TCommandResult result;
    std::vector<std::string> unknown;
    TExportFields fields = call.Has("fields") ? TExportFields::Parse(call.Text("fields"), &unknown)
                                              : TExportFields::All();
    for (const std::string& key : unknown)
        result.warnings.push_back(fmt::format("there is no field \"{}\"", CutText(key, 60)));
    TToolCommands commands(call.scene, tools);
    result.value = ParamInput(commands.Export(fields, call.Text("file")));
    return result;
}

}  // namespace

void AddListerCommands(TCommandTable& table) {
    const TArgumentInfo objects = {"objects", Kind::kTexts, "names of scatter objects", true};
    table.Add({"lister.rows",
               "",
               "Gives a row a scatter object: its name, then the ten cells of the lister.",
               TCommandTarget::kScene,
               {},
               ListerRows});
    table.Add({"lister.select",
               "",
               "Selects these scatter objects and nothing else.",
               TCommandTarget::kScene,
               {objects},
               ListerSelect});
    table.Add({"lister.hide",
               "Hide",
               "Hides scatter objects, or shows them again.",
               TCommandTarget::kScene,
               {objects, {"hidden", Kind::kBool, "false shows them"}},
               ListerHide});
}

void AddPresetCommands(TCommandTable& table) {
    const TArgumentInfo name = {"name", Kind::kText, "of the preset", true};
    const TArgumentInfo file = {"file", Kind::kText, "presets file (default: the user's)"};
    table.Add({"preset.list",
               "",
               "Gives the names of the presets.",
               TCommandTarget::kObject,
               {file},
               [](TCommandCall& call) {
                   return TCommandResult::Value(TextList(Presets(call).Names()));
               }});
    table.Add({"preset.load",
               "",
               "Gives the object the values of a preset, after a question; gives whether it did.",
               TCommandTarget::kObject,
               {name, file},
               OnPreset([](TPresetCommands& p, const std::string& n) { return p.Choose(n); })});
    table.Add({"preset.save",
               "",
               "Saves the object's parameters as a preset, after a question; gives whether it did.",
               TCommandTarget::kObject,
               {name, file},
               OnPreset([](TPresetCommands& p, const std::string& n) { return p.Save(n); })});
    table.Add({"preset.delete",
               "",
               "Deletes a preset, after a question; gives whether it did.",
               TCommandTarget::kObject,
               {name, file},
               OnPreset([](TPresetCommands& p, const std::string& n) { return p.Delete(n); })});
    table.Add(
        {"preset.export",
         "",
         "Writes the object's parameters as a file of one preset, named as the file is; gives "
         "whether it did.",
         TCommandTarget::kObject,
         {{"to", Kind::kText, "the file, ending with .ope (default: asks for it)"},
          {"name", Kind::kText, "of the file that is offered then"}},
         [](TCommandCall& call) {
             return TCommandResult::Value(
                 ParamInput(Presets(call).Export(call.Text("to"), call.Text("name"))));
         }});
    table.Add({"preset.import",
               "",
               "Gives the object the values of the first preset of a file; gives whether it did.",
               TCommandTarget::kObject,
               {{"from", Kind::kText, "the file (default: asks for it)"}},
               [](TCommandCall& call) {
                   return TCommandResult::Value(
                       ParamInput(Presets(call).Import(call.Text("from"))));
               }});
}

void AddToolCommands(TCommandTable& table) {
    table.Add({"tools.instantiate",
               "",
               "Turns the items of the selected scatter objects into nodes; gives whether it did.",
               TCommandTarget::kScene,
               {},
               WithTools([](TToolCommands& c) { return c.Instantiate(); })});
    table.Add({"tools.delete_instances",
               "",
               "Deletes those nodes again, after a question; gives whether it did.",
               TCommandTarget::kScene,
               {},
               WithTools([](TToolCommands& c) { return c.DeleteInstances(); })});
    table.Add({"tools.enable_geometry",
               "",
               "Enables the rows that instancing disabled; gives whether there were any.",
               TCommandTarget::kScene,
               {},
               WithTools([](TToolCommands& c) { return c.EnableGeometry(); })});
    table.Add({"tools.export",
               "",
               "Writes the items of the selected scatter objects as XML; gives whether it did.",
               TCommandTarget::kScene,
               {{"file", Kind::kText, "the document", true},
                {"fields", Kind::kText, "keys parted by commas (default: all)"}},
               Export});
}
