// What brings scatter objects of older files up to date, once the whole scene is there.
#pragma once

class TDravin;

// Rules of a version act on files below it only, by the version that the object was made with where
// they follow that; the others act on every file. What a value became is cleared, so that a second
// time changes nothing. Nothing is recorded for undo.
void ConvertAfterLoading(TDravin& object);
