// A terrain as an image: heights over a regular grid, and the triangles that they stand for.
//
// Samples lie over [-size.x / 2, size.x / 2] x [-size.y / 2, size.y / 2], row by row from the
// lowest y; one that is not a finite number is a hole. Every cell between four samples is cut from
// its corner of lowest x and y to the opposite one; a triangle exists where its three corners do:
//
//      d ------- c
//      | upper / |      lower: a, b, c
//      |    /    |      upper: c, d, a
//      | / lower |
//      a ------- b
//
// Faces are numbered cell by cell, row by row, the lower triangle first; missing ones are passed
// over. MakeMesh gives the mesh of exactly these faces: everything said here of vertices, faces and
// outlines is true of it to the bit. Mapping channel 1 covers [0, 1] x [0, 1].
//
// Memory: 4 bytes a sample and four hundredths of that for the pyramid of bounds; fields with holes
// take another four hundredths. Immutable after construction; threads share it.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "host/base/huge_buffer.h"
#include "host/geom/mesh.h"
#include "host/geom/poly_line.h"

struct HeightTriangle {
    uint32_t column = 0, row = 0;  // of the cell
    bool upper = false;

    friend bool operator==(const HeightTriangle&, const HeightTriangle&) = default;
};

class HeightField {
public:
    // Face numbers are 32-bit integers everywhere.
    static constexpr uint64_t kMaxFaces = std::numeric_limits<int32_t>::max();

    // heights: columns * rows floats, in units of the object. columns and rows are at least 2 and
    // make no more than kMaxFaces faces; the size is above 0. threads: used for the construction
    // only; the field does not depend on it.
    HeightField(size_t columns, size_t rows, Point2 size, HugeBuffer heights, int threads = 1);
    // The same from a copy.
    HeightField(size_t columns, size_t rows, Point2 size, std::span<const float> heights);

    size_t NumColumns() const { return m_columns; }  // of samples
    size_t NumRows() const { return m_rows; }
    Point2 Size() const { return m_size; }
    float X(size_t column) const { return m_x.at[column]; }
    float Y(size_t row) const { return m_y.at[row]; }
    float U(size_t column) const { return m_u.at[column]; }
    float V(size_t row) const { return m_v.at[row]; }
    // NaN in a hole.
    float Height(size_t column, size_t row) const { return m_heights[row * m_columns + column]; }
    bool HasHoles() const { return !m_faceStart.empty(); }

    size_t NumFaces() const { return m_numFaces; }
    bool Exists(const HeightTriangle& t) const;
    // Number of an existing triangle, and the triangle of a number below NumFaces.
    size_t FaceNumber(const HeightTriangle& t) const;
    HeightTriangle TriangleOf(size_t face) const;
    // Corners in the order of the face.
    std::array<Point3, 3> Corners(const HeightTriangle& t) const {
        return CornersOf(t, [this](size_t i, size_t j) {
            return Point3{X(i), Y(j), Height(i, j)};
        });
    }
    std::array<Point3, 3> MappingCorners(const HeightTriangle& t) const {
        return CornersOf(t, [this](size_t i, size_t j) { return Point3{U(i), V(j), 0}; });
    }

    // The cell under (x, y), or under mapping coordinates: its lower borders belong to it, its
    // upper ones do not. False outside the grid.
    bool CellAt(float x, float y, HeightTriangle* cell) const {
        return m_x.Find(x, &cell->column) && m_y.Find(y, &cell->row);
    }
    bool CellAtMapping(float u, float v, HeightTriangle* cell) const {
        return m_u.Find(u, &cell->column) && m_v.Find(v, &cell->row);
    }

    // Box of all corners of faces; empty without faces.
    const Box3& Bounds() const { return m_bounds; }
    // The same of their mapping coordinates.
    const Box2& MappingBounds() const { return m_mappingBounds; }
    // Box of all corners moved by m.
    Box3 BoundsMoved(const Matrix3& m) const;
    // Unit normals at the corners of an existing triangle: means over the faces there, weighted by
    // their angles, as VertexNormals (mesh_tools.h) makes them; good to 1e-4.
    std::array<Point3, 3> CornerNormals(const HeightTriangle& t) const;
    // The borders of the surface, as BorderOutline (mesh_adjacency.h) gives them.
    PolyShape Outline() const;

    // The mesh that the field stands for. BytesOfMesh tells what it will take.
    Mesh MakeMesh() const;
    uint64_t BytesOfMesh() const;

    // Lowest and highest sample in blocks of cells: level 0 has blocks of kBlockCells a side, each
    // further one twice as many, the last a single block. A block of holes has low above high.
    static constexpr int kBlockBits = 3;
    struct Range {
        float low, high;
    };
    size_t NumLevels() const { return m_levels.size(); }
    Range BlockRange(size_t level, size_t column, size_t row) const {
        return m_levels[level].ranges[row * m_levels[level].columns + column];
    }

    size_t BytesHeld() const;
    // What a field of this size takes with its bounds, holes included.
    static uint64_t BytesFor(uint64_t columns, uint64_t rows) {
        return columns * rows * sizeof(float) / 100 * 109;
    }

private:
    // Coordinates of the samples along one axis, ascending.
    struct Axis {
        std::vector<float> at;
        float perUnit = 0;

        // The interval [at[i], at[i + 1]) that holds x; false outside all.
        bool Find(float x, uint32_t* i) const {
            if (!(x >= at.front() && x < at.back())) return false;
            auto last = uint32_t(at.size() - 2);
            uint32_t guess = std::min(uint32_t((x - at.front()) * perUnit), last);
            while (x < at[guess]) --guess;
            while (x >= at[guess + 1]) ++guess;
            *i = guess;
            return true;
        }
    };
    struct Level {
        size_t columns, rows;
        std::vector<Range> ranges;
    };
    // Cells of one row, 64 to the word: where their triangles exist.
    struct CellBits {
        uint64_t lower, upper;
    };

    template <class Corner>
    static std::array<Point3, 3> CornersOf(const HeightTriangle& t, const Corner& corner) {
        size_t i = t.column, j = t.row;
        if (t.upper) return {corner(i + 1, j + 1), corner(i, j + 1), corner(i, j)};
        return {corner(i, j), corner(i + 1, j), corner(i + 1, j + 1)};
    }
    static Axis MakeAxis(size_t count, float size, float shift);
    void FindHoles(int threads);
    void NumberFaces(int threads);
    void MakeLevels(int threads);
    void MakeBounds();
    size_t NumWords() const { return (m_columns + 63) / 64; }
    CellBits BitsOf(size_t row, size_t word) const;
    // Samples of a row that some face uses.
    uint64_t UsedSamples(size_t row, size_t word) const;
    template <class Visit>
    void ForEachUsedSample(const Visit& visit) const;

    size_t m_columns, m_rows;
    Point2 m_size;
    Axis m_x, m_y, m_u, m_v;
    HugeBuffer m_memory;
    std::span<float> m_heights;
    std::vector<Level> m_levels;
    size_t m_numFaces = 0;
    // Of fields with holes: which samples exist, NumWords() words a row and one more at the end,
    // and the number of the first face in each word of cells.
    std::vector<uint64_t> m_present;
    std::vector<uint32_t> m_faceStart;
    Box3 m_bounds;
    Box2 m_mappingBounds;
};
