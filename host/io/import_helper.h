// Reads a model in a process of its own, with limits on its time and memory.
//
// The helper program (apps/dravin_import) opens the file and hands the model back through a pipe.
// If it crashes, runs out of time or memory, or answers nonsense or too much, the caller gets an
// error and loses nothing else; whatever it started ends with it. Thread safe.
#pragma once

#include <cstdint>
#include <string>

#include "host/io/model_readers.h"

struct HelperLimits {
    int seconds = 120;  // of processor and of wall-clock time; for small files less
    // Both are less for small files; the input limit (host/base/input_limit.h) raises them.
    uint64_t memoryBytes = uint64_t{4} << 30;  // address space of the helper
    uint64_t answerBytes = uint64_t{4} << 30;  // length of the answer; for small files less
    std::string program;                       // empty: the one that FindImportHelper finds
};

// The helper's exit status when its memory does not suffice.
inline constexpr int kHelperOutOfMemory = 5;

// The helper program: named by the environment variable DRAVIN_IMPORT_HELPER, else beside the
// program or module that holds this code, else where the build put it. Empty when there is none.
std::string FindImportHelper();

// Fills files.Model(). False with a reason in `error`.
bool ReadByHelper(const HelperLimits& limits, ModelFiles& files, ImportError* error);
