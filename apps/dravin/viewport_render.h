// Pictures of a scene as viewports show it.
#pragma once

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"

// Whether the options, else the scene, ask for such a picture.
bool IsViewportPicture(Session& session, const RenderOptions& options);

// Warns of options that only such pictures know.
void TellUnusedOptions(const RenderOptions& options);

// Builds the visible scatter objects as for a viewport and draws the scene; nothing of it counts as
// a render. The camera must have passed CheckCamera. Written where the options name an output;
// errors are printed.
ExitCode RenderViewport(Session& session, const RenderOptions& options, RenderOutcome* outcome);
