// Scripts that lie in files.
#pragma once

#include <string>

#include "host/script/script_value.h"

// Runs the file's commands, then `command` (empty: nothing more), in the current session. The value
// of the last one, or the first error.
ScriptResult RunScriptFile(const std::string& file, const std::string& command);
