#include "apps/dravin/shell_texts.h"

#include <algorithm>

#include <fmt/format.h>

#include "Dravin/config/version.h"
#include "apps/dravin/console.h"
#include "host/base/text.h"

namespace {

using Apps = std::vector<const CLI::App*>;

Apps Commands(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

// Options that are written with dashes.
std::vector<const CLI::Option*> Options(const CLI::App& app) {
    return app.get_options([](const CLI::Option* o) { return o->nonpositional(); });
}

std::vector<const CLI::Option*> Positionals(const CLI::App& app) {
    return app.get_options([](const CLI::Option* o) { return o->get_positional(); });
}

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

// "-o, --output OUT"
std::string Spelling(const CLI::Option& option) {
    std::string text;
    for (const std::string& name : option.get_snames()) text += "-" + name + ", ";
    for (const std::string& name : option.get_lnames()) text += "--" + name + ", ";
    text.resize(text.size() - 2);
    return TakesValue(option) ? text + " " + option.get_type_name() : text;
}

// "[SCENE]": what stands in the synopsis for a positional argument.
std::string Place(const CLI::Option& option) {
    std::string name = option.get_name();
    for (char& c : name) c = char(std::toupper(uint8_t(c)));
    return option.get_required() ? name : "[" + name + "]";
}

// Text as troff takes it: no control lines, no escapes, dashes that stay dashes.
std::string Troff(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        bool atStart = i == 0 || text[i - 1] == '\n';
        if (atStart && (text[i] == '.' || text[i] == '\'')) out += "\\&";
        if (text[i] == '\\')
            out += "\\e";
        else if (text[i] == '-')
            out += "\\-";
        else
            out += text[i];
    }
    return out;
}

std::string ManualOptions(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* option : Options(app))
        text += fmt::format(".TP\n.B {}\n{}\n", Troff(Spelling(*option)),
                            Troff(option->get_description()));
    return text;
}

std::string ManualCommand(const CLI::App& command, const std::string& prefix) {
    std::string name = prefix + command.get_name(), text = ".SS \"dravin " + name;
    for (const CLI::Option* place : Positionals(command)) text += " " + Place(*place);
    text += fmt::format("\"\n{}\n", Troff(command.get_description()));
    for (const CLI::Option* place : Positionals(command))
        text +=
            fmt::format(".TP\n.I {}\n{}\n", Troff(Place(*place)), Troff(place->get_description()));
    text += ManualOptions(command);
    if (!command.get_footer().empty())
        text += fmt::format(".PP\n.nf\n{}\n.fi\n", Troff(command.get_footer()));
    for (const CLI::App* sub : Commands(command)) text += ManualCommand(*sub, name + " ");
    return text;
}

std::string ManualExitCodes() {
    std::string text;
    for (const auto& [code, meaning] : ExitCodeTexts())
        text += fmt::format(".TP\n.B {}\n{}\n", code, Troff(meaning));
    return text;
}

// Words that may follow a command: its own commands and options, and those of all commands.
std::vector<std::string> WordsAfter(const CLI::App& command) {
    std::vector<std::string> words = CommandNames(command);
    for (const CLI::App* sub : Commands(command))
        for (const std::string& word : WordsAfter(*sub)) words.push_back(word);
    for (const CLI::Option* option : Options(command)) {
        for (const std::string& name : option->get_snames()) words.push_back("-" + name);
        for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
    }
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return words;
}

std::string Joined(const std::vector<std::string>& words, const char* between = " ") {
    return fmt::format("{}", fmt::join(words, between));
}

std::string BashCompletion(const CLI::App& app) {
    std::string cases;
    for (const CLI::App* command : Commands(app))
        cases += fmt::format("    {}) words=\"{}\" ;;\n", command->get_name(),
                             Joined(WordsAfter(*command)));
    std::string all = Joined(CommandNames(app), "|");
    std::vector<std::string> first = CommandNames(app), options = OptionNames(app);
    first.insert(first.end(), options.begin(), options.end());
    return fmt::format(R"(# Completion of dravin for bash.
_dravin() {{
    local cur=${{COMP_WORDS[COMP_CWORD]}} command= words i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${{COMP_WORDS[i]}} in
        {}) command=${{COMP_WORDS[i]}}; break ;;
        esac
    done
    case $command in
    '') words="{}" ;;
{}    esac
    COMPREPLY=($(compgen -W "$words" -- "$cur"))
}}
complete -o default -F _dravin dravin)",
                       all, Joined(first), cases);
}

// A text between single quotes of a shell, without what would end it or mean something to
// _arguments.
std::string Quoted(std::string text) {
    std::string out;
    for (char c : text) {
        if (c == '\'') c = '`';
        if (c == '[') c = '(';
        if (c == ']') c = ')';
        if (c == ':') out += '\\';
        out += c;
    }
    return out;
}

std::string ZshOption(const CLI::Option& option) {
    std::string text;
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    for (const std::string& name : names)
        text +=
            fmt::format(" \\\n            '*{}[{}]{}'", name, Quoted(option.get_description()),
                        TakesValue(option) ? ":" + Quoted(option.get_type_name()) + ":_files" : "");
    return text;
}

std::string ZshArguments(const CLI::App& command) {
    std::string text;
    for (const CLI::Option* option : Options(command)) text += ZshOption(*option);
    for (const CLI::App* sub : Commands(command)) text += ZshArguments(*sub);
    return text;
}

std::string ZshCompletion(const CLI::App& app) {
    std::string list, cases, general;
    for (const CLI::App* c : Commands(app)) {
        list += fmt::format("        '{}:{}'\n", c->get_name(), Quoted(c->get_description()));
        std::vector<std::string> subs = CommandNames(*c);
        std::string words =
            subs.empty() ? "" : fmt::format(" \\\n            '1:command:({})'", Joined(subs));
        cases += fmt::format(
            "        {})\n            _arguments{}{} \\\n            '*:file:_files' ;;\n",
            c->get_name(), ZshArguments(*c), words);
    }
    for (const CLI::Option* option : Options(app)) general += ZshOption(*option);
    return fmt::format(R"(#compdef dravin
# Completion of dravin for zsh.
_dravin() {{
    local -a commands line
    local state
    commands=(
{}    )
    _arguments -C{} \
            '1:command:->command' '*::argument:->rest'
    case $state in
    command) _describe command commands ;;
    rest)
        case $line[1] in
{}        esac ;;
    esac
}}
_dravin "$@")",
                       list, general, cases);
}

std::string FishOption(const std::string& when, const CLI::Option& option) {
    std::string text = "complete -c dravin" + when;
    for (const std::string& name : option.get_snames()) text += " -s " + name;
    for (const std::string& name : option.get_lnames()) text += " -l " + name;
    return fmt::format("{}{} -d '{}'\n", text, TakesValue(option) ? " -r" : "",
                       Quoted(option.get_description()));
}

std::string FishCompletion(const CLI::App& app) {
    std::string text = "# Completion of dravin for fish.\n";
    for (const CLI::Option* option : Options(app)) text += FishOption("", *option);
    for (const CLI::App* c : Commands(app)) {
        text += fmt::format("complete -c dravin -n __fish_use_subcommand -a {} -d '{}'\n",
                            c->get_name(), Quoted(c->get_description()));
        std::string when = fmt::format(" -n '__fish_seen_subcommand_from {}'", c->get_name());
        for (const CLI::Option* option : Options(*c)) text += FishOption(when, *option);
        for (const CLI::App* sub : Commands(*c)) {
            text += fmt::format("complete -c dravin{} -a {} -d '{}'\n", when, sub->get_name(),
                                Quoted(sub->get_description()));
            for (const CLI::Option* option : Options(*sub)) text += FishOption(when, *option);
        }
    }
    text.pop_back();
    return text;
}

}  // namespace

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : Commands(app)) names.push_back(command->get_name());
    return names;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::App* app = &command; app; app = app->get_parent())
        for (const CLI::Option* option : Options(*app)) {
            for (const std::string& name : option->get_snames()) names.push_back("-" + name);
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        }
    return names;
}

std::string ManualPage(const CLI::App& app) {
    std::string commands;
    for (const CLI::App* command : Commands(app)) commands += ManualCommand(*command, "");
    return fmt::format(R"(.TH DRAVIN 1 "" "Dravin Pack {}" "User commands"
.SH NAME
dravin \- scatters millions of plants, rocks or anything else over a 3D scene
.SH SYNOPSIS
.B dravin
.RI [ OPTION "]... " COMMAND " [" ARGUMENT ]...
.SH DESCRIPTION
{}
Results go to standard output, everything else to standard error.
.SH OPTIONS
{}.SH COMMANDS
{}.SH "EXIT STATUS"
{}.SH ENVIRONMENT
.TP
.B DRAVIN_HOME
folder of the maps, templates, effects and models that come with the program
.TP
.B DRAVIN_IMPORT_HELPER
the program that reads model formats in a process of its own
.TP
.B NO_COLOR
no colours, also on a terminal)",
                       ProductVersion(), Troff(app.get_description()), ManualOptions(app), commands,
                       ManualExitCodes());
}

std::string ShellCompletion(const CLI::App& app, const std::string& shell) {
    if (shell == "bash") return BashCompletion(app);
    return shell == "zsh" ? ZshCompletion(app) : FishCompletion(app);
}
