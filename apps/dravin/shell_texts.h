// Texts about the command line for other programs: the manual page, and completions for shells.
// All are made from the description of the options.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

// Names of the commands, in the order of the help text.
std::vector<std::string> CommandNames(const CLI::App& app);
// Every option of a command and of those around it, with its dashes.
std::vector<std::string> OptionNames(const CLI::App& command);

// The manual page (section 1) in the man macros of troff.
std::string ManualPage(const CLI::App& app);
// A script for "bash", "zsh" or "fish".
std::string ShellCompletion(const CLI::App& app, const std::string& shell);
