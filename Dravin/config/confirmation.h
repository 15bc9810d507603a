// Questions before something is done that a person may not want.
#pragma once

// Whether the user says yes. Quiet runs, and those without a session, say no without asking.
bool IsConfirmed(const char* question);
