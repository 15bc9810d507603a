// Flat regions that areas are made of: a closed polygon, or a band along a line.
//
// A polygon's inside is even-odd: a point is inside when the ray towards +x crosses its edges an
// odd number of times. An edge counts when its y range, closed below and open above, holds the
// point's y, and its crossing lies strictly to the right; so a row through a corner counts it once.
// A band is the union of one rectangle a segment, each tested the same way.
//
// Three indices answer at once, each as a loop over all edges would: a grid of cells tells where no
// border is near, bands of rows tell which edges a row may cross, a tree finds the nearest edge.
//
// Points and distances are in the plane of the distribution. Regions never change once made and
// are shared by threads.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "Dravin/engine/areas/flat_segment.h"
#include "Dravin/engine/areas/region_cells.h"
#include "Dravin/engine/areas/row_bands.h"
#include "Dravin/engine/areas/segment_tree.h"

class TPolyArea {
public:
    // A closed polygon; its last corner runs back to its first. All corners pass IsFlatPlace.
    static TPolyArea Polygon(std::span<const Point2> corners);
    // Rectangles of half-width `halfWidth` along the segments of a line; those without length, or
    // with corners that are no flat place, are left out.
    static TPolyArea Band(std::span<const Point2> points, bool closed, float halfWidth);

    bool Inside(Point2 p) const {
        TRegionCells::State state = m_cells.At(p);
        return state == TRegionCells::kTouched ? InsideByEdges(p) : state == TRegionCells::kInside;
    }

    struct TBorder {
        float distance;  // at least 0
        Point2 nearest;
    };
    // Nearest point of the border, from either side of it. In a band, ends of rectangles inside
    // the line are no border. cursor, where given, serves this area only and is kept from one point
    // to the next by a caller whose points are neighbours.
    TBorder NearestBorder(Point2 p, TSegmentCursor* cursor = nullptr) const;
    // False: the border is farther from p than `distance`.
    bool BorderMayBeWithin(Point2 p, float distance) const;

    // Appends the places where a row enters or leaves the region, in ascending order: (x, y) is
    // inside exactly when an odd number of them is greater than x.
    void AppendRowCrossings(float y, std::vector<float>& crossings) const;

    bool IsEmpty() const { return m_edges.empty(); }
    // Box of the region.
    const Box2& Bounds() const { return m_bounds; }
    // Enclosed surface of a polygon; sum of a band's rectangles.
    double Measure() const { return m_measure; }

private:
    // One piece of a band; u runs along the segment.
    struct Piece {
        Point2 start, along;
        float length;
        bool startsLine, endsLine;  // its end edge is a border of the band
    };

    void Index();
    bool InsideByEdges(Point2 p) const;
    bool InPiece(size_t piece, Point2 p) const;
    bool PieceRow(size_t piece, float y, float* enters, float* leaves) const;
    TBorder BorderOfPiece(const Piece& piece, Point2 p) const;
    TBorder NearestEdge(Point2 p, TSegmentCursor* cursor) const;

    std::vector<TFlatSegment> m_edges;  // of a band: four a piece
    std::vector<Piece> m_pieces;        // none: a polygon
    TRowBands m_rows;                   // of the edges, or of the pieces
    TRegionCells m_cells;
    TSegmentTree m_tree;  // of the edges
    float m_halfWidth = 0;
    Box2 m_bounds;
    double m_measure = 0;
};
