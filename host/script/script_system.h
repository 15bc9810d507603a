// The commands that parts of the system give each other as text.
//
// There is no language here: a script is a row of commands, and each of them looks like one of the
// forms in a table, whose function then runs. Whoever owns what a command is about registers its
// form, and takes it out again when it goes. Everything else is a script error.
//
//     scripts.Register("startObjectCreation %s",
//                      [&](const ScriptArguments& a) { return Start(a.Text(0)); });
//     scripts.Register("(maxOps.getnodebyhandle %d).isHidden = %b", …);
//     scripts.Execute("startObjectCreation Dravin_Pro");
//
// Places of a form: %d a whole number, %f a number, %b true or false (on, off), %s one name, number
// or text in quotation marks; "%s" a text in quotation marks only, $'%s' a node ($'name' or $name).
// All else stands as it is, names in letters of either case, blanks wherever words allow.
//
// Commands are parted by semicolons and line ends. "try(commands) catch(commands)" runs the second
// ones when one of the first fails, and may be followed by a further command without a semicolon.
// A script's value is that of its last command. The text is read before its first command runs.
//
// A session has one: HostContext::State<ScriptSystem>(). One thread; functions may register,
// unregister and execute.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/script/script_tokens.h"
#include "host/script/script_value.h"

// Longer texts, and scripts that run scripts deeper than this, are errors.
inline constexpr size_t kMaxScriptBytes = 1 << 20;
inline constexpr int kMaxScriptRuns = 16;

class ScriptSystem {
public:
    using Function = std::function<ScriptResult(const ScriptArguments&)>;

    // The number to unregister with. 0, and nothing done, when the same form is there already, or
    // the text is no form: it cannot be read, holds several commands, has no name or starts with
    // try. Of different forms that fit the same command the one that was there first runs.
    int Register(std::string_view form, Function function);
    void Unregister(int registration);

    // The value of the last command. The first error outside of try ends the script; what ran
    // before it stays done. The error names line, column and command, and goes to the listener of
    // the user interface too.
    ScriptResult Execute(std::string_view text);

private:
    struct Command {
        int registration;
        std::vector<ScriptToken> form;
        Function function;
    };
    class Run;

    std::vector<std::shared_ptr<const Command>> m_commands;
    int m_next = 1;
    int m_numRuns = 0;   // inside each other
    int m_numTries = 0;  // around what runs now, of all runs
};
