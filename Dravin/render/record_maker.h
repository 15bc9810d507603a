// Instance records of the items of a finished build, for the object's generators and for the
// scatter proxies of a whole scene.
//
// A record belongs to an item that is not discarded. It names a node where the item shows a custom
// object, or a template where those are wanted as nodes too, that does not stand in the object's
// mesh; otherwise all of it is zero. Records are written by all threads, each a range of items of
// its own.
#pragma once

#include <vector>

#include "Dravin/build/dravin_build.h"
#include "Dravin/render/instance_records.h"

enum class TRecordsOf {
    kAllItems,    // a record each, without a node where there is none
    kShownItems,  // only items that are shown through a node
};

// Whose nodes records name.
enum class TNodesOf { kCustomObjects, kTemplatesToo };

class TRecordMaker {
public:
    // The build must stay as it is. which: of the items that are not discarded.
    TRecordMaker(const TDravin& object, const TDravinBuild& build, TRecordsOf which,
                 TNodesOf nodes = TNodesOf::kCustomObjects);
    TRecordMaker(TRecordMaker&&) = default;  // rows point to sources, which stay where they are

    // Records that there will be. Zero where the object is rendered as meshes.
    size_t Count() const { return m_count; }

    // Writes Count() records, and the list's number of each one's item where `items` is given.
    // toWorld: follows each transform; null: transforms stay relative to the object.
    template <class Record>
    void Write(Record* records, uint32_t* items, const Matrix3* toWorld) const;

private:
    // What a source of the geometry list puts into records. Without a node: nothing.
    struct Source {
        INode* node = nullptr;
        Mtl* material = nullptr;
        Matrix3 toUnit;
        int32_t centerPercent = 50;  // of its items, where their list does not store it
    };
    struct Row {
        const Source* sources = nullptr;
        size_t numSources = 0;
        const TSpecBuild* specimen = nullptr;
    };
    template <class Record>
    class Piece;

    void ReadRows(TNodesOf nodes);
    bool Has(const TItemColumns& columns, size_t k, size_t item) const;
    const Row& RowOf(int32_t specimenIndex) const;
    // The one that an item shows; null where that has no node.
    static const Source* SourceOf(const Row& row, int16_t element);
    bool IsMeshed(size_t item) const { return m_ranges && m_ranges[item].IsMeshed(); }
    template <class Visit>
    void ForEachRange(const Visit& visit) const;

    const TDravinBuild& m_build;
    TRecordsOf m_which;
    bool m_scaleOnSlope = false;
    size_t m_count = 0;
    const TItemRange* m_ranges = nullptr;  // of items in the object's mesh; null without a mesh
    std::vector<Source> m_sources;
    std::vector<Row> m_rows;
    std::vector<size_t> m_firstRecord;  // of each range of items
};

// The node's object as an item of the build shows it; the default sample where it shows nothing.
std::shared_ptr<const TDravinMeshSample> SampleOfItem(const TDravinBuild& build,
                                                      const TDravinItem& item);

// What is told of a face of an item: of the mesh of the item's element at its animation offset.
TDravinRenderData RenderDataOf(const TDravinBuild& build, const TDravinItem& item, int32_t face);
