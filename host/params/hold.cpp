#include "host/params/hold.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "host/params/edit_context.h"

// Plain and super levels work alike inside: each level remembers how many records there were when
// it began, a cancelled level rewinds to that mark, and the outermost accept closes the step.

Hold::Records Hold::RecordApart(const std::function<void()>& work) {
    Hold apart;
    apart.m_restoring = true;
    apart.Begin();
    EditContext before = std::exchange(CurrentEdits(), {&apart, false});
    work();
    CurrentEdits() = before;
    return std::move(apart.m_current.records);
}

void Hold::RestoreAll(Records& records) {
    while (!records.empty()) {
        std::unique_ptr<RestoreObj> last = std::move(records.back());
        records.pop_back();
        last->Restore(false);
    }
}

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

bool Hold::HasRecordOf(const void* what) const {
    if (m_marks.empty()) return false;
    auto first = m_current.records.begin() + ptrdiff_t(m_marks.back());
    return std::any_of(first, m_current.records.end(),
                       [what](const auto& record) { return record->Of() == what; });
}

void Hold::Step::Measure() {
    bytes = sizeof(*this);
    for (const auto& record : records) bytes += record->Size();
}

void Hold::ForgetOldest(std::vector<Step>& steps, size_t* memory) {
    *memory -= steps.front().bytes;
    steps.erase(steps.begin());
}

// Steps that can be redone are the farthest from what is there, the last one of all first.
void Hold::Bound() {
    while (m_undo.size() > kMaxSteps) ForgetOldest(m_undo, &m_memory);
    while (m_memory > m_memoryLimit && m_undo.size() + m_redo.size() > 1)
        ForgetOldest(m_redo.size() > 1 || m_undo.empty() ? m_redo : m_undo, &m_memory);
}

void Hold::SetMemoryLimit(size_t bytes) {
    m_memoryLimit = bytes;
    Bound();
}

void Hold::Close(const std::string& name) {
    Step step = std::exchange(m_current, {});
    if (step.records.empty()) return;
    step.name = name;
    for (const auto& record : step.records) record->EndHold();
    step.Measure();
    for (const Step& undone : m_redo) m_memory -= undone.bytes;
    m_redo.clear();
    m_memory += step.bytes;
    m_undo.push_back(std::move(step));
    Bound();
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
    m_memory -= step.bytes;
    step.Measure();
    m_memory += step.bytes;
    m_redo.push_back(std::move(step));
    Bound();
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
    m_memory = 0;
}
