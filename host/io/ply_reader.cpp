// PLY: lists of elements described by a header, as text or as binary of either byte order.
//
// Vertices with x, y, z (and normals, texture coordinates, colours) and faces with a list of vertex
// indices (and of texture coordinates) are read; other elements and properties are skipped. An
// element's count is weighed against the bytes that are left before anything is reserved.

#include <algorithm>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/geom/polygon.h"
#include "host/io/mesh_soup.h"
#include "host/io/model_readers.h"
#include "host/io/ply_format.h"
#include "host/io/text_scanner.h"

namespace {

using namespace ply;

// One row of an element: scalars by property, lists end to end.
struct Row {
    std::vector<double> scalars;
    std::vector<std::vector<double>> lists;
};

std::string TrimLine(TextScanner& text) {
    text.AtLineEnd();
    std::string_view rest = text.Rest();
    size_t last = rest.find_last_not_of(" \t\r");
    return std::string(last == rest.npos ? "" : rest.substr(0, last + 1));
}

class PlyReader {
public:
    PlyReader(ModelFiles& files, std::string_view bytes)
        : m_files(files), m_path(files.Path()), m_bytes(bytes) {}

    bool Read(ImportError* error) {
        if (!ReadHeader() || !ReadBody()) return FailImport(error, m_error, m_failure);
        Finish(m_files.Model());
        return true;
    }

private:
    bool Fail(const std::string& what) {
        if (m_error.empty()) m_error = fmt::format("{}: {}", m_path, what);
        return false;
    }

    bool ReadHeader() {
        TextScanner text(m_bytes);
        if (!text.NextLine() || text.Word() != "ply") return Fail("not a PLY file");
        bool hasFormat = false;
        while (text.NextLine()) {
            std::string_view keyword = text.Word();
            std::string place = fmt::format("header line {}: ", text.Line());
            if (keyword == "end_header") {
                const char* body = text.Rest().data() + text.Rest().size();
                size_t offset = std::min(size_t(body - m_bytes.data()) + 1, m_bytes.size());
                m_bytes.remove_prefix(offset);
                return hasFormat || Fail("the header has no format line");
            }
            if (keyword == "comment" && text.Word() == "TextureFile")
                m_textures.emplace_back(TrimLine(text));
            if (keyword == "format") hasFormat = ReadFormat(text.Word());
            bool ok = keyword == "format"     ? hasFormat || Fail(place + "unknown format")
                      : keyword == "element"  ? ReadElement(text) || Fail(place + "bad element")
                      : keyword == "property" ? ReadProperty(text) || Fail(place + "bad property")
                                              : true;
            if (!ok) return false;
            if (text.Line() > kMaxHeaderLines) return Fail("the header does not end");
        }
        return Fail("the header does not end");
    }
    bool ReadFormat(std::string_view name) {
        if (name == "ascii")
            m_format = Format::kAscii;
        else if (name == "binary_little_endian")
            m_format = Format::kLittle;
        else if (name == "binary_big_endian")
            m_format = Format::kBig;
        else
            return false;
        return true;
    }
    bool ReadElement(TextScanner& text) {
        Element element;
        element.name = text.Word();
        int64_t count = 0;
        if (!text.Integer(&count) || count < 0) return false;
        element.count = uint64_t(count);
        m_elements.push_back(element);
        return true;
    }
    bool ReadProperty(TextScanner& text) {
        PlyProperty property;
        std::string_view word = text.Word();
        if (word == "list") {
            property.countType = TypeOfName(text.Word());
            if (!property.countType) return false;
            word = text.Word();
        }
        std::optional<Type> type = TypeOfName(word);
        property.name = text.Word();
        if (!type || m_elements.empty()) return false;
        property.type = *type;
        m_elements.back().properties.push_back(property);
        return true;
    }

    bool ReadBody() {
        Body body(m_format, m_bytes);
        for (const Element& element : m_elements) {
            uint64_t least = element.LeastBytes(m_format);
            if (least == 0) continue;
            // The last number of a text may end without a blank.
            uint64_t most = (body.BytesLeft() + 1) / least;
            if (element.count > most)
                return Fail(
                    fmt::format("element \"{}\": {} rows claimed, the file holds {} at most",
                                element.name, element.count, most));
            bool isFaces = element.name == "face" || element.name == "tristrips";
            if (!isFaces && element.name != "vertex" && element.count > 0)
                m_files.LeaveOut(fmt::format("row of element \"{}\"", element.name), element.count);
            bool ok = element.name == "vertex" ? ReadVertices(element, body)
                      : isFaces                ? ReadFaces(element, body)
                                               : SkipRows(element, body);
            if (!ok) return false;
            if (m_hasLongRows)
                m_files.Warn(
                    fmt::format("element \"{}\": rows hold more numbers than the header "
                                "says; these are left out",
                                element.name));
            m_hasLongRows = false;
        }
        return CheckEnd(body);
    }
    // Bytes behind the last row of a binary file come from rows that are longer than the header
    // says, so that all numbers after the first row are wrong; a few of them are padding.
    bool CheckEnd(const Body& body) {
        if (m_format == Format::kAscii || body.BytesLeft() == 0) return true;
        uint64_t rows = 0;
        for (const Element& element : m_elements) rows += element.count;
        if (rows > 1 && body.BytesLeft() + 1 >= rows)
            return Fail(
                fmt::format("{} bytes follow the last row: the rows are longer than the "
                            "header says",
                            body.BytesLeft()));
        m_files.Warn(fmt::format("{} bytes behind the last row are left out", body.BytesLeft()));
        return true;
    }
    bool ReadRow(const Element& element, Body& body, Row& row, uint64_t index) {
        row.scalars.resize(element.properties.size());
        row.lists.resize(element.properties.size());
        for (size_t i = 0; i < element.properties.size(); ++i) {
            const PlyProperty& p = element.properties[i];
            double number = 0;
            bool ok = body.Read(p.countType.value_or(p.type), &number);
            row.scalars[i] = number;
            if (ok && p.countType) ok = ReadList(p, number, body, row.lists[i]);
            if (!ok)
                return Fail(fmt::format("element \"{}\", row {}: the file ends or holds no number",
                                        element.name, index));
        }
        m_hasLongRows |= body.EndRow();
        return true;
    }
    bool ReadList(const PlyProperty& p, double length, Body& body, std::vector<double>& list) {
        list.clear();
        if (!(length >= 0 && length <= double(kMaxListLength))) return false;
        for (int64_t k = 0; k < int64_t(length); ++k)
            if (!body.Read(p.type, &list.emplace_back())) return false;
        return true;
    }
    bool SkipRows(const Element& element, Body& body) {
        Row row;
        for (uint64_t i = 0; i < element.count; ++i)
            if (!ReadRow(element, body, row, i)) return false;
        return true;
    }

    bool ReadVertices(const Element& element, Body& body) {
        int position[3] = {element.Find({"x"}), element.Find({"y"}), element.Find({"z"})};
        int normal[3] = {element.Find({"nx"}), element.Find({"ny"}), element.Find({"nz"})};
        int uv[2] = {element.Find({"s", "u", "texture_u"}), element.Find({"t", "v", "texture_v"})};
        int color[3] = {element.Find({"red", "r", "diffuse_red"}),
                        element.Find({"green", "g", "diffuse_green"}),
                        element.Find({"blue", "b", "diffuse_blue"})};
        int alpha = element.Find({"alpha", "a"});
        if (position[0] < 0 || position[1] < 0 || position[2] < 0)
            return Fail("element \"vertex\" lacks x, y or z");
        auto point = [](const Row& row, const int* columns, int n) {
            Point3 p;
            for (int k = 0; k < n; ++k) p[k] = float(row.scalars[size_t(columns[k])]);
            return p;
        };
        Row row;
        for (uint64_t i = 0; i < element.count; ++i) {
            if (!ReadRow(element, body, row, i)) return false;
            m_soup.positions.push_back(point(row, position, 3));
            if (!IsFinite(m_soup.positions.back()))
                return Fail(fmt::format("vertex {}: a coordinate is not a finite number", i));
            if (normal[0] >= 0 && normal[1] >= 0 && normal[2] >= 0)
                m_soup.normals.push_back(point(row, normal, 3));
            if (uv[0] >= 0 && uv[1] >= 0) m_soup.uvws.push_back(point(row, uv, 2));
            if (color[0] >= 0 && color[1] >= 0 && color[2] >= 0)
                m_soup.colors.push_back(point(row, color, 3) *
                                        ColorScale(element.properties[size_t(color[0])].type));
            if (alpha >= 0 &&
                row.scalars[size_t(alpha)] * ColorScale(element.properties[size_t(alpha)].type) < 1)
                m_hasAlpha = true;
        }
        return true;
    }
    // Whole-number colours span their type's range.
    static float ColorScale(Type type) {
        if (type == Type::kUInt8) return 1 / 255.0f;
        return type == Type::kUInt16 ? 1 / 65535.0f : 1.0f;
    }

    bool ReadFaces(const Element& element, Body& body) {
        int indices = element.Find({"vertex_indices", "vertex_index"});
        int texcoords = element.Find({"texcoord"});
        // Coordinates of corners are finer than those of vertices and replace them.
        m_cornersHaveUv |= texcoords >= 0;
        if (element.Find({"red", "diffuse_red"}) >= 0 && m_soup.colors.empty())
            m_files.Warn("colours of faces are left out; those of vertices are read");
        auto isList = [&](int i) { return i >= 0 && element.properties[size_t(i)].countType; };
        if (!isList(indices)) return SkipRows(element, body);
        Row row;
        for (uint64_t i = 0; i < element.count; ++i) {
            if (!ReadRow(element, body, row, i)) return false;
            const std::vector<double>& corners = row.lists[size_t(indices)];
            if (!CheckCorners(corners, element.name, i)) return false;
            if (element.name == "tristrips")
                AddStrips(corners);
            else
                AddPolygon(corners, isList(texcoords) ? row.lists[size_t(texcoords)] : m_none);
            if (m_soup.faces.size() > kMaxImportedFaces) {
                m_failure = ImportFailure::kLimit;
                return Fail(TooManyImportedFaces());
            }
        }
        return true;
    }
    // Strips may hold -1, which starts the next strip.
    bool CheckCorners(const std::vector<double>& corners, const std::string& what, uint64_t row) {
        double least = what == "tristrips" ? -1 : 0;
        for (double c : corners)
            if (!(c >= least && c < double(m_soup.positions.size())))
                return Fail(fmt::format("element \"{}\", row {}: vertex index {} of {}", what, row,
                                        FormatNumber(c), m_soup.positions.size()));
        return true;
    }
    void AddPolygon(const std::vector<double>& corners, const std::vector<double>& texcoords) {
        size_t n = corners.size();
        if (n < 3) return;  // lines and points stand as faces in some files
        std::vector<Point3>& polygon = m_polygon;
        polygon.clear();
        for (double c : corners) polygon.push_back(m_soup.positions[size_t(c)]);
        m_triangles.clear();
        TriangulatePolygon(polygon, m_triangles);
        bool hasOwnUv = texcoords.size() == 2 * n;
        auto firstUv = uint32_t(m_faceUvs.size());
        for (size_t k = 0; hasOwnUv && k < n; ++k)
            m_faceUvs.push_back({float(texcoords[2 * k]), float(texcoords[2 * k + 1]), 0});
        for (const Triple& t : m_triangles) {
            AddTriangle({uint32_t(corners[t[0]]), uint32_t(corners[t[1]]), uint32_t(corners[t[2]])},
                        PolygonEdgeFlags(t, n));
            if (hasOwnUv)
                for (size_t k = 0; k < 3; ++k) m_soup.faces.back().t[k] = firstUv + t[k];
        }
    }
    void AddStrips(const std::vector<double>& corners) {
        size_t start = 0;  // of the strip in hand
        for (size_t k = 0; k < corners.size(); ++k) {
            if (corners[k] < 0) start = k + 1;
            if (corners[k] < 0 || k < start + 2) continue;
            bool isTurned = (k - start) % 2 == 1;
            auto a = uint32_t(corners[k - 2]), b = uint32_t(corners[k - 1]),
                 c = uint32_t(corners[k]);
            AddTriangle(isTurned ? Triple{b, a, c} : Triple{a, b, c}, Face::kAllEdges);
        }
    }
    // Attributes of vertices are named by the vertex's own number.
    void AddTriangle(const Triple& v, uint8_t flags) {
        SoupFace& face = m_soup.faces.emplace_back();
        face.v = v;
        if (!m_soup.uvws.empty() && !m_cornersHaveUv) face.t = v;
        if (!m_soup.normals.empty()) face.n = v;
        face.smGroup = 1;
        face.flags = flags;
    }

    void Finish(ImportedModel& model) {
        bool isSplit = !m_soup.uvws.empty() || !m_soup.normals.empty();
        if (m_cornersHaveUv) m_soup.uvws = std::move(m_faceUvs);
        if (m_hasAlpha) m_files.Warn("the alpha of the vertices is left out");
        std::shared_ptr<Mtl> material = Material(model);
        std::vector<std::vector<uint32_t>> materials;
        Mesh mesh = std::move(m_soup.Split(1, &materials)[0]);
        if (isSplit) WeldVertices(mesh);
        if (mesh.faces.empty()) return;
        model.objects.push_back(
            {"", std::make_shared<Mesh>(std::move(mesh)), material, {}, {1, 1, 1}});
    }
    // Of the image that the header names, and of vertex colours; none without both.
    std::shared_ptr<Mtl> Material(ImportedModel& model) {
        if (m_textures.empty() && m_soup.colors.empty()) return nullptr;
        std::shared_ptr<StandardMtl> material = VertexColorMtl();
        material->vertexColors = !m_soup.colors.empty();
        ImportedMaterial report;
        if (!m_textures.empty()) {
            material->name = report.name = m_textures[0];
            material->diffuseMap = m_files.Texture(m_textures[0], "diffuse", &report);
            m_files.LeaveOut("texture of further faces", m_textures.size() - 1);
        } else {
            report.name = material->name;
        }
        model.materials.push_back(std::move(report));
        return material;
    }

    static constexpr uint32_t kMaxHeaderLines = 10000;

    ModelFiles& m_files;
    const std::string& m_path;
    std::string_view m_bytes;
    Format m_format = Format::kAscii;
    std::vector<Element> m_elements;
    MeshSoup m_soup;
    std::vector<Point3> m_faceUvs;
    bool m_cornersHaveUv = false, m_hasAlpha = false, m_hasLongRows = false;
    std::vector<std::string> m_textures;  // that the header's comments name
    std::vector<Point3> m_polygon;
    std::vector<Triple> m_triangles;
    std::vector<double> m_none;
    std::string m_error;
    ImportFailure m_failure = ImportFailure::kMalformed;
};

}  // namespace

bool ReadPly(std::string_view bytes, ModelFiles& files, ImportError* error) {
    return PlyReader(files, bytes).Read(error);
}
