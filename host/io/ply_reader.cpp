// PLY: lists of elements described by a header, as text or as binary of either byte order.
//
// Vertices with x, y, z (and normals, texture coordinates, colours) and faces with a list of vertex
// indices (and of texture coordinates) are read; other elements and properties are skipped. An
// element's count is weighed against the bytes that are left before anything is reserved.

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstring>
#include <optional>

#include <fmt/format.h>

#include "host/base/text.h"
#include "host/geom/mesh_tools.h"
#include "host/geom/polygon.h"
#include "host/io/mesh_soup.h"
#include "host/io/model_readers.h"
#include "host/io/text_scanner.h"

namespace {

enum class Format { kAscii, kLittle, kBig };
enum class Type { kInt8, kUInt8, kInt16, kUInt16, kInt32, kUInt32, kFloat, kDouble };

constexpr size_t kTypeBytes[] = {1, 1, 2, 2, 4, 4, 4, 8};
constexpr int64_t kMaxListLength = 1 << 24;

std::optional<Type> TypeOfName(std::string_view name) {
    constexpr std::pair<std::string_view, Type> kNames[] = {
        {"char", Type::kInt8},     {"int8", Type::kInt8},     {"uchar", Type::kUInt8},
        {"uint8", Type::kUInt8},   {"short", Type::kInt16},   {"int16", Type::kInt16},
        {"ushort", Type::kUInt16}, {"uint16", Type::kUInt16}, {"int", Type::kInt32},
        {"int32", Type::kInt32},   {"uint", Type::kUInt32},   {"uint32", Type::kUInt32},
        {"float", Type::kFloat},   {"float32", Type::kFloat}, {"double", Type::kDouble},
        {"float64", Type::kDouble}};
    for (auto& [text, type] : kNames)
        if (text == name) return type;
    return std::nullopt;
}

struct Property {
    std::string name;
    Type type = Type::kFloat;
    std::optional<Type> countType;  // of a list
};

struct Element {
    std::string name;
    uint64_t count = 0;
    std::vector<Property> properties;

    // Index of the first of these properties, -1 when there is none.
    int Find(std::initializer_list<std::string_view> names) const {
        for (std::string_view wanted : names)
            for (size_t i = 0; i < properties.size(); ++i)
                if (properties[i].name == wanted) return int(i);
        return -1;
    }
    // Fewest bytes that a row can take; text needs a digit and a blank for each number.
    uint64_t LeastBytes(Format format) const {
        uint64_t bytes = 0;
        for (const Property& p : properties)
            bytes += format == Format::kAscii ? 2 : kTypeBytes[int(p.countType.value_or(p.type))];
        return bytes;
    }
};

// Takes numbers one after the other from the body, in whichever form it has.
class Body {
public:
    Body(Format format, std::string_view bytes) : m_format(format), m_rest(bytes) {}

    size_t BytesLeft() const { return m_rest.size(); }

    bool Read(Type type, double* value) {
        return m_format == Format::kAscii ? ReadText(value) : ReadBinary(type, value);
    }

private:
    bool ReadText(double* value) {
        size_t first = m_rest.find_first_not_of(" \t\r\n");
        if (first == m_rest.npos) return false;
        const char* start = m_rest.data() + first;
        const char* stop = m_rest.data() + m_rest.size();
        if (*start == '+') ++start;
        auto [end, status] = std::from_chars(start, stop, *value);
        if (status == std::errc::result_out_of_range)
            *value = 0;
        else if (status != std::errc{})
            return false;
        m_rest.remove_prefix(size_t(end - m_rest.data()));
        return true;
    }
    template <class T>
    double Load() const {
        unsigned char bytes[sizeof(T)];
        std::memcpy(bytes, m_rest.data(), sizeof(T));
        bool isForeign = (m_format == Format::kBig) != (std::endian::native == std::endian::big);
        if (isForeign) std::reverse(bytes, bytes + sizeof(T));
        T value;
        std::memcpy(&value, bytes, sizeof(T));
        return double(value);
    }
    double Load(Type type) const {
        switch (type) {
            case Type::kInt8:
                return Load<int8_t>();
            case Type::kUInt8:
                return Load<uint8_t>();
            case Type::kInt16:
                return Load<int16_t>();
            case Type::kUInt16:
                return Load<uint16_t>();
            case Type::kInt32:
                return Load<int32_t>();
            case Type::kUInt32:
                return Load<uint32_t>();
            case Type::kFloat:
                return double(Load<float>());
            case Type::kDouble:
                break;
        }
        return Load<double>();
    }
    bool ReadBinary(Type type, double* value) {
        size_t bytes = kTypeBytes[int(type)];
        if (m_rest.size() < bytes) return false;
        *value = Load(type);
        m_rest.remove_prefix(bytes);
        return true;
    }

    Format m_format;
    std::string_view m_rest;
};

// One row of an element: scalars by property, lists end to end.
struct Row {
    std::vector<double> scalars;
    std::vector<std::vector<double>> lists;
};

class PlyReader {
public:
    PlyReader(const std::string& path, std::string_view bytes) : m_path(path), m_bytes(bytes) {}

    bool Read(ImportedModel* model, std::string* error) {
        if (ReadHeader() && ReadBody()) Finish(model);
        if (!m_error.empty()) *error = m_error;
        return m_error.empty();
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
        Property property;
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
            bool ok = element.name == "vertex" ? ReadVertices(element, body)
                      : isFaces                ? ReadFaces(element, body)
                                               : SkipRows(element, body);
            if (!ok) return false;
        }
        return true;
    }
    bool ReadRow(const Element& element, Body& body, Row& row, uint64_t index) {
        row.scalars.resize(element.properties.size());
        row.lists.resize(element.properties.size());
        for (size_t i = 0; i < element.properties.size(); ++i) {
            const Property& p = element.properties[i];
            double number = 0;
            bool ok = body.Read(p.countType.value_or(p.type), &number);
            row.scalars[i] = number;
            if (ok && p.countType) ok = ReadList(p, number, body, row.lists[i]);
            if (!ok)
                return Fail(fmt::format("element \"{}\", row {}: the file ends or holds no number",
                                        element.name, index));
        }
        return true;
    }
    bool ReadList(const Property& p, double length, Body& body, std::vector<double>& list) {
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
            if (m_soup.faces.size() > kMaxImportedFaces) return Fail("too many faces");
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

    void Finish(ImportedModel* model) {
        bool isSplit = !m_soup.uvws.empty() || !m_soup.normals.empty();
        if (m_cornersHaveUv) m_soup.uvws = std::move(m_faceUvs);
        std::vector<std::vector<uint32_t>> materials;
        Mesh mesh = std::move(m_soup.Split(1, &materials)[0]);
        if (isSplit) WeldVertices(mesh);
        if (mesh.faces.empty()) return;
        model->objects.push_back({"", std::make_shared<Mesh>(std::move(mesh)), nullptr, {}});
    }

    static constexpr uint32_t kMaxHeaderLines = 10000;

    const std::string& m_path;
    std::string_view m_bytes;
    Format m_format = Format::kAscii;
    std::vector<Element> m_elements;
    MeshSoup m_soup;
    std::vector<Point3> m_faceUvs;
    bool m_cornersHaveUv = false;
    std::vector<Point3> m_polygon;
    std::vector<Triple> m_triangles;
    std::vector<double> m_none;
    std::string m_error;
};

}  // namespace

bool ReadPly(const std::string& path, std::string_view bytes, ImportedModel* model,
             std::string* error) {
    return PlyReader(path, bytes).Read(model, error);
}
