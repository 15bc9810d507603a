// Which state of the scene is which: a number for each, so that "unsaved" goes out when the saved
// state is reached again by undo or redo, and the names of the steps between them. Follows an undo
// list by looking at it after each change.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/params/hold.h"

class UndoMarks {
public:
    uint64_t Current() const { return m_undo.empty() ? m_base : m_undo.back().state; }
    // All steps, oldest first; those from NumUndoSteps on are undone.
    std::vector<std::string> StepNames() const {
        std::vector<std::string> names;
        for (const Step& step : m_undo) names.push_back(step.name);
        for (size_t i = m_redo.size(); i-- > 0;) names.push_back(m_redo[i].name);
        return names;
    }
    size_t NumUndoSteps() const { return m_undo.size(); }
    void Reset() { *this = UndoMarks(); }

    // Something may have been done: one step more, or none.
    void Done(const Hold& hold) {
        size_t steps = hold.NumUndoSteps();
        // A full list does not tell whether its oldest step has just made room for a new one.
        bool isNew = steps > m_undo.size() || hold.NumRedoSteps() != m_redo.size() ||
                     hold.Memory() != m_memory || steps == Hold::kMaxSteps;
        if (isNew) {
            m_redo.clear();
            while (m_undo.size() > steps) Forget();
            if (m_undo.size() == steps && steps > 0) Forget();
            // Of several steps at once the last one's name is known: one change made them all.
            while (m_undo.size() < steps) m_undo.push_back({++m_last, hold.UndoName()});
        }
        m_memory = hold.Memory();
    }
    void Undone(const Hold& hold) { Move(m_undo, m_redo, hold); }
    void Redone(const Hold& hold) { Move(m_redo, m_undo, hold); }

private:
    struct Step {
        uint64_t state;  // after it
        std::string name;
    };
    // The oldest step can no more be taken back.
    void Forget() {
        m_base = m_undo.front().state;
        m_undo.erase(m_undo.begin());
    }
    void Move(std::vector<Step>& from, std::vector<Step>& to, const Hold& hold) {
        if (!from.empty()) to.push_back(std::move(from.back())), from.pop_back();
        m_memory = hold.Memory();
    }

    std::vector<Step> m_undo, m_redo;
    uint64_t m_base = 0, m_last = 0;
    size_t m_memory = 0;
};
