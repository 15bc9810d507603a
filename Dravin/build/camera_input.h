// Prepares the camera of a build, and picks one for objects that follow the render camera.
#pragma once

#include <optional>

#include "Dravin/build/parameters.h"
#include "Dravin/engine/camera.h"
#include "host/math/interval.h"
#include "host/scene/scene.h"

class TDravin;

struct TCameraScene {
    TimeValue time = 0;
    Matrix3 worldToObject;
    float aspect = 1;               // of the rendered image
    std::optional<ViewState> view;  // stands in where no camera node is set
    bool noLimit = false;           // the build asks for items outside the view, too
};

// The camera state without its curves: the falloffs may be used where `falloffs` says so. `valid`
// is narrowed by what is read. A camera's field of view is taken into 0.01 to 179 degrees, with a
// warning.
struct TPreparedCamera {
    TCameraState state;
    bool falloffs = false;
};
TPreparedCamera PrepareCamera(const TParameters& parameters, const TCameraScene& scene,
                              Interval* valid);

// Some feature of the block of camera parameters reads the camera.
bool UsesCamera(const IParamBlock2& cam);

// Sets the object's camera, and where asked its look-at node, to the scene's render camera, else to
// the camera that the active viewport looks through. Does nothing without either, or unless the
// object follows the render camera and uses it for something. Called when rendering begins; leaves
// no undo step.
void CheckAutoCamera(TDravin& object, const Scene& scene);
