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

// `Wood: effect "sway" at line 3, column 5: ` and what is wrong.
std::string EffectErrorText(const SceneDravin& dravin, const TEffectError& error);

// The object's statistics panel, on standard output.
void PrintPanel(const SceneDravin& dravin);

// How many candidates each rule dropped, on standard output.
void PrintRejections(const SceneDravin& dravin);
