// STL: separate triangles, as text or as little-endian binary records of 50 bytes.
//
// The length tells the two apart: a binary file of n triangles has exactly 84 + 50 n bytes (files
// with a longer tail count as binary when they do not begin like text). Corners are welded.

#include <algorithm>
#include <bit>
#include <cstring>

#include <fmt/format.h>

#include "host/geom/mesh_tools.h"
#include "host/io/mesh_soup.h"
#include "host/io/model_readers.h"
#include "host/io/text_scanner.h"

namespace {

constexpr size_t kHeaderBytes = 84, kRecordBytes = 50;

uint32_t LoadWord(const char* p) {
    uint32_t word = 0;
    for (int k = 3; k >= 0; --k) word = word << 8 | uint8_t(p[k]);
    return word;
}

bool IsText(std::string_view bytes) {
    size_t first = bytes.find_first_not_of(" \t\r\n");
    return first != bytes.npos && bytes.substr(first, 5) == "solid";
}

bool IsBinary(std::string_view bytes) {
    if (bytes.size() < kHeaderBytes) return false;
    uint64_t expected = kHeaderBytes + kRecordBytes * uint64_t{LoadWord(bytes.data() + 80)};
    return bytes.size() == expected || (bytes.size() > expected && !IsText(bytes));
}

void AppendObject(ImportedModel& model, const std::string& name, Mesh&& mesh) {
    if (mesh.faces.empty()) return;
    WeldVertices(mesh);
    model.objects.push_back(
        {name, std::make_shared<Mesh>(std::move(mesh)), nullptr, {}, {1, 1, 1}});
}

// A face over the last three vertices.
void AppendFace(Mesh& mesh) {
    auto n = uint32_t(mesh.verts.size());
    mesh.faces.push_back({{n - 3, n - 2, n - 1}});
}

bool ReadBinary(std::string_view bytes, ModelFiles& files, ImportError* error) {
    // The length counts, not the header, which may have changed since it was looked at.
    size_t count =
        std::min<size_t>(LoadWord(bytes.data() + 80), (bytes.size() - kHeaderBytes) / kRecordBytes);
    if (count > kMaxImportedFaces)
        return FailImport(error, fmt::format("{}: {}", files.Path(), TooManyImportedFaces()),
                          ImportFailure::kLimit);
    Mesh mesh;
    mesh.verts.reserve(3 * count);
    mesh.faces.reserve(count);
    for (size_t f = 0; f < count; ++f) {
        const char* record = bytes.data() + kHeaderBytes + f * kRecordBytes;
        for (size_t corner = 0; corner < 3; ++corner) {
            Point3 p;
            for (size_t k = 0; k < 3; ++k)
                p[int(k)] = std::bit_cast<float>(LoadWord(record + 12 + 12 * corner + 4 * k));
            if (!IsFinite(p))
                return FailImport(
                    error, fmt::format("{}: triangle {}: a coordinate is not a finite number",
                                       files.Path(), f));
            mesh.verts.push_back(p);
        }
        AppendFace(mesh);
    }
    AppendObject(files.Model(), "", std::move(mesh));
    return true;
}

bool ReadText(std::string_view bytes, ModelFiles& files, ImportError* error) {
    TextScanner text(bytes);
    Mesh mesh;
    std::string name;
    size_t numCorners = 0;  // of the facet in hand
    auto fail = [&](const std::string& what, ImportFailure kind = ImportFailure::kMalformed) {
        return FailImport(error, fmt::format("{}:{}: {}", files.Path(), text.Line(), what), kind);
    };
    while (text.NextLine()) {
        std::string_view keyword = text.Word();
        bool isWhole = mesh.verts.size() == 3 * mesh.faces.size();
        if (!isWhole && (keyword == "solid" || keyword == "facet"))
            return fail("a facet of fewer than three vertices");
        if (keyword == "solid") {
            numCorners = 0;
            AppendObject(files.Model(), name, std::move(mesh));
            mesh = {};
            name = text.Word();
        } else if (keyword == "facet") {
            numCorners = 0;
        } else if (keyword == "vertex") {
            Point3 p;
            for (int k = 0; k < 3; ++k)
                if (!text.Number(&p[k])) return fail("expected three numbers");
            if (!IsFinite(p)) return fail("a coordinate is not a finite number");
            mesh.verts.push_back(p);
            if (++numCorners > 3) return fail("a facet of more than three vertices");
            if (numCorners == 3) AppendFace(mesh);
            if (mesh.faces.size() > kMaxImportedFaces)
                return fail(TooManyImportedFaces(), ImportFailure::kLimit);
        } else if (keyword == "endfacet" && numCorners != 3) {
            return fail("a facet of fewer than three vertices");
        }
    }
    if (mesh.verts.size() != 3 * mesh.faces.size()) return fail("the file ends within a facet");
    AppendObject(files.Model(), name, std::move(mesh));
    return true;
}

}  // namespace

bool ReadStl(std::string_view bytes, ModelFiles& files, ImportError* error) {
    if (IsBinary(bytes)) return ReadBinary(bytes, files, error);
    if (IsText(bytes)) return ReadText(bytes, files, error);
    return FailImport(error,
                      fmt::format("{}: not an STL file: {} bytes are no whole number of triangles",
                                  files.Path(), bytes.size()));
}
