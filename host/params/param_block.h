// A block of parameter values described by a ParamBlockDesc2.
//
// Values are read at a time; animatable ones may hold keys in a track that says how they run in
// between. A list parameter has Count elements; new ones take the declared default.
// References to nodes, maps and materials are held in slots: when the target leaves the scene the
// element becomes null and keeps its place. Every change is recorded when an undo hold is open, and
// sent to the dependents with the parameter and the element.
//
// Three ways in: SetValue and the list operations call the parameter's accessor, as changes by
// users and scripts do; while accessors are suspended they do not, as when a file is read. None of
// them clamps to a range; that is the duty of param_assign.h and of panels. One thread changes a
// block; any number may read it while nobody does.
#pragma once

#include <functional>
#include <span>

#include "host/params/param_desc.h"

class INode;
class IParamBlock2;
class Mtl;
class Texmap;

// kCount: the length was set, elements to be filled come later; kAssign: the whole list was
// replaced.
enum class ListChange { kAppend, kInsert, kDelete, kCount, kAssign };

// Called when a parameter is about to change or a list has changed shape. Stateless: the block
// knows its owner.
class PBAccessor {
public:
    virtual ~PBAccessor() = default;
    // `value` is what will be stored; it may be replaced.
    virtual void Set(ParamValue& value, IParamBlock2& block, ParamID id, int index,
                     TimeValue t) const {}
    // The value has been stored.
    virtual void WasSet(IParamBlock2& block, ParamID id, int index, TimeValue t) const {}
    // `count` elements from `index` on came or went.
    virtual void ListChanged(ListChange change, IParamBlock2& block, ParamID id, int index,
                             int count) const {}
};

class IParamBlock2 : public ReferenceTarget {
public:
    // desc must outlive the block; owner may be null and must outlive it too.
    static std::shared_ptr<IParamBlock2> Create(const ParamBlockDesc2& desc,
                                                ReferenceMaker* owner = nullptr);
    IParamBlock2(const ParamBlockDesc2& desc, ReferenceMaker* owner);  // use Create
    ~IParamBlock2() override;

    const ParamBlockDesc2& GetDesc() const { return m_desc; }
    ReferenceMaker* GetOwner() const { return m_owner; }

    // Elements of a list; 1 for a single value, 0 for an unknown id.
    int Count(ParamID id) const;

    // The value of element `index` at time t. Asking for another type than the parameter's, an
    // unknown id or an element that is not there is the caller's mistake (asserted; zero
    // otherwise). `valid`, where given, is narrowed to how long the value stays the same.
    float GetFloat(ParamID id, TimeValue t = 0, int index = 0, Interval* valid = nullptr) const;
    int GetInt(ParamID id, TimeValue t = 0, int index = 0, Interval* valid = nullptr) const;
    bool GetBool(ParamID id, TimeValue t = 0, int index = 0) const { return GetInt(id, t, index); }
    TimeValue GetTime(ParamID id, TimeValue t = 0, int index = 0) const {
        return GetInt(id, t, index);
    }
    std::string GetString(ParamID id, TimeValue t = 0, int index = 0) const;
    Point3 GetPoint3(ParamID id, TimeValue t = 0, int index = 0, Interval* valid = nullptr) const;
    Color GetColor(ParamID id, TimeValue t = 0, int index = 0, Interval* valid = nullptr) const;
    // Whoever asks includes the class; null for a target of another one. (Templates only so that
    // this room need not know the classes.)
    template <class T = INode>
    T* GetNode(ParamID id, TimeValue t = 0, int index = 0) const {
        return dynamic_cast<T*>(GetReference(id, t, index));
    }
    template <class T = Texmap>
    T* GetTexmap(ParamID id, TimeValue t = 0, int index = 0) const {
        return dynamic_cast<T*>(GetReference(id, t, index));
    }
    template <class T = Mtl>
    T* GetMtl(ParamID id, TimeValue t = 0, int index = 0) const {
        return dynamic_cast<T*>(GetReference(id, t, index));
    }
    ReferenceTarget* GetReference(ParamID id, TimeValue t, int index = 0) const;
    std::shared_ptr<ReferenceTarget> ShareReference(ParamID id, int index = 0) const;
    ParamValue GetValue(ParamID id, TimeValue t = 0, int index = 0) const;

    // Stores a value. Ints and floats stand for each other (a float is truncated); any other type
    // than the parameter's is the caller's mistake. False, and nothing done, when there is no such
    // parameter or element. On an animated element all keys move by the difference, unless the host
    // is animating: then a key is set at t.
    bool SetValue(ParamID id, TimeValue t, ParamValue value, int index = 0);
    bool SetValue(ParamID id, TimeValue t, double value, int index = 0) {
        return SetValue(id, t, ParamValue(float(value)), index);
    }
    bool SetValue(ParamID id, TimeValue t, float value, int index = 0) {
        return SetValue(id, t, ParamValue(value), index);
    }
    bool SetValue(ParamID id, TimeValue t, int value, int index = 0) {
        return SetValue(id, t, ParamValue(int32_t(value)), index);
    }
    bool SetValue(ParamID id, TimeValue t, bool value, int index = 0) {
        return SetValue(id, t, ParamValue(int32_t(value)), index);
    }
    bool SetValue(ParamID id, TimeValue t, const char* value, int index = 0) {
        return SetValue(id, t, ParamValue(std::string(value)), index);
    }
    bool SetValue(ParamID id, TimeValue t, std::string value, int index = 0) {
        return SetValue(id, t, ParamValue(std::move(value)), index);
    }
    bool SetValue(ParamID id, TimeValue t, const Point3& value, int index = 0) {
        return SetValue(id, t, ParamValue(value), index);
    }
    bool SetValue(ParamID id, TimeValue t, const Color& value, int index = 0) {
        return SetValue(id, t, ParamValue(value), index);
    }
    bool SetValue(ParamID id, TimeValue t, std::nullptr_t, int index = 0) {
        return SetValue(id, t, ParamValue(std::shared_ptr<ReferenceTarget>()), index);
    }
    // Any shared target: node, map, material. A node that the parameter's class test refuses is not
    // refused here (see Accepts).
    template <class T>
    bool SetValue(ParamID id, TimeValue t, const std::shared_ptr<T>& value, int index = 0) {
        return SetValue(id, t, ParamValue(std::shared_ptr<ReferenceTarget>(value)), index);
    }

    // List operations. False, and nothing done, on a parameter that is no list or an index outside.
    bool SetCount(ParamID id, int count);
    bool Resize(ParamID id, int count) { return SetCount(id, count); }
    bool Append(ParamID id, ParamValue value);
    bool Append(ParamID id);  // one element of the declared default
    bool Insert(ParamID id, int at, std::span<const ParamValue> values);
    bool Delete(ParamID id, int at, int count = 1);
    // Content as a whole, keys included: what undo, moves of rows and copies work with.
    std::vector<ParamElement> GetElements(ParamID id) const;
    bool SetElements(ParamID id, std::vector<ParamElement> elements);

    // Keys of one element. SetKeys refuses parameters that are not animatable; times need not be
    // sorted, of equal ones the last counts.
    const std::vector<ParamKey>& GetKeys(ParamID id, int index = 0) const;
    bool SetKeys(ParamID id, std::vector<ParamKey> keys, int index = 0);
    // The same with interpolation and what holds beyond the keys.
    bool SetTrack(ParamID id, ParamTrack track, int index = 0);

    // Back to the defaults: single values take theirs, lists become empty, keys go. Parameters
    // marked to keep their value do; references held by the owner become what a new owner holds.
    void ResetAll();

    // Whether the class test of the parameter accepts this node (null is accepted).
    bool Accepts(ParamID id, const ReferenceTarget* target) const;
    // Display name of one list element, or of the parameter.
    std::string ElementName(ParamID id, int index = 0) const;

    // While suspended, dependents hear nothing; the last resume sends nothing by itself.
    void SuspendNotify() { ++m_notifySuspended; }
    void ResumeNotify() { --m_notifySuspended; }
    void SuspendAccessors() { ++m_accessorsSuspended; }
    void ResumeAccessors() { --m_accessorsSuspended; }

    RefResult NotifyRefChanged(const RefChange& change, ReferenceTarget* from) override;
    bool SlotLosesTarget(const ReferenceBase& slot) override;
    // Slots of all elements that hold references, in declaration order.
    int NumRefs() const override;
    std::shared_ptr<ReferenceTarget> GetReference(int slot) const override;
    void SetReference(int slot, std::shared_ptr<ReferenceTarget> target) override;

    // The elements of parameters that can be animated, and the maps that are listed, in declaration
    // order.
    int NumSubs() const override;
    ReferenceTarget* SubAnim(int i) const override;
    std::string SubAnimName(int i) const override;

    // A block of the same description for another owner, which copies what its own slots hold.
    std::shared_ptr<IParamBlock2> CloneFor(ReferenceMaker* owner, CloneMap& map) const;
    std::shared_ptr<ReferenceTarget> Clone(CloneMap& map) const override;

    static constexpr ClassInfo kClass{{0x3d1c0001, 0x52a7}, SuperClass::kParamBlock, "ParamBlock2"};
    ClassInfo Class() const override { return kClass; }

private:
    friend class ParamRestore;
    class SubsOfParam;
    struct Element;
    struct Param {
        const ParamDef* def;
        std::vector<Element> elements;
    };
    Param* Get(ParamID id);
    const Param* Get(ParamID id) const;
    const Element* Find(ParamID id, int index) const;
    ParamElement ReadElement(const Param& param, size_t index) const;
    Element MakeElement(const ParamDef& def, ParamElement content);
    void WriteElement(Param& param, size_t index, ParamElement content);
    void StoreElement(Param& param, size_t index, ParamElement content);  // with undo and message
    void ReplaceAll(Param& param, std::vector<ParamElement> contents);
    void Record(Param& param, int index, std::vector<ParamElement> before);
    void Changed(ParamID id, int index);
    bool Edit(Param& param, std::vector<ParamElement> contents, ListChange change, int at,
              int count);
    const Element* ElementOfSlot(int slot) const;
    // The parameter and the element of a sub-anim; null outside.
    const Param* ParamOfSub(int i, int* element) const;
    ReferenceTarget* Held(const Param& param, size_t index) const;  // null for plain values
    ParamValue EvalAt(const Param& param, int index, TimeValue t, Interval* valid) const;

    const ParamBlockDesc2& m_desc;
    ReferenceMaker* m_owner;
    std::vector<Param> m_params;  // in declaration order
    int m_notifySuspended = 0;
    int m_accessorsSuspended = 0;
    ParamID m_lostId = -1;  // element whose target is leaving the scene
    int m_lostIndex = -1;
};

class NotifySuspender {
public:
    explicit NotifySuspender(IParamBlock2& block) : m_block(block) { block.SuspendNotify(); }
    ~NotifySuspender() { m_block.ResumeNotify(); }
    NotifySuspender(const NotifySuspender&) = delete;
    NotifySuspender& operator=(const NotifySuspender&) = delete;

private:
    IParamBlock2& m_block;
};

class AccessorSuspender {
public:
    explicit AccessorSuspender(IParamBlock2& block) : m_block(block) { block.SuspendAccessors(); }
    ~AccessorSuspender() { m_block.ResumeAccessors(); }
    AccessorSuspender(const AccessorSuspender&) = delete;
    AccessorSuspender& operator=(const AccessorSuspender&) = delete;

private:
    IParamBlock2& m_block;
};
