// What a change message does to a scatter object: the table of messages and of parameters.
//
// A message either is none of the object's affair, or ends what it has built, so that the next
// evaluation builds anew, or has it built at once. Builds at once are for sessions that show views;
// others build when somebody asks (TDravin::RebuildNow, TDravin::NeedsBuild).
#pragma once

#include "Dravin/build/dravin_build.h"
#include "host/params/reference.h"

class TDravin;

// Where a message came from: a parameter block, by its id, or a single reference of the object, by
// its slot; -1 for the other.
struct TChangeSource {
    int block = -1;
    int slot = -1;
};

struct TReaction {
    enum Action {
        kIgnore,      // what is shown holds
        kInvalidate,  // the next evaluation builds
        kRebuild,     // at once, where there are views
    };
    Action action = kIgnore;
    // What the next build must make anew, whoever asks for it: also where the present result holds.
    TRemake remake = TRemake::kNothing;
    bool stops = false;            // the message goes no further
    bool surfacesChanged = false;  // surface meshes are read again
    bool dropsInternal = false;    // the internal reference goes
    bool redraws = false;
    bool refreshesAreaList = false, refreshesEditLists = false;  // panels
};

// The reaction to one message. `object` stands as the change left it. One thread.
TReaction ReactionTo(const TDravin& object, const RefChange& change, const TChangeSource& source);

// How much of a build follows from this parameter of the object.
TRemake RemakeOf(int block, ParamID id);

// Whether the sources of a row of the geometry list are placed within it as the last build saw
// them: moving a source alone changes nothing that items show.
bool AreSourcesInPlace(const TDravin& object, int row);
