// The instance records of one object, as renderers ask for them: made on demand, and marked with
// the build that they belong to.
//
// There is a generator for each version of the records. Records stay valid until the next Generate
// or Clear; once the object has been built again they still stand, but nobody finds their items any
// more. One thread asks; records are written by all.
#pragma once

#include <cstdint>

#include "Dravin/render/instance_records.h"
#include "Dravin/render/record_maker.h"
#include "host/base/huge_buffer.h"

class TDravin;

class TDravinBaseNodeGenerator {
public:
    virtual ~TDravinBaseNodeGenerator() = default;

    // Of the arrays alone.
    virtual void ReleaseItems();
    virtual void ReleaseRecords();
    // Both, and forgets the object.
    virtual void Clear();
    // The number in the object's list of the item of record i; -1 without an object or records,
    // after another build, and where there is no such record.
    virtual int64_t GetNode(size_t i) const;
    virtual bool HasNodes() const { return m_items.Data() != nullptr; }
    // A record for every item of the last build that is not discarded, in item order. Null, *count
    // 0, and the arrays before stay, where there are none.
    virtual void* Generate(TDravin& object, int32_t* count) = 0;

    // Whose nodes the records name from now on.
    void SetNodes(TNodesOf nodes) { m_nodes = nodes; }

    // Bytes of both arrays.
    size_t BytesHeld() const { return m_records.Bytes() + m_items.Bytes(); }

protected:
    TDravin* m_object = nullptr;
    TNodesOf m_nodes = TNodesOf::kCustomObjects;
    uint64_t m_stamp = 0;  // number of the build
    HugeBuffer m_records;
    HugeBuffer m_items;  // numbers of the records' items
    size_t m_count = 0;
};

template <class Record>
class TDravinRenderNodeGenerator final : public TDravinBaseNodeGenerator {
public:
    void* Generate(TDravin& object, int32_t* count) override;
};

extern template class TDravinRenderNodeGenerator<TDravinInstanceV1>;
extern template class TDravinRenderNodeGenerator<TDravinInstanceV512>;
