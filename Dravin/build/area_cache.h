// Outlines and footprints of an object's areas, kept from build to build.
//
// Interpolating splines, walking the borders of meshes and drawing distance maps cost far more than
// comparing what they were made from. So every piece of geometry stands beside a copy of its
// sources: curves by value, meshes by pointer (they never change), places as matrices. It is used
// again exactly when they are equal, whatever happened in between; a change that nobody announced
// is found, too. Used on the building thread.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "Dravin/build/footprint_input.h"
#include "Dravin/engine/areas/footprint_area.h"
#include "host/geom/bezier_shape.h"
#include "host/geom/poly_line.h"

// Everything that one piece of geometry follows from; what it has no use for keeps its default.
struct TAreaSource {
    BezierShape curves;
    // Meshes and surface arrays; held, so that no other takes their address.
    std::vector<std::pair<std::shared_ptr<const void>, Matrix3>> placed;
    Matrix3 place;  // from the source's space to the object's
    std::optional<TFootprintRequest> footprint;
    int resolution = 0;
    bool depth = false;
    uint64_t build = 0;  // number of another object's build, whose items cover the ground

    friend bool operator==(const TAreaSource&, const TAreaSource&) = default;
};

struct TAreaOutline {
    PolyShape shape;
    std::shared_ptr<const TFootprintArea> footprint;
};

class TAreaCache {
public:
    // Geometry of a row's part (the index of a surface, else 0): the one kept when it was made from
    // equal sources, else that of make(), which is kept in its place. Valid until the next call.
    template <class Make>
    const TAreaOutline& Get(int row, int part, TAreaSource source, const Make& make) {
        Entry& entry = m_entries[{row, part}];
        entry.used = true;
        if (entry.geometry && entry.source == source) return *entry.geometry;
        entry.geometry = make();
        entry.source = std::move(source);
        ++m_numMade;
        return *entry.geometry;
    }

    // Between these two a build asks; what it did not ask for is dropped.
    void BeginBuild() {
        for (auto& [key, entry] : m_entries) entry.used = false;
    }
    void EndBuild() {
        std::erase_if(m_entries, [](const auto& item) { return !item.second.used; });
    }
    void Clear() { m_entries.clear(); }

    // Pieces made so far, and those kept.
    size_t NumMade() const { return m_numMade; }
    size_t NumEntries() const { return m_entries.size(); }

private:
    struct Entry {
        TAreaSource source;
        std::optional<TAreaOutline> geometry;
        bool used = true;
    };
    std::map<std::pair<int, int>, Entry> m_entries;
    size_t m_numMade = 0;
};
