// STL: separate triangles, as text or as little-endian binary records of 50 bytes.
//
// The length tells the two apart: a binary file of n triangles has exactly 84 + 50 n bytes (files
// with a longer tail count as binary when they do not begin like text). Corners are welded.

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

void AppendObject(ImportedModel* model, const std::string& name, Mesh&& mesh) {
    if (mesh.faces.empty()) return;
    WeldVertices(mesh);
    model->objects.push_back({name, std::make_shared<Mesh>(std::move(mesh)), nullptr, {}});
}

// A face over the last three vertices.
void AppendFace(Mesh& mesh) {
    auto n = uint32_t(mesh.verts.size());
    mesh.faces.push_back({{n - 3, n - 2, n - 1}});
}

bool ReadBinary(const std::string& path, std::string_view bytes, ImportedModel* model,
                std::string* error) {
    size_t count = LoadWord(bytes.data() + 80);
    if (count > kMaxImportedFaces)
        return *error = fmt::format("{}: {} triangles, at most {} are read", path, count,
                                    kMaxImportedFaces),
               false;
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
                return *error = fmt::format("{}: triangle {}: a coordinate is not a finite number",
                                            path, f),
                       false;
            mesh.verts.push_back(p);
        }
        AppendFace(mesh);
    }
    AppendObject(model, "", std::move(mesh));
    return true;
}

bool ReadText(const std::string& path, std::string_view bytes, ImportedModel* model,
              std::string* error) {
    TextScanner text(bytes);
    Mesh mesh;
    std::string name;
    size_t numCorners = 0;  // of the facet in hand
    auto fail = [&](const char* what) {
        return *error = fmt::format("{}:{}: {}", path, text.Line(), what), false;
    };
    while (text.NextLine()) {
        std::string_view keyword = text.Word();
        bool isWhole = mesh.verts.size() == 3 * mesh.faces.size();
        if (!isWhole && (keyword == "solid" || keyword == "facet"))
            return fail("a facet of fewer than three vertices");
        if (keyword == "solid") {
            numCorners = 0;
            AppendObject(model, name, std::move(mesh));
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
            if (mesh.faces.size() > kMaxImportedFaces) return fail("too many triangles");
        } else if (keyword == "endfacet" && numCorners != 3) {
            return fail("a facet of fewer than three vertices");
        }
    }
    if (mesh.verts.size() != 3 * mesh.faces.size()) return fail("the file ends within a facet");
    AppendObject(model, name, std::move(mesh));
    return true;
}

}  // namespace

bool ReadStl(const std::string& path, std::string_view bytes, ImportedModel* model,
             std::string* error) {
    if (IsBinary(bytes)) return ReadBinary(path, bytes, model, error);
    if (IsText(bytes)) return ReadText(path, bytes, model, error);
    *error = fmt::format("{}: not an STL file: {} bytes are no whole number of triangles", path,
                         bytes.size());
    return false;
}
