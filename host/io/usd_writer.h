// Instances and placed meshes as an ASCII USD layer: `.usda`.
//
// Each source becomes a PointInstancer below /World, each of its prototypes a Mesh below the
// instancer's "Prototypes". Instances have `positions`, unit quaternions as `orientations` (half
// precision, which the schema asks for) and as `orientationsf`, `scales`, and their numbers as
// `ids` and `primvars:id`. `primvars:displayColor` is white mixed with the tint by its blend, in
// linear light, a value an instance where some is tinted (then with `primvars:tint`: tint and
// blend, as they stand), else one white for all. Primvars a value an instance have vertex
// interpolation, as those of points have. Mirroring instances show a prototype of their own, whose
// mesh is mirrored: scales may be negative here, but many readers then draw the inside of faces.
// Shear is left out; instances whose transform is not finite and those whose prototype draws no
// face are too. Times of an animated source and cut items are prototypes like others.
//
// Coordinates, axes (z up) and lengths are those of the scene; `metersPerUnit` says how long they
// are. Materials become UsdPreviewSurface networks below /World/Materials: colours in linear light,
// images by their path from the layer's folder (those that are no file as they are shown are
// written beside the layer). Names become identifiers; a prim whose name had to change tells it as
// its `displayName`.
//
// Sources: USD's PointInstancer schema; UsdPreviewSurface, version 2.5.
//
// Instances are read in ranges, once to be measured and once an array, never held at once; text is
// made by several threads. The file is the same for any number of them, and appears whole or not at
// all, after its images.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "host/io/instance_placement.h"

struct UsdOptions {
    double unitScale = 1;  // metres in one scene unit
    int threads = 1;
    // Hears the finished share of the work in 0..1, in the calling thread; false ends the export,
    // which leaves nothing behind.
    std::function<bool(float share)> progress = {};
};

// False with a reason in `error` ("cancelled" at its end where `progress` ended it). `warnings`:
// what was left out, a sentence each. Materials' maps are updated at time 0 when they are not yet.
bool ExportUsd(const std::string& path, std::span<const IInstanceSource* const> sources,
               std::span<const PlacedMesh> meshes, const UsdOptions& options,
               std::vector<std::string>* warnings, std::string* error);
