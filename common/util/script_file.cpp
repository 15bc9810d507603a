#include "common/util/script_file.h"

#include <fmt/format.h>

#include "host/base/file_input.h"
#include "host/scene/host_context.h"
#include "host/script/scene_scripts.h"
#include "host/script/script_system.h"

namespace {

ScriptResult Include(ScriptSystem& scripts, const std::string& path) {
    std::string error;
    std::optional<std::string> text = ReadWholeFile(path, kMaxScriptBytes, &error);
    return text ? scripts.Execute(*text) : ScriptError(error);
}

// Makes sure that the session's scripts can include files.
struct Including {
    Including() {
        ScriptSystem& scripts = HostContext::Current()->State<ScriptSystem>();
        scripts.Register("include \"%s\"", [&scripts](const ScriptArguments& arguments) {
            return Include(scripts, arguments.Text(0));
        });
    }
};

}  // namespace

ScriptResult RunScriptFile(const std::string& file, const std::string& command) {
    HostContext* session = HostContext::Current();
    if (!session) return ScriptError("scripts run in sessions only");
    session->State<SceneScripts>();
    session->State<Including>();
    return session->State<ScriptSystem>().Execute(
        fmt::format("include {}; {}", QuoteForScript(file), command));
}
