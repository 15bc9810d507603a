// What a viewport wants drawn, and the picture that it gets.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/viewport/viewport_camera.h"
#include "Dravin/viewport/viewport_drawing.h"
#include "Dravin/viewport/viewport_scene.h"

enum class ViewportShading {
    kPoints,    // items as dots
    kBoxes,     // items as boxes
    kShaded,    // faces, with the maps that materials show in viewports
    kTextured,  // faces with all their maps
    kWire,      // visible edges
    kRendered,  // the path tracer's picture
};

struct ViewRequest {
    std::shared_ptr<const TViewportScene> scene;  // never null
    TViewportCamera camera;                       // with the size of the picture
    ViewportShading shading = ViewportShading::kShaded;
    bool showsEdges = false;  // over faces
    bool showsGrid = true;
    // The hand moves: a thinned picture soon, rather than the whole one later.
    bool isMoving = false;
};

struct ViewPicture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgbx;  // four bytes a pixel, rows top down, display colours
    TViewportCamera camera;
    std::shared_ptr<const TViewportScene> scene;
    TViewportCounts counts;
    bool isWhole = false;       // everything is shown; of rendered pictures: all samples are there
    bool isSimplified = false;  // some items have fewer faces than their size would earn them
    int samples = 0, wantedSamples = 0;  // rays a pixel, of rendered pictures
    double seconds = 0;                  // that it took
    std::string note;                    // what a person should know of how it was drawn
};

// How an ordinary picture of these settings is planned: all but kRendered.
TViewportSettings SettingsOf(const ViewRequest& request);
