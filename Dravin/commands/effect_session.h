// The effect commands of each scatter object of the session: which effect its editor or browser has
// open, and which rows are selected, lives as long as the object.
#pragma once

#include <string>
#include <vector>

#include "Dravin/effects/effect_commands.h"

class Scene;
class TCommandCall;
class TDravin;
struct TArgumentInfo;
struct TCommandResult;

// Needs a session.
TEffectCommands& EffectCommandsOf(TDravin& object);
// The next build of every scatter object of the scene compiles its effects again.
void MarkAllEffects(const Scene& scene);

// The argument that EffectOfCall reads.
TArgumentInfo EffectArgument();
// The row that the argument "effect" of a call means: a number from 0, a name or an id; without it
// the only effect, else the selected one. -1 with the reason in `result`.
int EffectOfCall(const TCommandCall& call, TCommandResult* result);
// The row of the parameter lists that "parameter" means, a name or an id, among those of an effect.
int EffectParameterOfCall(const TCommandCall& call, int effect, TCommandResult* result);
