// A program that is killed: it opens a scene in a window, changes it, tells on standard output when
// a copy has been saved ("saved PATH"), and waits for its end.
#pragma once

int LeaveChanges(const char* scene);  // empty: a new one
