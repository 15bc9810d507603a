// What a source of items gives: complete cells, a batch at a time, in pieces that follow from the
// input alone.
//
// A source is a grid over an area, a surface in its own mapping, a list of points, or items edited
// by hand. It cuts its work into pieces; a piece is read by one thread, pieces by several. What
// truly differs between sources is how a lane is placed, and how it comes to stand on a surface;
// the rest of the build (produce_items.h) is the same for all.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <span>

#include "Dravin/engine/build_input.h"
#include "Dravin/engine/geometry_choice.h"
#include "Dravin/engine/grid.h"
#include "Dravin/engine/item_lanes.h"
#include "Dravin/engine/lane_draws.h"
#include "Dravin/engine/surface_uv.h"
#include "Dravin/engine/surfaces.h"

// Up to kCellsInBatch cells. Columns that a source does not speak of hold what is said here.
struct TCells {
    template <class T>
    using Column = std::array<T, kCellsInBatch>;

    size_t count = 0;
    Column<Point3> point;        // in the source's frame
    Column<uint32_t> hash[4]{};  // of a map's cell, from which seeds follow; else zero
    Column<Point3> mapCoordinates;
    Column<AColor> mapColor;
    Column<int32_t> sourceIndex{};
    Column<uint32_t> ordinal{};  // added to the seed of a cell's first element
    Column<uint32_t> seed{};     // of hand-edited items, which keep theirs
    Column<int32_t> keptRow{};   // of hand-edited items: what the list says, whatever is shown
    Column<int32_t> row{};       // of the geometry list; -1: to be chosen
    Column<MapPoint> choice;     // where maps and clusters that choose geometry are asked
    Column<Point3> levelPlace;   // where levels of detail are chosen, object space
    Column<TItemHit> hit;        // under the cell, where hasHit
    Column<uint8_t> hasHit{};
    Column<ItemSource> from;  // where the source has such data
    Column<Point3> scale;     // of points, on top of the item's own
};

// What holds for all cells of a source.
struct TCellRules {
    const TAreaGeometry* rows = nullptr;  // null: by probability alone
    const TAreaTest* areas = nullptr;     // null: no areas
    const TGrid* grid = nullptr;          // where the areas stand in a turned frame
    TItemArea area;
    int32_t surfaceNumber = 0;   // of the list; where a source lies on one surface
    uint32_t laterOrdinal = 0;   // as `ordinal`, for every draw but the first of a cell
    bool hashed = false;         // seeds follow from the hash
    bool obeysSurfaces = false;  // altitude and slope rules act where a lane stands on a surface
    bool keepsDropped = false;   // items that a rule drops stay in the list, discarded
    bool ownElements = false;    // the reader chooses elements
    bool spreads = false;        // elements may stand at several places
    bool limited = true;         // by the number of items of a render
    bool hasSources = false;     // cells have data of their own to keep (`from`)
};

// One element of a cell on its way to a lane.
struct TLaneOrigin {
    uint32_t cell = 0;
    int32_t row = 0;
    int16_t element = 0;
    bool isFirst = true;  // drawn with the cell itself
    TLaneFate fate = TLaneFate::kAlive;
    uint32_t hit = 0;  // of the reader's own list, where one element stands at several hits
    const TItemOverrides* overrides = nullptr;
    const TItemDelta* delta = nullptr;  // of the element, or of the one in whose place it stands
    std::optional<uint32_t> seed;       // of an element in another's place; none: its own
};

// Reads one piece. Serves one thread.
class ICellReader {
public:
    virtual ~ICellReader() = default;
    // Fills the next cells; false, and no cell, behind the last. Cells that the map drops are
    // counted.
    virtual bool Next(TCells& cells, TRejections& rejected) = 0;
    // The element of cell i that shows a row, where the rules say that the reader chooses.
    // onScreen: gets the size that a level of detail was chosen by.
    virtual int ElementOf(const TCells& cells, size_t i, const TSpecimen& specimen, float random4,
                          std::optional<TLodSpan>* onScreen) const {
        return 0;
    }
    // Where the rules say so: elements that stand at several places become several lanes, or none
    // that lives. draws: of the origins.
    virtual void Spread(const TCells& cells, const TLaneDraws& draws,
                        std::vector<TLaneOrigin>& origins) {}
    // Fills place, stored place, normal, reference, external scale of all lanes, and drops those
    // that may not be there.
    virtual void Place(const TCells& cells, std::span<const TLaneOrigin> origins,
                       TItemLanes& lanes) = 0;
    // Puts the lanes on the surfaces after they have moved.
    virtual void Land(const TCells& cells, TItemLanes& lanes) = 0;
};

class IItemSource {
public:
    virtual ~IItemSource() = default;
    virtual const TCellRules& Rules() const = 0;
    // What readers tell the build's progress over all pieces.
    virtual int64_t NumUnits() const = 0;
    virtual size_t NumPieces() const = 0;
    virtual std::unique_ptr<ICellReader> Read(size_t piece) const = 0;
};

// The sources of a build, in the order of their items.
using TItemSources = std::vector<std::unique_ptr<IItemSource>>;
