// The folders that effects of the library lie in: one for all users of the machine, one of the
// user's, as the settings name them.
#pragma once

#include <map>
#include <optional>
#include <string>

// The effects folders as the settings hold them: value name -> path.
struct TEffectsFolders {
    std::string library;  // shared by all users of the machine
    std::string user;
};
// Completes `values` and makes the folders that it names for the first time: "effects" inside
// dataFolder, "Dravin Pack/effects" inside documentsFolder. Folders that exist are no error. None
// with a reason when a folder cannot be made.
std::optional<TEffectsFolders> EffectsFolders(std::map<std::string, std::string>& values,
                                              const std::string& dataFolder,
                                              const std::string& documentsFolder,
                                              std::string* error);

// The same as the user's settings say, which then name the folders: below the user's data and
// documents folders. None with a reason where a folder or the settings cannot be written.
std::optional<TEffectsFolders> EffectsFoldersOfUser(std::string* error);
