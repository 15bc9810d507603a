#include "Dravin/storage/object_writer.h"

#include <algorithm>
#include <random>

#include <fmt/format.h>

#include "Dravin/build/custom_edit.h"
#include "Dravin/build/dravin_build.h"
#include "Dravin/config/version.h"
#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/storage/curve_chunks.h"
#include "Dravin/storage/item_block.h"
#include "Dravin/storage/template_record.h"
#include "host/base/log.h"
#include "host/chunks/chunk_writer.h"
#include "host/scene/host_context.h"

namespace {

std::string DisplayRecord(const TDisplaySettings& display) {
    std::string record(12, '\0');
    int32_t density = display.cloudDensityPercent;
    std::memcpy(record.data(), &density, sizeof density);
    record[4] = char(display.directDraw);
    std::memcpy(record.data() + 8, &display.shade, sizeof display.shade);
    return record;
}

std::string GroupBoxes(const TFileState& state) {
    std::string boxes;
    for (auto [id, collapsed] : state.groups) {
        const int32_t values[] = {id, collapsed};
        AppendChunk(boxes, kGroupBoxChunk, {reinterpret_cast<const char*>(values), sizeof values});
    }
    return boxes;
}

// Eight digits, the first not 0, so that the number keeps its width however it is written.
std::string NewIdentifier() {
    std::random_device seed;
    return fmt::format("{:08x}", std::uniform_int_distribution<uint32_t>(0x10000000)(seed));
}

bool HasIdentifier(const Scene& scene, const TDravin& except, const std::string& identifier) {
    for (const INode* node : scene.Nodes()) {
        auto* other = dynamic_cast<const TDravin*>(node->GetObjectRef());
        if (other && other != &except && other->fileState.identifier == identifier) return true;
    }
    return false;
}

// Saving is no change of the scene: nothing is recorded, and nobody hears of it.
void Identify(TDravin& object) {
    INode* node = GetWorldNode(object);
    const Scene* scene = node ? node->GetScene() : nullptr;
    std::string& identifier = object.fileState.identifier;
    while (identifier.empty() || (scene && HasIdentifier(*scene, object, identifier)))
        identifier = NewIdentifier();
    IParamBlock2& block = object.Block(kGenParams);
    NotifySuspender quiet(block);
    HoldSuspender noUndo(CurrentHold());
    block.SetValue(genParams::kRenderid, 0, identifier);
    block.SetValue(genParams::kSavedversion, 0, ProductVersion());
}

void AppendState(std::string& bytes, const TDravin& object) {
    const TFileState& state = object.fileState;
    AppendChunk(bytes, kRolloutsChunk, GroupBoxes(state));
    AppendChunk(bytes, kDisplayChunk, DisplayRecord(DravinGlobals().display));
    AppendChunk(bytes, kLogLevelChunk, int32_t(GetLogLevel()));
    for (const TCurveChunk& entry : CurveChunks()) {
        const TCurveSet* set = object.CurveSet(entry.slot);
        if (set && entry.curve < set->GetNumCurves())
            AppendChunk(bytes, entry.chunk, SaveCurve(*set, entry.curve));
    }
    AppendChunk(bytes, kVersionChunk, int32_t(TFileState::kVersion));
    AppendChunk(bytes, kOriginVersionChunk, int32_t(state.originVersion));
    AppendChunk(bytes, kIdentifierChunk, state.identifier);
    const TSpecGeomList& templates = DravinGlobals().templates.InUse();
    AppendChunk(bytes, kNumTemplatesChunk, int32_t(templates.size()));
    for (const auto& entry : templates) AppendChunk(bytes, kTemplateChunk, TemplateRecord(*entry));
    AppendChunk(bytes, kDisplayStateChunk, int32_t(state.displayState));
    AppendChunk(bytes, kSecondDisplayStateChunk, int32_t(state.secondDisplayState));
    if (auto list = std::dynamic_pointer_cast<TInstanceNodes>(object.GetReference(kSlotInternal)))
        for (NodeHandle handle : list->handles.Get())
            AppendChunk(bytes, kInstancesChunk, int32_t(handle));
    for (const auto& [id, payload] : state.unknown) AppendChunk(bytes, id, payload);
}

// The items with what the last build made of them, where it was one of these items.
class ItemsToWrite {
public:
    explicit ItemsToWrite(const TDravin& object)
        : m_stored(object.StoredItems()), m_built(object.Build().Items()) {
        m_isBuilt = m_built.Count() == m_stored.size();
    }
    size_t Count() const { return m_stored.size(); }
    TStoredItem At(size_t i) {
        TStoredItem item = m_stored[i];
        if (!m_isBuilt) return item;
        m_built.ReadStored(i, &m_read);
        KeepResults(m_read, item);
        return item;
    }

private:
    const std::vector<TStoredItem>& m_stored;
    const TDravinItemList& m_built;
    bool m_isBuilt;
    TDravinItem m_read;
};

void WriteItems(ChunkWriter& out, const TDravin& object) {
    constexpr size_t kBatch = 4096, kBytes = kObjectChunkHeader + kItemBlockBytes;
    ItemsToWrite items(object);
    std::string bytes;
    AppendChunk(bytes, kNumItemsChunk, int32_t(items.Count()));
    out.WriteBytes(bytes);
    std::string header;
    AppendChunk(header, kItemChunk, std::string(kItemBlockBytes, '\0'));
    header.resize(kObjectChunkHeader);
    for (size_t first = 0; first < items.Count() && !out.HasFailed(); first += kBatch) {
        size_t count = std::min(kBatch, items.Count() - first);
        bytes.resize(count * kBytes);
        for (size_t i = 0; i < count; ++i) {
            char* at = bytes.data() + i * kBytes;
            std::memcpy(at, header.data(), kObjectChunkHeader);
            WriteItemBlock(items.At(first + i), at + kObjectChunkHeader);
        }
        out.WriteBytes(bytes);
    }
}

}  // namespace

void WriteObjectChunks(ChunkWriter& out, TDravin& object) {
    Identify(object);
    std::string bytes;
    AppendState(bytes, object);
    out.WriteBytes(bytes);
    if (object.Block(kEditionParams).GetInt(editionParams::kMode) == 1) WriteItems(out, object);
}
