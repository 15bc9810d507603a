// All parameters that a build reads, at one time, as plain values under their internal names.
#pragma once

#include <string>
#include <vector>

#include "Dravin/dravin.h"

struct TParameters {
    // general
    int seed, threads;
    bool autothreads;
    // distribution
    Texmap* distmap;
    std::string mapname;
    int distmapchan, pixels_x, pixels_y;
    float units_x, units_y;
    bool lock_ratio, collision;
    int radius, collheight;
    bool collpreview;
    float offset_x, offset_y, drotation;
    int threshold, maxdensity;
    bool sdgizmo;
    int divers;
    Texmap* divtmap;
    int divmapchan;
    float divmapnoise, clusize, clurough, clunoise, cluedge;
    int distmode;
    // surfaces
    std::vector<INode*> surflist;
    bool altlimited;
    float altmax, altmin;
    bool surfaltdens, surfaltscal, slopelimited;
    float slopemax, slopemin;
    bool surfslodens, surfsloscal, surfanim, linkeditsurf;
    int direction;
    bool scalelope;
    int surfmode;
    bool uvalign, uvscalex, uvscaley;
    float uvmultscalex, uvmultscaley;
    bool randstacked;
    // areas
    bool spdensact, spscalact, spscalz;
    float spdensinc, spdensexc, spscalinc, spscalexc;
    // transform
    bool applytranslation;
    int transxmin, transymin, transzmin, transxmax, transymax, transzmax;
    bool transmapx, transmapy, transmapz;
    Texmap* transmap;
    int transmapchan;
    bool transcolormap, transprobmap;
    bool applyrotation;
    int xrotmin, xrotmax, yrotmin, yrotmax, zrotmin, zrotmax;
    bool rotmapx, rotmapy, rotmapz, userotprobcurve;
    Texmap* rotmap;
    int rotmapchan;
    bool rotcolormap, rotprobmap;
    bool applyscale;
    int scalexmax, scalexmin, scaleymax, scaleymin, scalezmax, scalezmin;
    bool scamapx, scamapy, scamapz, usescaprobcurve;
    Texmap* scamap;
    int scamapchan;
    bool scacolormap, scaprobmap;
    int scalelock;
    bool mirror;
    // material
    Color tintcolor1, tintcolor2;
    int tintmin, tintmax, tintmode;
    Texmap* tintmap;
    int tintmapmode, tintmapchan;
    // camera
    INode *camera, *lookat;
    bool uselookat, camlimit, camdensact, camscaact, camenvrange;
    int camwidth;
    float camfar, cambho, camdensear, camdensfar;
    bool camlod, camlodenvrange, camlodlookat;
    float camloddist;
    // shadows
    bool usefakeshadows;
    INode* light;
    bool hshadow, vshadow, custshadow;
    // animation
    int animation, animsoffset, animsamples;
    bool animonlyrend;
    Texmap* animap;
    int animapchan, animstart, animend;
    // display
    int vmesh, vmaxitems, rmesh, rskip, rmaxitems;
    bool disabled;
    // geometry and editing
    bool globsize;
    float width, height, globscale;
    int mode;
};

// Reads them at time t; `valid` is narrowed to how long they stay the same.
TParameters ReadParameters(const TDravin& object, TimeValue t, Interval* valid);
