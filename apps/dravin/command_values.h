// Calls of commands as people type them, and what commands give back, as text.
#pragma once

#include <string>

#include "Dravin/commands/command_table.h"

// "items.move items=[0, 1] by=[1,2,3] label=big trees": a name, then arguments. A value is JSON, or
// else text up to the next " name="; quotes keep such text together. False with a reason in
// `error`.
bool ParseCommandText(const std::string& text, std::string* command, TArguments* arguments,
                      std::string* error);

// The value as JSON; a text as it is.
std::string CommandValueText(const ParamInput& value);
