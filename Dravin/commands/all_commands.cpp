#include "Dravin/commands/all_commands.h"

TCommandTable MakeCommandTable() {
    TCommandTable table;
    AddAreaCommands(table);
    AddAreaPaintCommands(table);
    AddCurveCommands(table);
    AddEffectCommands(table);
    AddEffectLibraryCommands(table);
    AddEffectLinkCommands(table);
    AddEffectParameterCommands(table);
    AddEffectValueCommands(table);
    AddFileCommands(table);
    AddGeometryCommands(table);
    AddLeafCommands(table);
    AddListerCommands(table);
    AddLodCommands(table);
    AddPresetCommands(table);
    AddRenderCommands(table);
    AddSceneCommands(table);
    AddItemCommands(table);
    AddSplineCommands(table);
    AddToolCommands(table);
    AddUpdateCommands(table);
    return table;
}
