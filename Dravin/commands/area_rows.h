// The list of areas, as its commands work on it.
#pragma once

#include <memory>

#include "common/pbstore/pb_store.h"

class TDravin;

// All columns of the list, with what a new row holds.
std::unique_ptr<PBStore> OpenAreas(TDravin& object);
// An area has an id of its own: the largest plus one.
void GiveAreaId(PBStore& rows, int row);
// A new row above that of the surfaces, with an id; its number.
int InsertArea(PBStore& rows);
