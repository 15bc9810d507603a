// Undo: a hold collects restore records between Begin and Accept; accepted holds form the undo
// list.
//
// Super-levels group several holds into one undo step. A record is put only while a hold is open
// (Holding) and not suspended. Cancel undoes what was recorded, newest record first, and drops it.
// An accepted hold without records leaves no step. The list is bounded in steps and in memory: the
// oldest steps are forgotten first, the newest one stays however large it is. One thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

class RestoreObj {
public:
    virtual ~RestoreObj() = default;
    // Brings the state before the change back. isUndo is false when a hold is cancelled: then Redo
    // will not follow.
    virtual void Restore(bool isUndo) = 0;
    virtual void Redo() = 0;
    // The hold that it was put in has been accepted.
    virtual void EndHold() {}
    // Memory that the record keeps alive, roughly, in bytes.
    virtual size_t Size() const { return sizeof(*this); }
    // What alone it brings back, where it says so: see Hold::HasRecordOf.
    virtual const void* Of() const { return nullptr; }
};

class Hold {
public:
    using Records = std::vector<std::unique_ptr<RestoreObj>>;

    // The records of what work() changes, apart from this thread's undo list: for records that
    // change more than they can exchange. RestoreAll brings it back. Recorded even while a state is
    // being brought back.
    static Records RecordApart(const std::function<void()>& work);
    static void RestoreAll(Records& records);  // newest first; they are gone then

    void Begin();
    void Accept(const std::string& name);
    void Cancel();

    // Super levels may nest; the outermost Accept makes the step.
    void SuperBegin();
    void SuperAccept(const std::string& name);
    void SuperCancel();

    // A record put now would be kept.
    bool Holding() const { return m_open > 0 && m_suspended == 0; }
    void Put(std::unique_ptr<RestoreObj> record);
    // Since the level that is open began, a record of this has been put: going back brings what was
    // there before all changes of it, going forth what was there after them. Whoever records large
    // values keeps the first alone.
    bool HasRecordOf(const void* what) const;
    // An earlier or later state is being brought back: whoever hears of the changes must not tidy
    // up after them, as the state that comes back is whole.
    bool IsRestoring() const { return m_restoring; }

    void Suspend() { ++m_suspended; }
    void Resume() { --m_suspended; }

    // False when there is nothing to undo or redo, or a hold is open.
    bool Undo();
    bool Redo();
    size_t NumUndoSteps() const { return m_undo.size(); }
    size_t NumRedoSteps() const { return m_redo.size(); }
    std::string UndoName() const { return m_undo.empty() ? "" : m_undo.back().name; }
    std::string RedoName() const { return m_redo.empty() ? "" : m_redo.back().name; }
    void Clear();  // forgets all steps

    // Memory that the steps of both directions keep alive, roughly, in bytes.
    size_t Memory() const { return m_memory; }
    size_t MemoryLimit() const { return m_memoryLimit; }
    void SetMemoryLimit(size_t bytes);

    static constexpr size_t kMaxSteps = 500;  // older steps are forgotten
    static constexpr size_t kDefaultMemory = size_t(256) << 20;

private:
    struct Step {
        std::string name;
        Records records;
        size_t bytes = 0;

        void Measure();
    };
    static void ForgetOldest(std::vector<Step>& steps, size_t* memory);
    void Bound();
    void Close(const std::string& name);
    void Rewind(size_t mark);

    Step m_current;
    std::vector<size_t> m_marks;  // number of records when each open level began
    int m_open = 0;
    int m_suspended = 0;
    bool m_restoring = false;
    std::vector<Step> m_undo, m_redo;
    size_t m_memory = 0, m_memoryLimit = kDefaultMemory;
};

// No records are put while this lives.
class HoldSuspender {
public:
    explicit HoldSuspender(Hold* hold) : m_hold(hold) {
        if (m_hold) m_hold->Suspend();
    }
    ~HoldSuspender() {
        if (m_hold) m_hold->Resume();
    }
    HoldSuspender(const HoldSuspender&) = delete;
    HoldSuspender& operator=(const HoldSuspender&) = delete;

private:
    Hold* m_hold;
};
