// State that all scatter objects of a process share. It belongs to the host context, so that tests
// create and drop it at will.
#pragma once

#include <utility>

#include "Dravin/config/distmap_library.h"
#include "Dravin/config/options.h"
#include "Dravin/geometry/mesh_cache.h"
#include "Dravin/geometry/surface_cache.h"
#include "Dravin/geometry/template_list.h"

// How scatter objects show themselves in viewports; files of scenes carry it.
struct TDisplaySettings {
    int cloudDensityPercent = 50;
    bool directDraw = true;
    float shade = 0.5f;
};

struct TDravinGlobals {
    TSurfaceCache surfaces;
    TDravinMeshCache meshes;
    TTemplates templates;
    TDistMapLibrary distMaps;

    TDisplaySettings display;

    // As the user's file says.
    TOptions options;

    // A build is bringing its object's material up to date: what follows from the scene as it is,
    // and makes nothing of it outdated.
    bool makingMaterial = false;

    // "Freeze ALL Dravin objects": no object follows changes by itself until it is taken back.
    bool freezeAll = false;
    // A user asked for a rebuild, which is running: materials take everything up again.
    bool rebuildingFromPanel = false;
    // A scene file is being opened.
    bool openingFile = false;

    // Builds of all objects so far.
    uint64_t numBuilds = 0;

    // Arrays and samples must not outlive the scene whose nodes they belong to.
    void DropSceneData() { surfaces.Clear(), meshes.Clear(); }
};

// Sets a flag while it lives.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& flag) : m_flag(flag), m_before(std::exchange(flag, true)) {}
    ~ScopedFlag() { m_flag = m_before; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    bool& m_flag;
    bool m_before;
};

// Of the current host context, which must exist. Reads the geometry index at the first call.
TDravinGlobals& DravinGlobals();

class Scene;
// Drops the surface arrays that no scatter object of the scene uses; on the way repeats of a node
// leave the objects' surface lists. Does nothing while a scene file is being opened.
void SweepSurfaceCache(const Scene& scene);
