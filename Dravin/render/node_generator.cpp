#include "Dravin/render/node_generator.h"

#include <fmt/format.h>

#include "Dravin/build/object_log.h"
#include "Dravin/dravin.h"

namespace {

// Memory that is large enough serves again.
void MakeRoom(HugeBuffer& buffer, size_t bytes) {
    if (buffer.Bytes() >= bytes && buffer.Bytes() / 2 <= bytes) return;
    buffer = {};
    buffer = HugeBuffer(bytes);
}

}  // namespace

void TDravinBaseNodeGenerator::ReleaseItems() { m_items = {}; }
void TDravinBaseNodeGenerator::ReleaseRecords() { m_records = {}; }

void TDravinBaseNodeGenerator::Clear() {
    ReleaseItems();
    ReleaseRecords();
    m_object = nullptr;
    m_stamp = 0;
    m_count = 0;
}

int64_t TDravinBaseNodeGenerator::GetNode(size_t i) const {
    bool stands = m_object && HasNodes() && m_stamp == m_object->Build().BuildNumber();
    if (!stands || i >= m_count) return -1;
    return reinterpret_cast<const uint32_t*>(m_items.Data())[i];
}

template <class Record>
void* TDravinRenderNodeGenerator<Record>::Generate(TDravin& object, int32_t* count) {
    m_object = &object;
    m_stamp = object.Build().BuildNumber();
    TRecordMaker maker(object, object.Build(), TRecordsOf::kAllItems, m_nodes);
    *count = int32_t(maker.Count());
    if (maker.Count() == 0) return nullptr;
    m_count = 0;  // until all stand: memory may run out
    MakeRoom(m_records, maker.Count() * sizeof(Record));
    MakeRoom(m_items, maker.Count() * sizeof(uint32_t));
    auto* records = reinterpret_cast<Record*>(m_records.Data());
    maker.Write(records, reinterpret_cast<uint32_t*>(m_items.Data()), nullptr);
    m_count = maker.Count();
    ObjectLog(object, LogKind::kNormal,
              fmt::format("IDravinGetRenderNodes: {} instances of {} items", m_count,
                          object.Build().Items().Count()));
    return records;
}

template class TDravinRenderNodeGenerator<TDravinInstanceV1>;
template class TDravinRenderNodeGenerator<TDravinInstanceV512>;
