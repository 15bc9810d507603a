// Errors that a user should hear of and that stop nothing.
#pragma once

#include <string>

// Into the log, as a warning with the caption in front, and a line for the script listener of the
// current session. Never throws.
void ReportError(const std::string& text, const std::string& caption);
