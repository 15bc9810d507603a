// Row operations that every list of a user has: insert, delete, move, copy, paste.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Dravin/commands/command_table.h"
#include "Dravin/params/dravin_params.h"
#include "common/pbstore/pb_clipboard.h"
#include "host/scene/host_context.h"

struct TRowList {
    // Finds the list that a call works on; null with the reason in the result.
    std::function<std::unique_ptr<PBStore>(TCommandCall&, TCommandResult*)> open;
    std::function<PBClipboard&()> clipboard;  // of the session
    std::optional<ParamID> idColumn;          // told apart by it; a pasted row has none yet
    TCommandTarget target = TCommandTarget::kObject;
    // After a row has come: what is told apart by more than the id column.
    std::function<void(PBStore&, int row)> added = {};
    // What lives around every operation, and puts right what rows are referred to by.
    std::function<std::shared_ptr<void>(TCommandCall&)> around = {};
    // Whether a row may be deleted; else the reason, which has been shown. None: all may.
    std::function<bool(const PBStore&, int row, TCommandResult*)> mayDelete = {};
};

// TOPIC.insert, .delete, .move, .copy and .paste; rows count from 0.
void AddRowCommands(TCommandTable& table, const std::string& topic, const std::string& row,
                    const TRowList& list);
// TOPIC.up and TOPIC.down: a step gives the row's number afterwards; the last ones stay.
void AddStepCommands(TCommandTable& table, const std::string& topic, const std::string& row,
                     const TRowList& list);
// Whether the list has that row; else the reason.
bool HasRow(const PBStore& rows, int row, TCommandResult* result);

// The copied row of the session, each kind of list its own.
template <class Clipboard>
PBClipboard& ClipboardOfSession() {
    return HostContext::Current()->State<Clipboard>();
}

std::shared_ptr<IParamBlock2> Share(TDravin& object, DravinBlockId id);
std::shared_ptr<INode> Share(INode* node);
// A node that a call names; null without the argument, or with the reason in the result.
INode* NodeOfCall(TCommandCall& call, const char* argument, TCommandResult* result);
