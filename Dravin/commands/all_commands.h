// The one table of everything that users can do.
#pragma once

#include "Dravin/commands/command_table.h"

// Every command there is.
TCommandTable MakeCommandTable();

// What each part of the system brings along, a topic each.
void AddSceneCommands(TCommandTable& table);
void AddItemCommands(TCommandTable& table);
