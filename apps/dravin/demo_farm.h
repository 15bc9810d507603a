// The demo's farm: a cart track across the meadow, a fence beside it, and a cabin in its yard.
//
// Lengths are metres, places those of the valley. All functions are pure; threads may call them.
#pragma once

#include <string>

#include "apps/dravin/demo_terrain.h"

namespace demo {

// Half the width of the band that the track's picture covers; its borders are ragged.
inline constexpr float kRoadHalfWidth = 1.7f;
// Length that the track's picture covers before it repeats.
inline constexpr float kRoadTile = 16;

// The track as an OBJ file: a strip that lies on the land, mapped with u across (0..1) and v along
// (1 a tile).
std::string RoadMesh(const Valley& valley);
// The track's picture, x metres beside its middle and y (0 .. kRoadTile) along it.
Color RoadColor(float x, float y);
// 1 where there is track, 0 where the land beside it shows.
float RoadOpacity(float x, float y);

// Scene nodes: the track and its middle line, the fence's lines, the cabin. Each ends with a comma.
std::string FarmNodes(const Valley& valley);
// Area rows that keep a layer of plants off the track, the cabin's ground and the painted yard.
std::string FarmAreas();
// The area row of the clearing in the forest.
std::string ForestAreas();
// Area rows of short grass: in the yard, and between the track's wheels.
std::string LawnAreas();

}  // namespace demo
