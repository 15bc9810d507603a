// Commands of the geometry list that change all probabilities at once. Each asks first and is one
// undo step; without a user the question answers no and nothing changes.
#pragma once

#include "Dravin/geometry/tree_spec_list.h"

// Scales all probabilities so that they sum to 100; a sum not above 0.0001 stays as it is. True
// when something changed.
bool NormaliseProbabilitiesCommand(TTreeSpecList& rows);

// Whole percentages from 1 to 100, drawn from the shared generator.
bool RandomiseProbabilitiesCommand(TTreeSpecList& rows);
