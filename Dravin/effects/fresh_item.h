// The item that programs are tried on without a scene.
#pragma once

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/tavuvm_expr/vmachine.h"

// Gives a machine whose program sees these names the attributes of one item at the origin, before
// anything has changed it. Any thread.
void SetFreshItem(tavuvm_expr::vmachine& machine, const TEffectNames& names);
