// What the product keeps in the machine's store of settings.
#pragma once

#include <cstddef>

#include "host/base/settings_store.h"

// Where all of its settings stand, and windows and tools below it.
inline constexpr const char* kSettingsKey = "Tavu Software\\Dravin Pack Pro";
// Folder of the main libraries, as the installation tells it.
inline constexpr const char* kMainDirSetting = "MainDir";
// Megabytes that the undo list may keep alive, at least 1.
inline constexpr const char* kUndoMemorySetting = "UndoMemoryMB";

// Of the user who runs the program.
SettingsStore DravinSettings();

// Bytes that an undo list may keep alive, as the user sets it.
size_t UndoMemoryLimit();
