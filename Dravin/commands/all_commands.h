// The one table of everything that users can do.
#pragma once

#include "Dravin/commands/command_table.h"

// Every command there is.
TCommandTable MakeCommandTable();

// What each part of the system brings along, a topic each.
void AddAreaCommands(TCommandTable& table);
void AddAreaPaintCommands(TCommandTable& table);
void AddCurveCommands(TCommandTable& table);
void AddEffectCommands(TCommandTable& table);
void AddEffectLibraryCommands(TCommandTable& table);
void AddEffectLinkCommands(TCommandTable& table);
void AddEffectParameterCommands(TCommandTable& table);
void AddEffectValueCommands(TCommandTable& table);
void AddFileCommands(TCommandTable& table);
void AddGeometryCommands(TCommandTable& table);
void AddLeafCommands(TCommandTable& table);
void AddListerCommands(TCommandTable& table);
void AddLodCommands(TCommandTable& table);
void AddPresetCommands(TCommandTable& table);
void AddRenderCommands(TCommandTable& table);
void AddSceneCommands(TCommandTable& table);
void AddItemCommands(TCommandTable& table);
void AddSplineCommands(TCommandTable& table);
void AddToolCommands(TCommandTable& table);
void AddUpdateCommands(TCommandTable& table);
