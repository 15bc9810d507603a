// Files that a program is shipped with and needs at run time: helper programs, modules.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>

// The folder of the program, or of the module, that holds this code; empty when it cannot be told.
std::filesystem::path ProgramFolder();

// The file that the environment variable `variable` names, whether or not it exists; else the first
// of `places` that exists, relative to the folder of the program or module that holds this code, so
// that an installed tree may be moved; else `built`, where the build put it. Empty when there is
// none. Thread safe.
std::string FindProgramPart(const char* variable, std::initializer_list<const char*> places,
                            const std::string& built);
