#include "Dravin/render/record_maker.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/item_numbers.h"
#include "host/base/thread_pool.h"

namespace {

constexpr size_t kRange = 8192;  // items that a thread takes at a time
constexpr size_t kBatch = 256;   // items whose numbers are drawn together

}  // namespace

TRecordMaker::TRecordMaker(const TDravin& object, const TDravinBuild& build, TRecordsOf which)
    : m_build(build), m_which(which) {
    bool asMeshes =
        object.Block(kDispParams).GetInt(dispParams::kRendermode, build.Time()) == kRenderMeshes;
    if (asMeshes || !build.Input() || build.Specimens().NumRows() == 0) return;
    m_scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    if (build.ObjectMesh().IsBuilt()) m_ranges = build.ObjectMesh().Ranges().data();
    ReadRows();
    m_firstRecord.assign((build.Items().Count() + kRange - 1) / kRange, 0);
    ForEachRange([this](size_t range, size_t first, size_t last) {
        size_t count = 0;
        for (size_t i = first; i < last;) {
            size_t together;
            TItemColumns columns = m_build.Items().ColumnsAt(i, &together);
            together = std::min(together, last - i);
            for (size_t k = 0; k < together; ++k) count += Has(columns, k, i + k);
            i += together;
        }
        m_firstRecord[range] = count;
    });
    for (size_t& first : m_firstRecord) m_count += std::exchange(first, m_count);
}

void TRecordMaker::ReadRows() {
    const TSpecBuildList& specimens = m_build.Specimens();
    size_t numSources = 0;
    for (size_t r = 0; r < specimens.NumRows(); ++r) numSources += specimens.Row(r).nodes.size();
    m_sources.reserve(numSources);  // rows point into it
    for (size_t r = 0; r < specimens.NumRows(); ++r) {
        const TSpecBuild& row = specimens.Row(r);
        m_rows.push_back({m_sources.data() + m_sources.size(), row.nodes.size(), &row});
        for (const TSpecBuildNode& node : row.nodes) {
            Source source;
            if (node.entry.kind == kGeomCustom && node.source) {
                source.node = node.source.get();
                source.material =
                    node.entry.material ? node.entry.material.get() : node.source->GetMtl();
                source.toUnit = node.sample->Size().normalize;
                if (m_build.Items().Derives(kGroupCenter)) source.centerPercent = node.entry.center;
            }
            m_sources.push_back(source);
        }
    }
}

// Most numbers are within the rows, and a division costs as much as a matrix.
const TRecordMaker::Row& TRecordMaker::RowOf(int32_t specimenIndex) const {
    bool isWithin = specimenIndex >= 0 && size_t(specimenIndex) < m_rows.size();
    return m_rows[isWithin ? size_t(specimenIndex) : SpecimenRow(specimenIndex, m_rows.size())];
}

const TRecordMaker::Source* TRecordMaker::SourceOf(const Row& row, int16_t element) {
    if (row.numSources == 0) return nullptr;
    const Source* source =
        row.numSources == 1 ? row.sources : row.sources + uint16_t(element) % row.numSources;
    return source->node ? source : nullptr;
}

bool TRecordMaker::Has(const TItemColumns& columns, size_t k, size_t item) const {
    const ItemMarks& marks = columns.marks[k];
    if (marks.Is(ItemMarks::kDiscarded)) return false;
    if (m_which == TRecordsOf::kAllItems) return true;
    return SourceOf(RowOf(columns.specimenIndex[k]), marks.elementIndex) && !IsMeshed(item);
}

// visit(number of the range, first item, behind its last), by all threads.
template <class Visit>
void TRecordMaker::ForEachRange(const Visit& visit) const {
    size_t count = m_build.Items().Count();  // also makes the list's index, before threads ask
    ParallelRanges(count, kRange, NumProcessors(),
                   [&](size_t first, size_t last) { visit(first / kRange, first, last); });
}

// The records of one range: one thread's work.
class TRecordMaker::Piece {
public:
    explicit Piece(const TRecordMaker& maker)
        : m_maker(maker), m_draws(maker.m_build.Input()->transforms) {}

    template <class Record>
    void Write(size_t first, size_t last, Record* records, uint32_t* items,
               const Matrix3* toWorld) {
        for (size_t i = first; i < last;) {
            size_t together;
            TItemColumns columns = m_maker.m_build.Items().ColumnsAt(i, &together);
            together = std::min({together, last - i, kBatch});
            if constexpr (std::is_same_v<Record, TDravinInstanceV512>)
                m_draws.Draw({columns.seed, together}, {m_numbers, together});
            for (size_t k = 0; k < together; ++k) {
                if (!m_maker.Has(columns, k, i + k)) continue;
                if (items) *items++ = uint32_t(i + k);
                WriteOne(columns, k, i + k, toWorld, *records++);
            }
            i += together;
        }
    }

private:
    template <class Record>
    void WriteOne(const TItemColumns& c, size_t k, size_t item, const Matrix3* toWorld,
                  Record& out) {
        std::memset(static_cast<void*>(&out), 0, sizeof out);
        const ItemMarks& marks = c.marks[k];
        const Row& row = m_maker.RowOf(c.specimenIndex[k]);
        const Source* source = SourceOf(row, marks.elementIndex);
        if (!source || m_maker.IsMeshed(item)) return;
        m_place.centerPercent = c.centerPercent ? c.centerPercent[k] : source->centerPercent;
        out.transform = source->toUnit * TransformOf(c, k);
        if (toWorld) out.transform = out.transform * *toWorld;
        out.node = source->node;
        out.material = source->material;
        out.seed = c.seed[k];
        out.tint = c.tint[k].tintColor;
        out.tintBlend = c.tint[k].tintBlend;
        if constexpr (std::is_same_v<Record, TDravinInstanceV512>) {
            out.animationTime = row.specimen->FrameFirst(c.looks ? c.looks[k].animationOffset : 0);
            out.randoms[0] = m_numbers[k].x;
            out.randoms[1] = m_numbers[k].y;
            out.randoms[2] = m_numbers[k].z;
            if (marks.Is(ItemMarks::kPartial)) out.elementMask = MaskOf(c, k);
        }
    }
    // Of the place alone: what else an item has takes no part in it.
    Matrix3 TransformOf(const TItemColumns& c, size_t k) {
        m_place.position = c.position[k];
        m_place.transform.row[0] = c.frame[k].x;
        m_place.transform.row[1] = c.frame[k].y;
        m_place.transform.row[2] = c.frame[k].z;
        m_place.width = c.width[k];
        m_place.depth = c.depth[k];
        m_place.height = c.height[k];
        m_place.mirrored = c.marks[k].Is(ItemMarks::kMirrored);
        return ItemTransform(m_place, m_maker.m_scaleOnSlope);
    }
    static const TBitArray* MaskOf(const TItemColumns& c, size_t k) {
        auto mask = c.masks->find(c.first + k);
        return mask == c.masks->end() || mask->second.IsEmpty() ? nullptr : &mask->second;
    }

    const TRecordMaker& m_maker;
    TItemNumbers m_draws;
    Point3 m_numbers[kBatch];
    ItemPlace m_place;
};

template <class Record>
void TRecordMaker::Write(Record* records, uint32_t* items, const Matrix3* toWorld) const {
    if (m_count == 0) return;
    ForEachRange([&](size_t range, size_t first, size_t last) {
        size_t record = m_firstRecord[range];
        Piece(*this).Write(first, last, records + record, items ? items + record : nullptr,
                           toWorld);
    });
}

template void TRecordMaker::Write(TDravinInstanceV1*, uint32_t*, const Matrix3*) const;
template void TRecordMaker::Write(TDravinInstanceV512*, uint32_t*, const Matrix3*) const;

std::shared_ptr<const TDravinMeshSample> SampleOfItem(const TDravinBuild& build,
                                                      const TDravinItem& item) {
    static const auto empty = std::make_shared<const TDravinMeshSample>();
    const TSpecBuildList& specimens = build.Specimens();
    const TSpecBuildNode* node = specimens.NodeOf(item);
    if (!node) return empty;
    // The first frame's stands there already.
    if (item.animationOffset <= 0 || !node->source) return node->sample;
    const TSpecBuild& row = specimens.Row(SpecimenRow(item.specimenIndex, specimens.NumRows()));
    return DravinGlobals().meshes.Get(node->source.get(), row.FrameFirst(item.animationOffset),
                                      build.Time());
}

TDravinRenderData RenderDataOf(const TDravinBuild& build, const TDravinItem& item, int32_t face) {
    TDravinRenderData data;
    data.random = std::bit_cast<uint32_t>(item.random3);
    std::shared_ptr<const TDravinMeshSample> sample = SampleOfItem(build, item);
    if (!sample->Source() || face < 0 || size_t(face) >= sample->Source()->NumFaces()) return data;
    data.element = sample->Elements().elementOfFace[size_t(face)];
    data.combined = CombinedRenderId(data.random, data.element);
    data.visible = item.IsElementVisible(int32_t(data.element));
    return data;
}
