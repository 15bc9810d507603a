// References between scene entities, with change messages.
//
// A ReferenceTarget can be referred to; it is shared (std::shared_ptr) and knows its dependents. A
// ReferenceMaker holds Reference slots: a slot keeps its target alive, registers the maker as a
// dependent and hears its messages. Changes travel up: target -> every maker that holds it -> (when
// the maker is a target itself and does not stop the message) its dependents. Scene graph work
// happens on one thread; nothing here locks.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/math/interval.h"
#include "host/params/class_id.h"

class CloneMap;
class ReferenceBase;
class ReferenceTarget;
struct ReferencePath;

enum class RefMessage : int {
    kTargetDeleted = 0x20,
    kChange = 0x50,
    kNodeNameChanged = 0xF7,
    // Other things can be animated of this target than before (SubAnim), or it follows keys now and
    // did not, or the other way round. What changes beside that is told by a message of its own.
    kSubAnimStructureChanged = 0x162,
    kNodeTransformChanged = 0x232,
    kObjectReplaced = 0x235,  // a node shows another object
    // The target is as it was, and whoever keeps a result of it must make it anew all the same:
    // lengths and times of its scene mean something else (Scene::unitScale).
    kEverythingStale = 0x10001,
};

// What the object of a node must be for picks and script assignments to accept the node.
enum class ClassTest { kAny, kGeometry, kShape, kCamera, kLight, kParticles };

enum class RefResult { kSucceed, kStop };

// What a change message says about where it came from.
struct RefChange {
    RefMessage message = RefMessage::kChange;
    Interval interval = Interval::Forever();
    int paramId = -1;   // of a parameter block: the changed parameter, -1 when not known
    int tabIndex = -1;  // element of a list parameter, -1 when not known
    // The slot of the maker that hears it; set for each of them.
    const ReferenceBase* slot = nullptr;
    // The targets that it came through. For makers that pass it on: leave it as it is.
    const ReferencePath* path = nullptr;
};

class ReferenceMaker {
public:
    virtual ~ReferenceMaker() = default;
    ReferenceMaker() = default;
    ReferenceMaker(const ReferenceMaker&) = delete;
    ReferenceMaker& operator=(const ReferenceMaker&) = delete;

    // A target held by one of this maker's slots sent `change`. kStop keeps it from going further.
    virtual RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) {
        return RefResult::kSucceed;
    }
    // `slot` is about to lose its target, which leaves the scene; kTargetDeleted follows when it
    // has. True when the maker has put an undo record of its own.
    virtual bool SlotLosesTarget(const ReferenceBase& slot) { return false; }
    // What keeps this maker and its slots alive for undo records, which then give lost targets
    // back. Null: it is of no lasting kind, and its slots stay empty.
    virtual std::shared_ptr<void> KeepForUndo() { return nullptr; }

    // A property of this maker has another value (property.h).
    virtual void ValueChanged() {}
    // Other things can be animated of this maker (SubsWatch).
    virtual void SubsChanged() {}

    // Numbered reference slots: all that this maker holds, to be listed, cloned and saved. Null
    // outside. Filling a slot is told to nobody and recorded by nobody: it is for who reads or
    // copies whole scenes, while changes by users go through setters of each class. A reference
    // that the maker makes itself and never lets go is filled by no other.
    virtual int NumRefs() const { return 0; }
    virtual std::shared_ptr<ReferenceTarget> GetReference(int slot) const { return nullptr; }
    virtual void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) {}
    // What a new maker of this kind holds there.
    virtual void ResetReference(int slot) { SetReference(slot, nullptr); }
    // Makes slots for as many references, empty ones, where their number is not fixed.
    virtual void SetNumRefs(int count) {}
    // Whether files hold what the slot does; else it comes back with what the maker names.
    virtual bool IsSlotStored(int slot) const { return true; }

    // What can be animated of this maker, in the order in which lists show it: parameter blocks,
    // controllers, maps; null where the maker keeps the values and keys itself, where nothing
    // stands, and outside. Everything that can be animated has a name, whatever stands there.
    virtual int NumSubs() const { return 0; }
    virtual ReferenceTarget* SubAnim(int i) const { return nullptr; }
    virtual std::string SubAnimName(int i) const { return {}; }
};

class ReferenceTarget : public ReferenceMaker,
                        public std::enable_shared_from_this<ReferenceTarget> {
public:
    // Sends `change` to all dependents, and through those that are targets further up. A change
    // that a handler makes meanwhile is heard after this one; a message that comes round to a
    // target it came through goes no further.
    void NotifyDependents(const RefChange& change = {});
    // Tells all dependents that this target leaves the scene; their slots become empty.
    void NotifyDeleted();

    // Number of slots that hold this target.
    size_t NumDependents() const { return m_dependents.size(); }
    // The makers that hold this target, one entry a slot.
    std::vector<ReferenceMaker*> Dependents() const;

    std::shared_ptr<void> KeepForUndo() override { return weak_from_this().lock(); }
    void ValueChanged() override { NotifyDependents(); }
    void SubsChanged() override { NotifyDependents({RefMessage::kSubAnimStructureChanged}); }

    virtual ClassInfo Class() const { return {}; }
    std::string ClassName() const { return Class().name; }
    // Whether picks and script assignments for such a parameter take this target.
    virtual bool Passes(ClassTest test) const { return test == ClassTest::kAny; }

    // A copy of this target and of what it alone holds; what other targets hold as well comes
    // through the map, as each kind of target wants it (clone_map.h). Null when it cannot be
    // copied.
    virtual std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const { return nullptr; }

private:
    void Send(const RefChange& change);

    friend class ReferenceBase;
    template <class Handle>
    void ForEachSlot(const Handle& handle);

    std::vector<ReferenceBase*> m_dependents;  // in no particular order
    size_t m_numChanges = 0;                   // of the list above
    bool m_sending = false;
    std::vector<RefChange> m_waiting;  // made by handlers while a message is being sent
};

// One slot of a maker. Not copied; the maker outlives it (declare slots as members of the maker).
class ReferenceBase {
public:
    explicit ReferenceBase(ReferenceMaker* maker) : m_maker(maker) {}
    ~ReferenceBase() { Assign(nullptr); }
    ReferenceBase(const ReferenceBase&) = delete;
    ReferenceBase& operator=(const ReferenceBase&) = delete;

protected:
    void Assign(std::shared_ptr<ReferenceTarget> target);

    friend class ReferenceTarget;
    friend class SlotRestore;
    ReferenceMaker* m_maker;
    std::shared_ptr<ReferenceTarget> m_target;
    size_t m_place = 0;  // in the target's list of dependents
};

template <class T>
class Reference : public ReferenceBase {
public:
    using ReferenceBase::ReferenceBase;

    Reference& operator=(std::shared_ptr<T> target) {
        Put(std::move(target));
        return *this;
    }
    void Put(std::shared_ptr<T> target) { Assign(std::move(target)); }
    T* Get() const { return static_cast<T*>(m_target.get()); }
    std::shared_ptr<T> Share() const { return std::static_pointer_cast<T>(m_target); }
    T* operator->() const { return Get(); }
    explicit operator bool() const { return m_target != nullptr; }
    ReferenceMaker* Maker() const { return m_maker; }
};
