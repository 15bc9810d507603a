// The description of `dravin preset`.
#include "apps/dravin/command_line.h"

namespace {

void AddName(CLI::App* c, std::string& name, const char* what) {
    c->add_option("name", name, what)->required()->type_name("NAME");
}

void AddSceneAndObject(CLI::App* c, PresetOptions& o) {
    c->add_option("scene", o.scene, "scene description")->required()->type_name("SCENE");
    c->add_option("--object", o.object, "the scatter object, where the scene has several")
        ->type_name("NAME");
}

void AddOutput(CLI::App* c, PresetOptions& o) {
    c->add_option("-o,--output", o.output, "the scene with the values of the preset")
        ->type_name("OUT");
}

}  // namespace

void CommandLine::AddPreset() {
    PresetOptions& o = m_preset;
    CLI::App* preset = Add("preset", "keep the parameters of a scatter object under a name",
                           "  dravin preset save wood.json \"Spruce wood\"\n"
                           "  dravin preset list\n"
                           "  dravin preset load park.json \"Spruce wood\" -o park2.json\n"
                           "  dravin preset export wood.json spruces.ope\n"
                           "  dravin preset export \"Spruce wood\" spruces.ope\n"
                           "  dravin preset import park.json spruces.ope -o park2.json\n"
                           "  dravin preset import spruces.ope",
                           {});
    preset->require_subcommand(1);
    preset->callback({});  // its own would come last
    auto add = [&](const char* name, const char* what, PresetCommand command) {
        CLI::App* c = preset->add_subcommand(name, what);
        c->add_option("--file", o.file,
                      "file of presets (default: dravin_presets.ini in the "
                      "configuration folder)")
            ->type_name("FILE");
        c->callback(
            [this, command, &o] { m_run = [command, &o] { return RunPreset(command, o); }; });
        return c;
    };
    CLI::App* list = add("list", "names of the presets", {});
    list->callback([this, &o] { m_run = [this, &o] { return RunPresetList(o, m_console.json); }; });

    CLI::App* save = add("save", "keep the values of an object", PresetCommand::kSave);
    AddSceneAndObject(save, o);
    AddName(save, o.name, "of the preset; one that is there is replaced");

    CLI::App* load =
        add("load", "write a scene whose object has the values of a preset", PresetCommand::kLoad);
    AddSceneAndObject(load, o);
    AddName(load, o.name, "of the preset");
    AddOutput(load, o);
    load->get_option("--output")->required();

    CLI::App* remove = add("delete", "delete a preset", PresetCommand::kDelete);
    AddName(remove, o.name, "of the preset");

    CLI::App* rename = add("rename", "give a preset another name", PresetCommand::kRename);
    AddName(rename, o.name, "of the preset");
    rename->add_option("new", o.newName, "its new name")->required()->type_name("NEW");

    CLI::App* out =
        add("export", "write a file of one preset: of a scene's object, or a stored one",
            PresetCommand::kExport);
    AddSceneAndObject(out, o);
    out->get_option("scene")->description("a scene description, or the name of a preset");
    out->add_option("target", o.name, "the file; the preset takes its base name")
        ->required()
        ->type_name("FILE.ope");

    CLI::App* in =
        add("import", "SCENE FILE -o OUT: as load, from such a file; FILE [NAME]: keep its preset",
            PresetCommand::kImport);
    AddSceneAndObject(in, o);
    in->get_option("scene")->description("a scene description; without -o the file");
    in->add_option("name", o.name, "the file; without -o the name that the preset takes")
        ->type_name("FILE|NAME");
    AddOutput(in, o);
}
