// What the system tells the host's log.
//
// Lines name the system and its version, "DRAVIN 6.3.1 NotifyPreRender starts"; those of an object
// name it, too (Dravin/build/object_log.h). Thread safe.
#pragma once

#include <string>

#include "host/base/log.h"

// The line of a message, of which at most 2048 characters stand. object: whose it is; empty: none.
std::string SystemLogLine(const std::string& message, const std::string& object = {});

// Written where the log level lets it pass.
void SystemLog(LogKind kind, const std::string& message);
