// The automatic material: the materials of all sources as one, which the scatter object shows.
//
// A scatter object's mesh mixes faces of many models. Their materials stand one behind the other in
// one multi-material on the object's nodes, and every source knows which entries its faces show.
// Behind them stands a material for each row in the row's colour, for proxy shapes.
#pragma once

#include "Dravin/geometry/specimen_list.h"
#include "host/scene/material.h"

struct TAutomaticMaterialSettings {
    bool optimizes = true;        // materials that several sources show stand there once
    int showsMapsInViewport = 2;  // 0 no, 1 the diffuse maps, 2 the materials as they are
    bool wireframe = false;       // of the rows' own materials
    float opacity = 1;            // of those
    // Viewports show maps as they should even where no entry has changed: a user asked for that.
    bool refreshes = false;
};

// Fills in the ids of the specimens, and brings the material of the object's nodes up to date: the
// one that is there where it is a multi-material, else a new one. Nothing of it can be undone.
// True when an entry was replaced or changed.
bool BuildAutomaticMaterial(const Object& object, TSpecBuildList& specimens,
                            const TAutomaticMaterialSettings& settings);

// Whether it is such a material, known by its name: "dravin_automat_" and a number.
bool IsAutomaticMaterial(const Mtl& mtl);
// Whether it is the material of a row, known by its name: "DPColor ID" and the row's number.
bool IsColorIdMaterial(const Mtl& mtl);

// Switches a material and all below it to their maps in viewports; `how` as in the settings above.
void ShowMapsInViewport(Mtl& mtl, int how);
