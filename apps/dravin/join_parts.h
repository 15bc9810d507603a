// Joins the parts of a build (build_part.h) into the archive that one build would have written.
//
// Without overlaps the parts' arrays follow each other, in constant memory. Where items may overlap
// those of other parts, what decides about all of them is held at once, and then one column at a
// time.
#pragma once

#include <span>
#include <string>

#include "apps/dravin/console.h"

// Errors are printed and name the part and the remedy: kExitMissingInput for a part that is
// missing, kExitMalformed for a file that is none, one of another build or one that is given twice.
ExitCode JoinParts(std::span<const std::string> parts, const std::string& output);
