#include "Dravin/commands/all_commands.h"

TCommandTable MakeCommandTable() {
    TCommandTable table;
    AddSceneCommands(table);
    AddItemCommands(table);
    return table;
}
