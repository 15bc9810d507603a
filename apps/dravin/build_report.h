// What a person is told of a finished build.
#pragma once

#include <span>
#include <string>

#include "apps/dravin/console.h"
#include "apps/dravin/session.h"

// Prints how the build ended: nothing when all is well, a note for an object that is off, else the
// error with a line that helps. Effects that do not compile are errors, with keepGoing warnings.
// The exit code for it.
ExitCode ReportBuild(const SceneDravin& dravin, bool keepGoing);

// Prints the effects that do not compile, each with its error and place: as errors, with keepGoing
// as warnings. Whether there are any.
bool TellOfEffects(const SceneDravin& dravin, bool keepGoing);

// The object's statistics panel, on standard output.
void PrintPanel(const SceneDravin& dravin);

// How many candidates each rule dropped, on standard output.
void PrintRejections(const SceneDravin& dravin);
