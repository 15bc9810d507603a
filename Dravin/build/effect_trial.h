// What programs of effects would see of an item of the last build, for trying them on it.
//
// In the scene's thread; what they point to is the object's last build, which must stand.
#pragma once

#include <string>
#include <vector>

#include "Dravin/effects/effect_language.h"
#include "Dravin/engine/geometry_choice.h"

class TDravin;

// How many programs of the object's last build ran before that effect's own: the effects before it
// that are on, hold a program and compile.
size_t ProgramsBefore(const TDravin& object, const std::string& effectId);

// What lies around the items of a build: surfaces, geometry, and the maps and curves of effects as
// that build has them.
class TTrialSurroundings {
public:
    // The object must have been built.
    explicit TTrialSurroundings(const TDravin& object);
    TTrialSurroundings(const TTrialSurroundings&) = delete;
    TTrialSurroundings& operator=(const TTrialSurroundings&) = delete;

    const TEffVMCallback& Host() const { return m_host; }

private:
    TGeometryChoice m_geometry;
    std::vector<const BezierCurve*> m_curves;
    TEffVMCallback m_host;
};
