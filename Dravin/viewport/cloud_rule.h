// How items shown as dots are drawn: their rectangles in the picture, how many dots they have, and
// which colours.
#pragma once

#include "Dravin/viewport/viewport_camera.h"
#include "Dravin/viewport/viewport_scene.h"

// Where the box of an item lies in a picture, in whole pixels, both ends included.
struct TItemRectangle {
    bool isHidden = true;  // its whole box lies beyond one side of the view
    int left = 0, top = 0, right = 0, bottom = 0;
    uint32_t area = 0;  // pixels
};

// camera, box: of one space. A box that reaches behind the camera has the whole picture.
TItemRectangle ItemRectangle(const TViewportCamera& camera, const Box3& box);

// Dots for a pixel of an item. While the hand moves, a third.
float DotsPerPixel(float density, bool isNavigating);

// Of an item that covers `area` pixels: at least one, at most as many as a cloud has. For hit tests
// half as many do.
int NumDots(uint32_t area, float dotsPerPixel, bool isHitTest);

// Display colour of a point of the item's cloud.
Color DotColor(const TViewScatter& scatter, const TViewItem& item, const TMeshCloudPoint& point);

// The same of a face of the item, of this colour before.
Color InstanceColor(const TViewScatter& scatter, const TViewItem& item, Color color);
