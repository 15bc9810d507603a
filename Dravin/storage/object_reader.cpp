#include <algorithm>

#include <fmt/format.h>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/proxy/instance_nodes.h"
#include "Dravin/storage/curve_chunks.h"
#include "Dravin/storage/item_block.h"
#include "Dravin/storage/object_writer.h"
#include "Dravin/storage/post_load.h"
#include "Dravin/storage/template_record.h"
#include "host/base/log.h"
#include "host/scene/host_context.h"
#include "host/storage/field_reader.h"

namespace {

// Curves wait for the sets, which are entities of their own.
struct LoadedCurve {
    const TCurveChunk* place;
    std::vector<CurvePoint> points;
};

class ObjectReader {
public:
    ObjectReader(FieldReader& in, TDravin& object) : m_in(in.In()), m_object(object) {}

    void Read() {
        TFileState& state = m_object.fileState;
        state = {};
        state.version = 0;
        DravinGlobals().display.directDraw = DravinGlobals().options.directXAccel != 0;
        ReadChunks(m_in.ReadView(m_in.Remaining()));
        if (!m_hasOrigin) state.originVersion = state.version;
        if (m_in.HasFailed()) return;
        DropOldDepths();
        HoldSuspender noUndo(CurrentHold());
        m_object.SetStoredItems(std::move(m_items));
        if (!m_instances.empty()) {
            auto list = std::make_shared<TInstanceNodes>();
            list->handles = std::move(m_instances);
            m_list = std::move(list);
        }
    }

    // When all entities are there.
    void Finish() {
        if (m_list) m_object.SetReference(kSlotInternal, m_list);
        for (LoadedCurve& curve : m_curves) {
            TCurveSet* set = m_object.CurveSet(curve.place->slot);
            if (set && curve.place->curve < set->GetNumCurves())
                set->SetPoints(curve.place->curve, std::move(curve.points));
        }
        ConvertAfterLoading(m_object);
    }

private:
    void ReadChunks(std::string_view bytes) {
        TChunkWalk chunks(bytes);
        while (!m_in.HasFailed() && chunks.Next()) {
            if (ItemBlockGeneration(chunks.Id()) > 0)
                ReadItem(chunks, bytes.size());
            else if (!ReadState(chunks) && !ReadProcess(chunks) && !ReadCurve(chunks))
                m_object.fileState.unknown.emplace_back(chunks.Id(), chunks.Payload());
        }
        if (chunks.IsMalformed())
            m_in.Fail(fmt::format("{}: chunk {:#x} of the object is shorter than what it holds",
                                  m_object.ClassName(), chunks.Id()));
    }

    // The newest form in the file counts, wherever it stands.
    void ReadItem(TChunkWalk& chunks, size_t bytes) {
        int generation = ItemBlockGeneration(chunks.Id());
        if (generation < m_generation) return;
        std::optional<TStoredItem> item = ReadItemBlock(chunks.Id(), chunks.Payload());
        // The oldest form is skipped where its size is unknown.
        if (!item && generation > 1) m_in.Fail("an item's block has another size than its kind");
        if (!item) return;
        if (generation > m_generation) m_items.clear();
        m_generation = generation;
        if (m_items.empty()) m_items.reserve(bytes / (kObjectChunkHeader + kItemBlockBytes));
        m_items.push_back(*item);
    }

    // Blocks of older forms have no depth: it is the width then.
    void DropOldDepths() {
        if (m_generation == 0 || m_generation > 2) return;
        for (TStoredItem& item : m_items) item.sizeFactor.y = item.sizeFactor.x;
    }

    bool ReadState(TChunkWalk& chunks) {
        TFileState& state = m_object.fileState;
        switch (chunks.Id()) {
            case kRolloutsChunk:
                return ReadGroups(chunks.Payload()), true;
            case kVersionChunk:
                return state.version = chunks.Value<int32_t>(), true;
            case kOriginVersionChunk:
                m_hasOrigin = true;
                return state.originVersion = chunks.Value<int32_t>(), true;
            case kIdentifierChunk:
                return state.identifier = chunks.Payload().substr(0, 100), true;
            case kDisplayStateChunk:
                return state.displayState = chunks.Value<int32_t>(), true;
            case kSecondDisplayStateChunk:
                return state.secondDisplayState = chunks.Value<int32_t>(), true;
            case kInstancesChunk:
                return m_instances.push_back(NodeHandle(chunks.Value<int32_t>())), true;
            case kNumItemsChunk:
                return chunks.Value<int32_t>(), true;  // the blocks themselves count
            default:
                return false;
        }
    }

    void ReadGroups(std::string_view bytes) {
        TChunkWalk chunks(bytes);
        while (chunks.Next()) {
            if (chunks.Id() != kGroupBoxChunk || chunks.Payload().size() < 8) continue;
            int32_t values[2];
            std::memcpy(values, chunks.Payload().data(), sizeof values);
            m_object.fileState.groups.emplace_back(values[0], values[1]);
        }
        if (chunks.IsMalformed()) m_in.Fail("the state of the object's panel is cut");
    }

    // What belongs to the process: the last object that is read wins.
    bool ReadProcess(TChunkWalk& chunks) {
        TTemplates& templates = DravinGlobals().templates;
        switch (chunks.Id()) {
            case kDisplayChunk:
                return ReadDisplay(chunks.Payload()), true;
            case kLogLevelChunk:
                return RaiseLogLevel(chunks.Value<int32_t>()), true;
            case kNumTemplatesChunk:
                return templates.restored.clear(), true;
            case kTemplateChunk:
                return templates.restored.push_back(ReadTemplateRecord(chunks.Payload())), true;
            default:
                return false;
        }
    }

    static void ReadDisplay(std::string_view record) {
        char bytes[12] = {};
        TDisplaySettings& display = DravinGlobals().display;
        int32_t density = display.cloudDensityPercent;
        std::memcpy(bytes, &density, sizeof density);
        std::memcpy(bytes + 8, &display.shade, sizeof display.shade);
        std::memcpy(bytes, record.data(), std::min(record.size(), sizeof bytes));
        std::memcpy(&density, bytes, sizeof density);
        float shade = 0;
        std::memcpy(&shade, bytes + 8, sizeof shade);
        display.cloudDensityPercent = std::clamp(density, 0, 100);
        if (std::isfinite(shade)) display.shade = std::clamp(shade, 0.0f, 1.0f);
    }

    static void RaiseLogLevel(int level) {
        SetLogLevel(std::max(GetLogLevel(), std::clamp(level, 0, 2)));
    }

    bool ReadCurve(TChunkWalk& chunks) {
        for (const TCurveChunk& place : CurveChunks()) {
            if (place.chunk != chunks.Id()) continue;
            TCurveSet set;
            set.SetNumCurves(1);
            std::string error;
            if (!LoadCurve(chunks.Payload(), set, 0, &error)) m_in.Fail(error);
            m_curves.push_back({&place, set.Points(0)});
            return true;
        }
        return false;
    }

    ChunkReader& m_in;
    TDravin& m_object;
    std::vector<TStoredItem> m_items;
    int m_generation = 0;
    bool m_hasOrigin = false;
    std::vector<NodeHandle> m_instances;
    std::shared_ptr<TInstanceNodes> m_list;
    std::vector<LoadedCurve> m_curves;
};

}  // namespace

void ReadObjectChunks(FieldReader& in, TDravin& object) {
    auto reader = std::make_shared<ObjectReader>(in, object);
    reader->Read();
    in.WhenLoaded([reader] { reader->Finish(); });
}
