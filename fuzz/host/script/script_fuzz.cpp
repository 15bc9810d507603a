#include "fuzz/fuzz_file.h"
#include "host/base/utf8.h"
#include "host/script/script_system.h"

// Any text ends in a value or an error that can be shown, twice the same; texts and nodes come back
// from their marks.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    ScriptSystem scripts;
    std::string seen;
    auto note = [&](const ScriptArguments& a) { return ScriptResult{a.Text(0), {}}; };
    scripts.Register("include \"%s\"", note);
    scripts.Register("convertToMesh $'%s'", note);
    scripts.Register("startObjectCreation %s", note);
    scripts.Register("(maxOps.getnodebyhandle %d).isHidden = %b", [](const ScriptArguments& a) {
        return a.Truth(1) ? ScriptResult{a.Integer(0), {}} : ScriptError("no");
    });
    scripts.Register("a.b = [%f,%f]", [](const ScriptArguments& a) {
        return ScriptResult{a.Number(0) + a.Number(1), {}};
    });
    scripts.Register(text, [](const ScriptArguments&) { return ScriptResult{}; });
    ScriptResult first = scripts.Execute(text), second = scripts.Execute(text);
    Promise(first.error == second.error && first.Text() == second.Text());
    Promise(IsUtf8(first.error));
    Promise(scripts.Execute("include " + QuoteForScript(text)).Text() == text);
    Promise(scripts.Execute("convertToMesh " + NodeForScript(text)).Text() == text);
    return 0;
}
