// `dravin edit`: commands on a scene, by name, into a new scene.
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/commands/all_commands.h"
#include "apps/dravin/command_values.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/outputs.h"
#include "apps/dravin/session.h"
#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/io/description_value.h"

namespace {

constexpr uint64_t kMaxScriptBytes = 64 << 20;

struct Call {
    std::string place;  // for messages
    std::string command, target;
    TArguments arguments;
};

// "items.move by=[1,2,3]".
ExitCode ReadCommand(const std::string& text, const std::string& target, std::vector<Call>* calls) {
    Call call{"--do", {}, target, {}};
    std::string error;
    if (!ParseCommandText(text, &call.command, &call.arguments, &error)) {
        PrintError(fmt::format("--do \"{}\": {}", CutText(text, 60), error));
        return kExitUsage;
    }
    calls->push_back(std::move(call));
    return kExitDone;
}

Call ReadScriptedCall(const DescriptionValue& value, const std::string& target) {
    DescriptionObject keys(value);
    Call call{{}, keys.Require("command").AsText(), keys.Text("object", target), {}};
    for (const auto& [name, argument] : keys.Members())
        if (name != "command" && name != "object") call.arguments[name] = argument.AsInput();
    return call;
}

ExitCode ReadScript(const EditOptions& options, std::vector<Call>* calls) {
    if (options.script.empty()) return kExitDone;
    std::string error;
    auto text = ReadWholeFile(options.script, kMaxScriptBytes, &error);
    if (!text) {
        PrintError(error);
        return kExitMissingInput;
    }
    DescriptionDocument document(options.script, *text);
    if (document.Parse()) {
        DescriptionValue root(document, document.Root());
        std::vector<DescriptionValue> elements = root.AsArray();
        for (size_t i = 0; i < elements.size() && !document.Failed(); ++i) {
            calls->push_back(ReadScriptedCall(elements[i], options.object));
            calls->back().place = fmt::format("{}: command {}", options.script, i + 1);
        }
    }
    if (!document.Failed()) return kExitDone;
    PrintError(document.Error());
    return ExitCode(int(document.ErrorClass()));
}

ExitCode RunCall(const TCommandTable& table, Session& session, const Call& call) {
    TCommandResult result = session.Run(table, call.command, call.target, call.arguments);
    for (const std::string& warning : result.warnings)
        PrintWarning(fmt::format("{}: {}: {}", call.place, call.command, warning));
    if (!result) {
        PrintError(fmt::format("{}: {}", call.place, result.error));
        return table.Find(call.command) ? kExitFailed : kExitUsage;
    }
    if (!std::holds_alternative<std::monostate>(result.value.value))
        PrintResult(CommandValueText(result.value));
    return kExitDone;
}

ExitCode RunAll(Session& session, const std::vector<Call>& calls) {
    TCommandTable table = MakeCommandTable();
    for (const Call& call : calls)
        if (ExitCode code = RunCall(table, session, call); code != kExitDone) return code;
    return kExitDone;
}

}  // namespace

ExitCode RunEdit(const EditOptions& options) {
    std::span<const std::string> output(&options.output, options.output.empty() ? 0 : 1);
    if (ExitCode code = CheckOutputs(output); code != kExitDone) return code;
    std::vector<Call> calls;
    if (ExitCode code = ReadScript(options, &calls); code != kExitDone) return code;
    for (const std::string& text : options.commands)
        if (ExitCode code = ReadCommand(text, options.object, &calls); code != kExitDone)
            return code;
    if (calls.empty()) {
        PrintError(
            "nothing to do: name commands with --do or --script; `dravin edit --list` "
            "lists them");
        return kExitUsage;
    }
    Session session;
    if (ExitCode code = session.Open(options.scene); code != kExitDone) return code;
    session.Host().SetUserInterface(MakeProgramInterface(options.yes));
    if (options.yes) session.Host().quiet = false;  // where nobody is asked, answers are no
    if (ExitCode code = RunAll(session, calls); code != kExitDone) return code;
    if (options.output.empty()) return kExitDone;
    if (ExitCode code = CheckNotInputs(output, session.Inputs()); code != kExitDone) return code;
    return session.Save(options.output);
}
