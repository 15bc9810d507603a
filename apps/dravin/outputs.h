// What a command writes to, checked before the work, so that nobody waits for a build that leads
// nowhere, and against what was read, so that no output takes the place of an input.
#pragma once

#include <span>
#include <string>

#include "apps/dravin/console.h"
#include "host/base/input_record.h"

// Whether all outputs can be written and none is named twice, links and different spellings of a
// path included. Errors are printed.
ExitCode CheckOutputs(std::span<const std::string> outputs);

// Whether no output, nor a file that is written beside it (the .bin of a .gltf, the .mtl of an
// .obj), is one that was read. The error is printed.
ExitCode CheckNotInputs(std::span<const std::string> outputs, const InputRecord& inputs);
