// Commands that read and change values of things by their names, whatever the things are.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Dravin/commands/command_table.h"

struct TValueTopic {
    std::string name;   // of the commands: NAME.set and its like
    std::string title;  // of undo steps: "Set TITLE"
    TCommandTarget target = TCommandTarget::kObject;
    std::vector<TArgumentInfo> leading;  // arguments that name the thing
    // Things that may have the value, the first that has it counts; none with the reason in the
    // result.
    std::function<std::vector<std::shared_ptr<ReferenceTarget>>(TCommandCall&, TCommandResult*)>
        things = {};
    std::string nameMeaning = "of the value, as NAME.values gives it";
};

// NAME.set, NAME.reset and NAME.values.
void AddValueCommands(TCommandTable& table, const TValueTopic& topic);
