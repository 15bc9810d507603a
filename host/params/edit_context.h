// What the edits of a thread go through: the undo list that records them, and whether they set
// keys.
#pragma once

class Hold;

struct EditContext {
    Hold* hold = nullptr;    // null: nothing is recorded
    bool animating = false;  // changing an animatable value sets a key at its time
};

// This thread's. Whoever works on a scene installs its own (HostContext does); a thread that
// nobody prepared records nothing.
EditContext& CurrentEdits();

// The undo list of this thread's edits, null when there is none.
inline Hold* CurrentHold() { return CurrentEdits().hold; }
