// The descriptions of `dravin edit` and `dravin convert`.
#include "apps/dravin/command_line.h"

void CommandLine::AddEdit() {
    EditOptions& o = m_edit;
    CLI::App* c = Add(
        "edit", "change a scene by commands",
        "  dravin edit wood.json --do \"param.set name=seed value=7\" -o wood2.json\n"
        "  dravin edit wood.json --do \"node.transform by=[0,0,2]\" --object rock -o wood2.json\n"
        "  dravin edit wood.json --script changes.json --yes -o wood2.json\n"
        "  dravin edit --list\n"
        "  dravin edit --list node.transform",
        {});
    c->callback([this, c, &o] {
        bool lists = c->count("--list") > 0;
        if (!lists && o.scene.empty()) throw CLI::RequiredError("scene");
        m_run = [this, lists, &o] {
            return lists ? RunEditList(m_listedCommand, m_console.json) : RunEdit(o);
        };
    });
    c->add_option("scene", o.scene, "scene description")->type_name("SCENE");
    c->add_option("-o,--output", o.output, "the new scene (default: none is written)")
        ->type_name("OUT");
    c->add_option("--object", o.object,
                  "what the commands work on (default: the only scatter object)")
        ->type_name("NAME");
    c->add_option("--do", o.commands, "a command with its arguments; may stand several times")
        ->type_name("\"COMMAND NAME=VALUE ...\"")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    c->add_option("--script", o.script,
                  "commands in a JSON file, run before the others: "
                  "[{\"command\": NAME, \"object\": NODE, ARGUMENT: VALUE, ...}, ...]")
        ->type_name("FILE");
    c->add_flag("--yes", o.yes, "answer questions with yes (default: no)");
    c->add_option("--list", m_listedCommand, "list the commands, or describe one of them")
        ->expected(0, 1)
        ->type_name("[COMMAND]");
}

void CommandLine::AddConvert() {
    ConvertOptions& o = m_convert;
    CLI::App* c = Add("convert", "write a scene in its other form",
                      "  dravin convert wood.json wood.dscene\n"
                      "  dravin convert wood.dscene wood.json",
                      [&o] { return RunConvert(o); });
    c->add_option("input", o.input, "scene file or scene description")->required()->type_name("IN");
    c->add_option("output", o.output,
                  "a scene description where the name ends in .json, else a scene file")
        ->required()
        ->type_name("OUT");
}
