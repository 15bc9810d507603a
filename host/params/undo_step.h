// One undo step for everything that happens while this lives. Steps nest: the outermost one makes
// the step, under its name. Without an undo list nothing is recorded.
#pragma once

#include <string>

#include "host/params/edit_context.h"
#include "host/params/hold.h"

class UndoStep {
public:
    explicit UndoStep(std::string name) : m_name(std::move(name)) {
        if (m_hold) m_hold->Begin();
    }
    ~UndoStep() {
        if (m_hold) m_isCancelled ? m_hold->Cancel() : m_hold->Accept(m_name);
    }
    UndoStep(const UndoStep&) = delete;
    UndoStep& operator=(const UndoStep&) = delete;

    // What was recorded is taken back in the end.
    void Cancel() { m_isCancelled = true; }

private:
    Hold* m_hold = CurrentHold();
    std::string m_name;
    bool m_isCancelled = false;
};
