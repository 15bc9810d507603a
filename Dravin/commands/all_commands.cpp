#include "Dravin/commands/all_commands.h"

TCommandTable MakeCommandTable() {
    TCommandTable table;
    AddAreaCommands(table);
    AddAreaPaintCommands(table);
    AddCreateCommands(table);
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
    AddDistributionCommands(table);
    AddMaterialCommands(table);
    AddPresetCommands(table);
    AddRenderCommands(table);
    AddSceneCommands(table);
    AddItemCommands(table);
    AddShareCommands(table);
    AddSplineCommands(table);
    AddStackCommands(table);
    AddToolCommands(table);
    AddUpdateCommands(table);
    return table;
}
