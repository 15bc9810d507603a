#include "Dravin/render/record_maker.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Dravin/dravin.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/engine/build_input.h"
#include "Dravin/engine/item_numbers.h"
#include "Dravin/engine/item_transform.h"
#include "host/base/stream_copy.h"
#include "host/base/thread_pool.h"

namespace {

constexpr size_t kRange = 8192;  // items that a thread takes at a time
constexpr size_t kBatch = 256;   // items whose numbers are drawn together
constexpr size_t kStaged = 64;   // records that are made in the cache before they go to memory
// Records that are more than the caches hold go past them.
constexpr size_t kPastCaches = size_t{8} << 20;

// A point in one vector, for products of matrices: each row in one go, and in the same order of
// operations as the plain product, so of the same bits.
using Lanes = float __attribute__((vector_size(16)));
inline Lanes InLanes(const Point3& p) { return Lanes{p.x, p.y, p.z, 0}; }

inline void Multiply(const Matrix3& a, const Matrix3& b, Matrix3* product) {
    Lanes x = InLanes(b.row[0]), y = InLanes(b.row[1]), z = InLanes(b.row[2]);
    for (int i = 0; i < 4; ++i) {
        Lanes row = x * a.row[i].x + y * a.row[i].y + z * a.row[i].z;
        if (i == 3) row += InLanes(b.row[3]);
        product->row[i] = {row[0], row[1], row[2]};
    }
}

}  // namespace

// Called for each item: inline, which code for a shared library is only where it says so.
// Most numbers are within the rows, and a division costs as much as a matrix.
inline const TRecordMaker::Row& TRecordMaker::RowOf(int32_t specimenIndex) const {
    bool isWithin = specimenIndex >= 0 && size_t(specimenIndex) < m_rows.size();
    return m_rows[isWithin ? size_t(specimenIndex) : SpecimenRow(specimenIndex, m_rows.size())];
}

inline const TRecordMaker::Source* TRecordMaker::SourceOf(const Row& row, int16_t element) {
    if (row.numSources == 0) return nullptr;
    const Source* source =
        row.numSources == 1 ? row.sources : row.sources + uint16_t(element) % row.numSources;
    return source->node ? source : nullptr;
}

inline bool TRecordMaker::Has(const TItemColumns& columns, size_t k, size_t item) const {
    const ItemMarks& marks = columns.marks[k];
    if (marks.Is(ItemMarks::kDiscarded)) return false;
    if (m_which == TRecordsOf::kAllItems) return true;
    return SourceOf(RowOf(columns.specimenIndex[k]), marks.elementIndex) && !IsMeshed(item);
}

TRecordMaker::TRecordMaker(const TDravin& object, const TDravinBuild& build, TRecordsOf which,
                           TNodesOf nodes)
    : m_build(build), m_which(which) {
    bool asMeshes =
        object.Block(kDispParams).GetInt(dispParams::kRendermode, build.Time()) == kRenderMeshes;
    if (asMeshes || !build.Input() || build.Specimens().NumRows() == 0) return;
    m_scaleOnSlope = build.Input()->transforms.scaleOnSlope;
    if (build.ObjectMesh().IsBuilt()) m_ranges = build.ObjectMesh().Ranges().data();
    ReadRows(nodes);
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

void TRecordMaker::ReadRows(TNodesOf nodes) {
    const TSpecBuildList& specimens = m_build.Specimens();
    size_t numSources = 0;
    for (size_t r = 0; r < specimens.NumRows(); ++r) numSources += specimens.Row(r).nodes.size();
    m_sources.reserve(numSources);  // rows point into it
    for (size_t r = 0; r < specimens.NumRows(); ++r) {
        const TSpecBuild& row = specimens.Row(r);
        m_rows.push_back({m_sources.data() + m_sources.size(), row.nodes.size(), &row});
        for (const TSpecBuildNode& node : row.nodes) {
            Source source;
            bool isWanted = nodes == TNodesOf::kTemplatesToo || node.entry.kind == kGeomCustom;
            if (isWanted && node.source) {
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

// visit(number of the range, first item, behind its last), by all threads.
template <class Visit>
void TRecordMaker::ForEachRange(const Visit& visit) const {
    size_t count = m_build.Items().Count();  // also makes the list's index, before threads ask
    ParallelRanges(count, kRange, NumProcessors(),
                   [&](size_t first, size_t last) { visit(first / kRange, first, last); });
}

// The records of one range: one thread's work.
//
// They are made a few at a time in memory that stays in the cache. There everything that no record
// fills is zero from the beginning, and full pieces leave it in one go.
template <class Record>
class TRecordMaker::Piece {
public:
    // to: what is made goes there, one record behind the other.
    Piece(const TRecordMaker& maker, Record* to, uint32_t* items, const Matrix3* toWorld)
        : m_maker(maker),
          m_draws(maker.m_build.Input()->transforms),
          m_to(to),
          m_items(items),
          m_toWorld(toWorld),
          m_isPastCaches(maker.m_count * sizeof(Record) > kPastCaches) {
        std::memset(static_cast<void*>(m_staged), 0, sizeof m_staged);
    }

    void Write(size_t first, size_t last) {
        for (size_t i = first; i < last;) {
            size_t together;
            TItemColumns columns = m_maker.m_build.Items().ColumnsAt(i, &together);
            together = std::min({together, last - i, kBatch});
            if constexpr (kHasNumbers)
                m_draws.Draw({columns.seed, together}, {m_numbers, together});
            for (size_t k = 0; k < together; ++k) {
                if (!m_maker.Has(columns, k, i + k)) continue;
                if (m_items) *m_items++ = uint32_t(i + k);
                WriteOne(columns, k, i + k, m_staged[m_numStaged]);
                if (++m_numStaged == kStaged) Flush();
            }
            i += together;
        }
        Flush();
    }

private:
    static constexpr bool kHasNumbers = std::is_same_v<Record, TDravinInstanceV512>;

    void Flush() {
        size_t bytes = m_numStaged * sizeof(Record);
        if (m_isPastCaches)
            StreamCopy(m_to, m_staged, bytes);
        else
            std::memcpy(static_cast<void*>(m_to), m_staged, bytes);
        m_to += m_numStaged;
        m_numStaged = 0;
    }

    // out: holds a record before it, or zeros.
    void WriteOne(const TItemColumns& c, size_t k, size_t item, Record& out) {
        const ItemMarks& marks = c.marks[k];
        const Row& row = m_maker.RowOf(c.specimenIndex[k]);
        const Source* source = SourceOf(row, marks.elementIndex);
        if (!source || m_maker.IsMeshed(item)) {
            std::memset(static_cast<void*>(&out), 0, sizeof out);
            return;
        }
        Multiply(source->toUnit, TransformOf(c, k, *source), &out.transform);
        if (m_toWorld) out.transform = out.transform * *m_toWorld;
        out.node = source->node;
        out.material = source->material;
        out.seed = c.seed[k];
        out.tint = c.tint[k].tintColor;
        out.tintBlend = c.tint[k].tintBlend;
        if constexpr (kHasNumbers) {
            out.animationTime = row.specimen->FrameFirst(c.looks ? c.looks[k].animationOffset : 0);
            out.randoms[0] = m_numbers[k].x;
            out.randoms[1] = m_numbers[k].y;
            out.randoms[2] = m_numbers[k].z;
            out.elementMask = marks.Is(ItemMarks::kPartial) ? MaskOf(c, k) : nullptr;
        }
    }
    Matrix3 TransformOf(const TItemColumns& c, size_t k, const Source& source) const {
        const ItemFrame& frame = c.frame[k];
        int32_t center = c.centerPercent ? c.centerPercent[k] : source.centerPercent;
        return TransformOfParts({c.position[k], frame.x, frame.y, frame.z, c.width[k], c.depth[k],
                                 c.height[k], c.marks[k].Is(ItemMarks::kMirrored), center},
                                m_maker.m_scaleOnSlope);
    }
    static const TBitArray* MaskOf(const TItemColumns& c, size_t k) {
        auto mask = c.masks->find(c.first + k);
        return mask == c.masks->end() || mask->second.IsEmpty() ? nullptr : &mask->second;
    }

    const TRecordMaker& m_maker;
    TItemNumbers m_draws;
    Record* m_to;
    uint32_t* m_items;
    const Matrix3* m_toWorld;
    bool m_isPastCaches;
    size_t m_numStaged = 0;
    alignas(64) Record m_staged[kStaged];
    Point3 m_numbers[kBatch];
};

template <class Record>
void TRecordMaker::Write(Record* records, uint32_t* items, const Matrix3* toWorld) const {
    if (m_count == 0) return;
    ForEachRange([&](size_t range, size_t first, size_t last) {
        size_t record = m_firstRecord[range];
        Piece<Record>(*this, records + record, items ? items + record : nullptr, toWorld)
            .Write(first, last);
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
