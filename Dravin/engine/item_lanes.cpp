#include "Dravin/engine/item_lanes.h"

#include "Dravin/engine/item_list.h"

void CountFate(TLaneFate fate, TRejections& r) {
    switch (fate) {
        case TLaneFate::kMap:
            ++r.map;
            break;
        case TLaneFate::kArea:
            ++r.area;
            break;
        case TLaneFate::kSurface:
            ++r.surface;
            break;
        case TLaneFate::kAltitude:
            ++r.altitude;
            break;
        case TLaneFate::kSlope:
            ++r.slope;
            break;
        case TLaneFate::kCamera:
            ++r.camera;
            break;
        case TLaneFate::kFalloff:
            ++r.falloff;
            break;
        case TLaneFate::kEffect:
            ++r.effect;
            break;
        case TLaneFate::kAlive:
        case TLaneFate::kDisabled:
        case TLaneFate::kDeleted:
        case TLaneFate::kReplaced:
            break;
    }
}

TItemLanes::TItemLanes(size_t n, uint32_t groups, bool readsMaps)
    : capacity(n),
      cell(n),
      seed(n),
      row(n),
      element(n),
      stateFlags(n),
      specimen(n),
      source(n),
      fate(n),
      overrides(n),
      delta(n),
      densityDraw(n),
      randomTranslation(n),
      randomScale(n),
      rotation(n),
      random1(n),
      random2(n),
      random3(n),
      randomInteger(n),
      randomSample(n),
      position(n),
      storedPosition(n),
      normal(n),
      reference(n),
      axisX(n),
      axisY(n),
      axisZ(n),
      zOffset(n),
      partial(n),
      masks(n),
      faceNormal(n),
      face(n),
      surface(n),
      weight1(n),
      weight2(n),
      size(n),
      scale(n),
      sizeFactor(n),
      externalScale(n),
      falloffScale(n),
      cameraScale(n),
      width(n),
      depth(n),
      height(n),
      collisionRadius(n),
      outerRadius(n),
      boundaryRadius(n),
      collisionHeight(n),
      distances(n),
      borders(n),
      tint(n),
      tintBlend(n),
      mirrored(n),
      horizontalShadow(n),
      verticalShadow(n),
      animation(n),
      lookAt(n),
      shadowDirection(n),
      mapColor(n),
      mapCoordinates(n),
      selected(n) {
    if (groups & kGroupSource) from.Resize(n);
    if (readsMaps)
        for (int map = 0; map < kNumItemMaps; ++map) uvws.emplace_back(n);
}

void TItemLanes::Reset(size_t k, const TSpecimen& ofSpecimen) {
    cell[k] = seed[k] = 0;
    row[k] = 0;
    element[k] = 0;
    stateFlags[k] = partial[k] = mirrored[k] = selected[k] = 0;
    horizontalShadow[k] = verticalShadow[k] = 0;
    specimen[k] = &ofSpecimen;
    source[k] = &ofSpecimen.Element(0);
    fate[k] = TLaneFate::kAlive;
    overrides[k] = nullptr;
    delta[k] = nullptr;
    densityDraw[k] = random1[k] = random2[k] = random3[k] = 0;
    randomInteger[k] = randomSample[k] = animation[k] = 0;
    for (TPointLane* zero :
         {&randomTranslation, &rotation, &position, &storedPosition, &faceNormal, &tint})
        zero->Set(k, {});
    for (TPointLane* one :
         {&randomScale, &size, &scale, &sizeFactor, &externalScale, &falloffScale})
        one->Set(k, {1, 1, 1});
    normal.Set(k, ItemNormal{}.normal);
    reference.Set(k, {1, 0, 0});
    axisX.Set(k, {1, 0, 0});
    axisY.Set(k, {0, 1, 0});
    axisZ.Set(k, {0, 0, 1});
    cameraScale[k] = 1;
    zOffset[k] = width[k] = depth[k] = height[k] = tintBlend[k] = 0;
    collisionRadius[k] = outerRadius[k] = boundaryRadius[k] = collisionHeight[k] = 0;
    face[k] = surface[k] = -1;
    weight1[k] = weight2[k] = 0;
    for (TLane<Point3>& uvw : uvws) uvw[k] = {};
    distances[k] = {};
    borders[k] = {};
    lookAt[k] = shadowDirection[k] = {};
    mapColor[k] = {0, 0, 0, 0};
    mapCoordinates[k] = {};
    if (from.Size() > 0) from[k] = {};
}
