// Questions with a box to tick for not being asked again.
//
// A question record stands for one question of the program, and lives as long as the answer is to
// be remembered: in the session, say. One thread.
#pragma once

#include <functional>
#include <optional>
#include <string>

struct WarningQuestion {
    std::string text;
    std::string caption = "Warning";
    std::function<bool()> mayBeAsked = {};  // none: always
    bool isNotice = false;                  // offers nothing but to go on
    std::optional<bool> remembered = {};    // the answer of a user who ticked the box
};

// Whether the user agrees: now, or when the box was ticked. No where nobody can be asked: in quiet
// sessions, without a session, and when the caller wants silence.
bool ConfirmWarning(WarningQuestion& question, bool silently = false);
