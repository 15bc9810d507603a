// Commands of the table run by windows: at once where the scene is free, in their turn among edits,
// so that a gesture of the hand is never refused because the view is being built.
#pragma once

#include <functional>
#include <string>

#include "apps/studio/studio_session.h"

class QWidget;

// target: a node, by its name at that time. What went wrong is told.
void RunNow(StudioSession& session, const std::string& command, NodeHandle target,
            TArguments arguments, StudioSession::CommandDone done = {});
// The same, with a form for the arguments that are not given.
void RunNowWithForm(StudioSession& session, const std::string& command, NodeHandle target,
                    TArguments given, QWidget* parent);
// A place of the world, as commands take it.
ParamInput PlaceInput(const Point3& place);
// The text of a list that a command gives back; empty: none.
std::vector<std::string> TextsOf(const ParamInput& value);
