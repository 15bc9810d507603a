#include "Dravin/config/main_folder.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include "Dravin/config/settings.h"
#include "host/base/program_part.h"

namespace fs = std::filesystem;

namespace {

// A folder counts as the main one when the distribution maps are there.
bool IsMainFolder(const fs::path& folder) {
    std::error_code error;
    return fs::exists(folder / "distmaps" / "index.dat", error);
}

// Where the main folder may be, likeliest first: of an installation beside the program's folder, of
// a module that brings it along or of a build folder above, of an installation that a module of
// another program belongs to.
std::vector<fs::path> Candidates() {
    fs::path program = ProgramFolder();
    if (program.empty()) return {};
    std::vector<fs::path> candidates{program.parent_path() / "share" / "dravin"};
    for (fs::path folder = program; folder.has_relative_path(); folder = folder.parent_path())
        candidates.push_back(folder / "data");
    for (fs::path folder = program.parent_path().parent_path(); folder.has_relative_path();
         folder = folder.parent_path())
        candidates.push_back(folder / "share" / "dravin");
    return candidates;
}

// What says where the main folder is, with the folder; empty where nothing does.
struct Told {
    std::string by, folder;
};
Told ToldFolder() {
    if (const char* home = std::getenv("DRAVIN_HOME"); home && *home) return {"DRAVIN_HOME", home};
    std::optional<std::string> folder = DravinSettings().Read(kSettingsKey, kMainDirSetting);
    return folder && !folder->empty() ? Told{"the setting MainDir", *folder} : Told{};
}

}  // namespace

std::string MainFolder() {
    if (Told told = ToldFolder(); !told.folder.empty()) return told.folder;
    for (const fs::path& folder : Candidates())
        if (IsMainFolder(folder)) return folder.string();
    return {};
}

bool HasMainFolder() { return IsMainFolder(MainFolder()); }

std::string NoMainFolder() {
    std::string places;
    if (Told told = ToldFolder(); !told.folder.empty())
        places = told.folder + " (which " + told.by + " names)";
    else
        for (const fs::path& folder : Candidates())
            places += (places.empty() ? "" : ", ") + folder.string();
    return "the maps, templates and models that come with the program were not found in " + places +
           "; set the environment variable DRAVIN_HOME to their folder, which holds "
           "distmaps/index.dat";
}

std::string DistMapFolder() { return (fs::path(MainFolder()) / "distmaps").string(); }
std::string EffectFolder() { return (fs::path(MainFolder()) / "effects").string(); }
std::string GeometryFolder() { return (fs::path(MainFolder()) / "geometry").string(); }
