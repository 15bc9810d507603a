#include "Dravin/config/options.h"

#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/version.h"
#include "host/base/ini_file.h"
#include "host/base/log.h"
#include "host/base/settings_store.h"
#include "host/base/text.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kSection = "options";
constexpr const char* kVersionKey = "latestVersion";
constexpr size_t kLongestVersion = 100;

#define OPTION(name) \
    { #name, &TOptions::name }
constexpr TOptionName kOptions[] = {
    OPTION(showMapInViewport),
    OPTION(checkTexturePaths),
    OPTION(collectTexturePaths),
    OPTION(vshadowPlaneOffset),
    OPTION(assignGeomName),
    OPTION(disableMultithreadRender),
    OPTION(suggestDisplayAdjust),
    OPTION(useLaubwerkCloud),
    OPTION(disableMRTintByElement),
    OPTION(noPopups),
    OPTION(rollupGeom),
    OPTION(rollupDist),
    OPTION(rollupAreas),
    OPTION(rollupEdit),
    OPTION(rollupCam),
    OPTION(rollupShad),
    OPTION(rollupSurf),
    OPTION(rollupTrans),
    OPTION(rollupMat),
    OPTION(rollupEff),
    OPTION(rollupAnim),
    OPTION(rollupDisp),
    OPTION(rollupAbout),
    OPTION(showEdgeMode),
    OPTION(directXAccel),
    OPTION(pointCloudStyle),
    OPTION(forceLog),
    OPTION(defaultCreationMode),
    OPTION(optimizeAutomaterial),
    OPTION(copyMaterialFromObjects),
    {"MentalRayDirectMode", &TOptions::mentalRayDirectMode},
    OPTION(disableXRefPopups),
};
#undef OPTION

}  // namespace

std::span<const TOptionName> OptionNames() { return kOptions; }

std::string ConfigFolder() { return UserConfigFolder("dravin"); }

std::string OptionsFile() {
    std::string folder = ConfigFolder();
    return folder.empty() ? folder : (fs::path(folder) / "dravinpack.ini").string();
}

TOptions LoadOptions(const std::string& path) {
    TOptions options;
    IniFile file;
    std::string error;
    if (!path.empty() && !file.Load(path, &error))
        LogWarning(fmt::format("{}: {}; all options have their defaults", path, error));
    for (const TOptionName& option : kOptions)
        options.*option.value = file.GetInt(kSection, option.key, options.*option.value);
    std::string version = file.Get(kSection, kVersionKey).value_or("");
    if (CutText(version, kLongestVersion) != ProductVersion()) options.suggestDisplayAdjust = 1;
    options.latestVersion = ProductVersion();
    return options;
}

bool SaveOptions(const TOptions& options, const std::string& path, std::string* error) {
    auto change = [&](IniFile& file) {
        for (const TOptionName& option : kOptions)
            file.Set(kSection, option.key, std::to_string(options.*option.value));
        file.Set(kSection, kVersionKey, ProductVersion());
    };
    return IniFile::Edit(path, change, error);
}
