// Pieces of a USD layer as text: names, strings, and arrays made by several threads.
//
// Grammar: the text form of USD layers, version 1.0.
#pragma once

#include <functional>
#include <initializer_list>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/atomic_file.h"
#include "host/base/thread_pool.h"
#include "host/io/text_buffer.h"
#include "host/math/color.h"
#include "host/math/matrix3.h"

// Names of the prims below one parent: valid identifiers (letters, digits and _, no digit first),
// which differ.
class UsdNames {
public:
    // The wanted name, with _ for what no identifier may hold and a number where it is taken.
    std::string Unique(std::string_view wanted);

private:
    std::set<std::string, std::less<>> m_taken;
};

// Metadata that shows a prim under the name its user gave it; empty where its identifier is that
// name already.
std::string UsdDisplayName(const std::string& identifier, const std::string& name);

// A string in quotes, on one line.
std::string UsdQuoted(std::string_view text);
// A file path as an asset.
std::string UsdAsset(std::string_view path);
// "(1, 2, 3)"
std::string UsdTuple(std::initializer_list<float> values);
inline std::string UsdTuple(const Point3& p) { return UsdTuple({p.x, p.y, p.z}); }
inline std::string UsdTuple(const Color& c) { return UsdTuple({c.r, c.g, c.b}); }
std::string UsdMatrix(const Matrix3& m);

// An element of an array, with the separator that stands before it.
void AppendUsdElement(TextBuffer& text, int32_t value);
void AppendUsdElement(TextBuffer& text, std::initializer_list<float> tuple);
inline void AppendUsdElement(TextBuffer& text, const Point3& p) {
    AppendUsdElement(text, {p.x, p.y, p.z});
}

// Arrays of any length: text is made by several threads in pieces, which are appended in order, so
// that the file is the same for any number of threads.
class UsdArrays {
public:
    // goOn: hears how many rows were worked on, in the calling thread; false stops everything.
    UsdArrays(AtomicFile& out, int threads, std::function<bool(uint64_t rows)> goOn);

    bool IsStopped() const { return m_isStopped; }
    int NumSlots() const { return int(m_texts.size()); }

    // Runs body(slot, first, last) for pieces of [0, count), at most one a slot at a time, and
    // afterwards use(slot) for them in order.
    template <class Body, class Use>
    void ForPieces(size_t count, const Body& body, const Use& use) {
        for (size_t start = 0; start < count && !m_isStopped && !m_out.HasFailed();) {
            size_t pieces = std::min(m_texts.size(), (count - start + kPiece - 1) / kPiece);
            ParallelFor(pieces, NumSlots(), [&](size_t slot) {
                size_t first = start + slot * kPiece;
                body(slot, first, std::min(first + kPiece, count));
            });
            for (size_t slot = 0; slot < pieces; ++slot) use(slot);
            size_t end = std::min(start + pieces * kPiece, count);
            m_isStopped = !m_goOn(end - start);
            start = end;
        }
    }

    // Writes "    head = [", the elements that fill(first, last, text) appends for pieces of
    // [0, count), and "]tail".
    template <class Fill>
    void Write(std::string_view head, size_t count, const Fill& fill,
               std::string_view tail = "\n") {
        m_out.Write("    ");
        m_out.Write(head);
        m_out.Write(" = [");
        bool isFirst = true;
        ForPieces(
            count,
            [&](size_t slot, size_t first, size_t last) {
                m_texts[slot].Clear();
                fill(first, last, m_texts[slot]);
            },
            [&](size_t slot) { WritePiece(m_texts[slot].Text(), &isFirst); });
        m_out.Write("]");
        m_out.Write(tail);
    }

private:
    static constexpr size_t kPiece = 1 << 13;

    void WritePiece(std::string_view text, bool* isFirst);

    AtomicFile& m_out;
    std::vector<TextBuffer> m_texts;
    std::function<bool(uint64_t)> m_goOn;
    bool m_isStopped = false;
};
