// Pictures of viewports without a graphics card: dots, lines, boxes and plain triangles, splatted
// over the thread pool.
//
// Scatter objects show what their display parameters say: their mesh, or dots by the rule of
// cloud_rule.h. A budget of drawn elements thins the items, evenly: first dots of items that have
// several, then whole items, from the ends of their cells. The same scene, camera and settings give
// the same bits with any number of threads.
#pragma once

#include <cstdint>
#include <vector>

#include "Dravin/viewport/viewport_camera.h"
#include "Dravin/viewport/viewport_scene.h"

enum class TViewDisplay {
    kAsSet,   // as each object says
    kPoints,  // items as dots
    kBoxes,   // items as boxes
    kWire,    // items as their objects say; faces as their visible edges
};

struct TViewportSettings {
    TViewDisplay display = TViewDisplay::kAsSet;
    bool isNavigating = false;  // the hand moves: fewer dots
    // Dots, lines of boxes and faces of items that may be drawn, roughly; 0: any number.
    uint64_t maxElements = 0;
    bool showsGrid = true;
    // Items whose objects show meshes are instances of their sources, of fewer faces the smaller
    // they look and dots in the end, instead of the object mesh.
    bool instances = false;
    uint64_t maxFaces = 0;  // of instances, roughly: smaller ones become dots; 0: any number
    int oversampling = 1;   // pixels a side that become one
    int threads = 1;
};

struct TViewportCounts {
    uint64_t itemsInView = 0;  // in cells that the view touches
    uint64_t itemsDrawn = 0;   // of those, after thinning
    uint64_t elements = 0;     // dots, lines and faces
};

struct TViewportPicture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;  // display colours, rows top down
    TViewportCounts counts;
};

// camera: of the world.
TViewportPicture DrawViewport(const TViewportScene& scene, const TViewportCamera& camera,
                              const TViewportSettings& settings);

class TSplatBuffer;
struct TViewPlan;

// Dots and boxes of a plan of the same camera and settings, and nothing else: for somebody who
// draws the faces. buffer: as large as the camera's picture. How many elements.
uint64_t DrawDots(const TViewPlan& plan, const TViewportCamera& camera,
                  const TViewportSettings& settings, TSplatBuffer& buffer);

// A line in camera space.
struct TViewLine {
    Point3 a, b;
    uint32_t color = 0;  // red, green, blue in the three lowest bytes
};
// Grid, splines, icons, marks and brackets, for the same.
std::vector<TViewLine> ViewLines(const TViewportScene& scene, const TViewportCamera& camera,
                                 const TViewportSettings& settings);
// Behind everything: display colour of row y of a picture.
Color ViewBackground(int y, int height);

// What lies under each pixel, by the ids of the scene; rows top down. The grid is nothing.
// nearness: where given, that of each pixel too; 0 where nothing is.
std::vector<uint32_t> DrawViewportIds(const TViewportScene& scene, const TViewportCamera& camera,
                                      const TViewportSettings& settings,
                                      std::vector<float>* nearness = nullptr);
