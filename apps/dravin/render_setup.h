// A scene as renderers draw it: its visible meshes, built scatter objects, camera and light.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Dravin/render/host_render.h"
#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "host/render/ray_tracer.h"
#include "host/render/render_scene.h"

struct RenderSetup {
    RenderScene scene;
    RenderSettings settings;
    bool isScanline = false;  // drawn by the scanline renderer, not traced
    // What the scene borrows.
    std::vector<std::shared_ptr<const Mesh>> meshes;
    std::vector<std::shared_ptr<const HeightField>> heights;
    std::vector<THostRender> renders;  // end behind their sources
    std::vector<std::unique_ptr<IInstanceSource>> sources;
};

// Makes the renderer that the options or the scene name the session's production renderer, for
// pictures as the options want them. Before the render is announced.
void ChooseRenderer(Session& session, const RenderOptions& options);

// Whether the scene has a camera node of this name; an empty name is always good. The error is
// printed.
bool CheckCamera(const Scene& scene, const std::string& name);

// The camera node of that name at time t; an empty name: the scene's own, its first, or the active
// view. None when there is none of these.
std::optional<RenderCamera> NamedCamera(Scene& scene, const std::string& name, TimeValue t);
// A view from the south-west, down at 30 degrees, from where every corner of the box is in the
// picture, whatever its shape. aspect: width by height.
RenderCamera CameraAround(const Box3& box, double aspect);
// Makes room for a picture as the options and the scene want it. False, with the error printed,
// when a limit refuses it.
bool SetSize(Session& session, const RenderOptions& options, RenderSettings* settings);

// Builds all visible scatter objects with render settings and collects the rest. The options'
// camera: a camera node's name, which must have passed CheckCamera, or empty for the scene's own,
// else its first camera, else the active view, else one that sees everything. Not done, with the
// error printed, when a limit refuses the picture or a build failed.
ExitCode SetUpRender(Session& session, const RenderOptions& options, RenderSetup* setup);

// Renders with a progress bar on a terminal; errors are printed.
ExitCode RenderWithProgress(const RenderSetup& setup, RenderOutcome* outcome);
// Writes a finished picture by its ending and tells of it; errors are printed.
ExitCode WriteRendered(const RenderSetup& setup, const RenderOutcome& outcome,
                       const std::string& output);
