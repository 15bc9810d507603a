#include "host/scene/hold.h"

#include <cassert>

// Plain and super levels work alike inside: each level remembers how many records there were when
// it began, a cancelled level rewinds to that mark, and the outermost accept closes the step.

void Hold::Begin() {
    m_marks.push_back(m_current.records.size());
    ++m_open;
}

void Hold::Accept(const std::string& name) {
    assert(m_open > 0);
    m_marks.pop_back();
    if (--m_open == 0) Close(name);
}

void Hold::Cancel() {
    assert(m_open > 0);
    Rewind(m_marks.back());
    m_marks.pop_back();
    if (--m_open == 0) m_current = {};
}

void Hold::SuperBegin() { Begin(); }
void Hold::SuperAccept(const std::string& name) { Accept(name); }
void Hold::SuperCancel() { Cancel(); }

void Hold::Put(std::unique_ptr<RestoreObj> record) {
    if (Holding()) m_current.records.push_back(std::move(record));
}

void Hold::Close(const std::string& name) {
    if (!m_current.records.empty()) {
        m_current.name = name;
        m_undo.push_back(std::move(m_current));
        m_redo.clear();
        if (m_undo.size() > kMaxSteps) m_undo.erase(m_undo.begin());
    }
    m_current = {};
}

void Hold::Rewind(size_t mark) {
    Suspend();
    m_restoring = true;
    while (m_current.records.size() > mark) {
        m_current.records.back()->Restore(false);
        m_current.records.pop_back();
    }
    m_restoring = false;
    Resume();
}

bool Hold::Undo() {
    if (m_open > 0 || m_undo.empty()) return false;
    Step step = std::move(m_undo.back());
    m_undo.pop_back();
    Suspend();
    m_restoring = true;
    for (size_t i = step.records.size(); i-- > 0;) step.records[i]->Restore(true);
    m_restoring = false;
    Resume();
    m_redo.push_back(std::move(step));
    return true;
}

bool Hold::Redo() {
    if (m_open > 0 || m_redo.empty()) return false;
    Step step = std::move(m_redo.back());
    m_redo.pop_back();
    Suspend();
    m_restoring = true;
    for (auto& record : step.records) record->Redo();
    m_restoring = false;
    Resume();
    m_undo.push_back(std::move(step));
    return true;
}

void Hold::Clear() {
    m_undo.clear();
    m_redo.clear();
}
