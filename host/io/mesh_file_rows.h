// What the writers of mesh files share: which vertices and faces are shown, and rows made by
// several threads.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "host/base/atomic_file.h"
#include "host/base/thread_pool.h"
#include "host/io/mesh_export.h"
#include "host/io/text_buffer.h"

// The part of a mesh that is shown.
struct ShownMesh {
    static constexpr uint32_t kLeftOut = ~uint32_t{0};

    const MeshFilePart* part = nullptr;
    std::vector<uint32_t> numbers;  // by vertex, from 0; empty: as they stand
    uint64_t numVerts = 0, numFaces = 0;
    bool isTurned = false;  // the faces are turned round on the way

    explicit ShownMesh(const MeshFilePart& shown);

    const Mesh& GetMesh() const { return *part->mesh; }
    bool ShowsFace(size_t f) const { return !(GetMesh().faces[f].flags & Face::kHidden); }
    bool ShowsVertex(size_t v) const { return numbers.empty() || numbers[v] != kLeftOut; }
    uint32_t Number(uint32_t v) const { return numbers.empty() ? v : numbers[v]; }
    // Corner k of a face or of its mapping, k from 0.
    uint32_t Corner(const Triple& v, size_t k) const { return v[isTurned && k < 2 ? 1 - k : k]; }
};

// What a format leaves out, a sentence each, without repeats.
void TellOfLeftOut(std::span<const MeshFilePart> parts, bool writesNormals,
                   std::vector<std::string>* warnings);

// Rows of a file, counted over all its parts for the progress.
class RowWriter {
public:
    RowWriter(AtomicFile& out, const MeshFileOptions& options, uint64_t rows)
        : m_out(out), m_options(options), m_rows(rows) {}

    // Appends row(i, text) for i in [0, count) in order; rows are made in any order and thread.
    template <class Row>
    void Write(size_t count, const Row& row) {
        size_t threads = size_t(std::max(m_options.threads, 1));
        std::vector<TextBuffer> texts(threads);
        for (size_t start = 0; start < count && !m_out.HasFailed() && !m_isCancelled;
             start += threads * kRowsPerPiece) {
            size_t pieces = std::min(threads, (count - start + kRowsPerPiece - 1) / kRowsPerPiece);
            ParallelFor(pieces, int(threads), [&](size_t piece) {
                size_t first = start + piece * kRowsPerPiece;
                texts[piece].Clear();
                for (size_t i = first; i < std::min(first + kRowsPerPiece, count); ++i)
                    row(i, texts[piece]);
            });
            for (size_t piece = 0; piece < pieces; ++piece) m_out.Write(texts[piece].Text());
            m_done += std::min(count - start, pieces * kRowsPerPiece);
            if (m_options.progress)
                m_isCancelled = !m_options.progress(float(m_done) / float(m_rows));
        }
    }

    // Nothing is appended any more: the file is not to be kept.
    bool IsCancelled() const { return m_isCancelled; }

private:
    static constexpr size_t kRowsPerPiece = 1 << 14;

    AtomicFile& m_out;
    const MeshFileOptions& m_options;
    uint64_t m_rows, m_done = 0;
    bool m_isCancelled = false;
};
