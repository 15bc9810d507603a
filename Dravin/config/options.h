// The user's options, which hold for all objects of a process.
//
// They lie in section "options" of dravinpack.ini in the user's configuration folder; every one is
// an integer. Loading them writes nothing: a new version's name reaches the file when an option is
// changed.
#pragma once

#include <span>
#include <string>

struct TOptions {
    int showMapInViewport = 2;    // 0 none, 1 diffuse maps, 2 materials as they are
    int checkTexturePaths = 1;    // at start
    int collectTexturePaths = 1;  // of library models
    int vshadowPlaneOffset = 1;   // of vertical shadow planes towards the light, percent of a unit
    int assignGeomName = 1;       // rows of the geometry list are named after their objects
    int disableMultithreadRender = 0;
    int suggestDisplayAdjust = 1;
    int useLaubwerkCloud = 1;
    int disableMRTintByElement = 0;
    int noPopups = 0;
    int showEdgeMode = 0;
    int directXAccel = 1;
    int pointCloudStyle = 1;  // 0 small dots, 1 large ones
    int forceLog = 0;
    int defaultCreationMode = 0;
    int optimizeAutomaterial = 1;
    int copyMaterialFromObjects = 1;
    int mentalRayDirectMode = 0;
    int disableXRefPopups = 0;
    // Whether the rollouts of the object are open.
    int rollupGeom = 1, rollupDist = 1, rollupAreas = 1, rollupEdit = 1, rollupCam = 1,
        rollupShad = 1, rollupSurf = 1, rollupTrans = 1, rollupMat = 1, rollupEff = 1,
        rollupAnim = 1, rollupDisp = 1, rollupAbout = 1;
    std::string latestVersion;  // that ran last; this one after loading
};

// Name in the file and place of every integer option.
struct TOptionName {
    const char* key;
    int TOptions::*value;
};
std::span<const TOptionName> OptionNames();

// The folder of the user's configuration: `dravin` in $XDG_CONFIG_HOME, else in ~/.config. Empty
// where neither is known.
std::string ConfigFolder();
std::string OptionsFile();

// Missing keys have their defaults, values that are no numbers are 0. After another version ran,
// suggestions are on again. A file that cannot be read is told and counts as none.
TOptions LoadOptions(const std::string& path);
// False with a reason in `error`; the file is then as it was. Other settings in it stay.
bool SaveOptions(const TOptions& options, const std::string& path, std::string* error);
