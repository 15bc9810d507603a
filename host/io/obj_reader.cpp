// Wavefront OBJ: polygons with positions, texture coordinates and normals indexed apart.
//
// Objects follow the `o` statements; a file without any is divided by its `g` statements. Unknown
// statements, lines, points and curves are skipped, as every reader of this format does; a file in
// whose first statements nothing is known is not an OBJ file.

#include <unordered_map>

#include <fmt/format.h>

#include "host/geom/polygon.h"
#include "host/io/mesh_soup.h"
#include "host/io/model_readers.h"
#include "host/io/text_scanner.h"

namespace {

constexpr uint32_t kSniffedLines = 200;
constexpr size_t kSniffedBytes = 1 << 16;

// Text keys numbered in order of first use.
class NameTable {
public:
    uint32_t Number(std::string_view name) {
        auto [entry, isNew] = m_numbers.try_emplace(std::string(name), uint32_t(m_names.size()));
        if (isNew) m_names.push_back(entry->first);
        return entry->second;
    }
    const std::vector<std::string>& Names() const { return m_names; }

private:
    std::unordered_map<std::string, uint32_t> m_numbers;
    std::vector<std::string> m_names;
};

std::string_view TrimmedRest(TextScanner& text) {
    text.AtLineEnd();
    std::string_view rest = text.Rest();
    size_t last = rest.find_last_not_of(" \t\r");
    return last == std::string_view::npos ? std::string_view() : rest.substr(0, last + 1);
}

class ObjReader {
public:
    ObjReader(ModelFiles& files, std::string_view bytes)
        : m_files(files), m_path(files.Path()), m_text(bytes) {}

    bool Read(ImportError* error) {
        while (m_error.empty() && m_text.NextLine()) {
            std::string_view keyword = m_text.Word();
            if (!keyword.empty() && keyword[0] != '#') Statement(keyword);
        }
        if (m_error.empty() && !m_known) Fail("no OBJ statement found");
        if (m_error.empty()) CheckIndices();
        if (!m_error.empty()) return FailImport(error, m_error, m_failure);
        Finish(m_files.Model());
        return true;
    }

private:
    void Fail(const std::string& what) {
        if (m_error.empty()) m_error = fmt::format("{}:{}: {}", m_path, m_text.Line(), what);
    }

    void Statement(std::string_view keyword) {
        if (keyword == "v")
            Position();
        else if (keyword == "vt")
            AddPoint(m_soup.uvws, 1);
        else if (keyword == "vn")
            AddPoint(m_soup.normals, 3);
        else if (keyword == "f")
            Polygon();
        else if (keyword == "o")
            NameObject(true);
        else if (keyword == "g")
            NameObject(false);
        else if (keyword == "s")
            Smoothing();
        else if (keyword == "usemtl")
            m_material = m_materials.Number(TrimmedRest(m_text));
        else if (keyword == "mtllib")
            m_libraries.Number(TrimmedRest(m_text));
        else if (keyword == "l" || keyword == "p")
            m_files.LeaveOut(keyword == "l" ? "line" : "point");
        else if (keyword == "curv" || keyword == "curv2" || keyword == "surf")
            m_files.LeaveOut("curved surface or curve");
        else if (!m_known && m_text.Line() > kSniffedLines)
            return Fail("no OBJ statement found");
        else
            return;
        m_known = true;
    }

    // Up to three numbers, at least `least`; the others are 0.
    bool ReadPoint(Point3* p, int least) {
        int n = 0;
        while (n < 3 && m_text.Number(&(*p)[n])) ++n;
        if (n < least)
            Fail(fmt::format("{} numbers, expected {}", n, least));
        else if (!IsFinite(*p))
            Fail("a coordinate is not a finite number");
        return m_error.empty();
    }
    void AddPoint(std::vector<Point3>& list, int least) {
        Point3 p;
        if (ReadPoint(&p, least)) list.push_back(p);
    }
    // Three further numbers are a colour; a single one is a weight, which polygons ignore.
    void Position() {
        Point3 p, color;
        if (!ReadPoint(&p, 3)) return;
        m_soup.positions.push_back(p);
        int n = 0;
        while (n < 3 && m_text.Number(&color[n])) ++n;
        if (n == 3 && IsFinite(color)) {
            m_soup.colors.resize(m_soup.positions.size() - 1, {1, 1, 1});
            m_soup.colors.push_back(color);
        }
    }

    // An index of the file (from 1, or negative from the end) as one from 0.
    bool Index(size_t count, uint32_t* index) {
        int64_t i = 0;
        if (!m_text.Integer(&i)) return Fail("expected a vertex index"), false;
        int64_t resolved = i < 0 ? int64_t(count) + i : i - 1;
        if (i == 0 || resolved < 0 || resolved >= int64_t{kNoIndex})
            return Fail(fmt::format("vertex index {} of {}", i, count)), false;
        *index = uint32_t(resolved);
        return true;
    }
    struct Corner {
        uint32_t v = kNoIndex, t = kNoIndex, n = kNoIndex;
    };
    // v, v/t, v//n or v/t/n.
    bool ReadCorner(Corner* corner) {
        if (!Index(m_soup.positions.size(), &corner->v)) return false;
        if (m_text.Take('/')) {
            if (!m_text.Take('/')) {
                if (!m_text.AtBlank() && !Index(m_soup.uvws.size(), &corner->t)) return false;
                if (!m_text.Take('/')) return CheckEnd();
            }
            if (!m_text.AtBlank() && !Index(m_soup.normals.size(), &corner->n)) return false;
        }
        return CheckEnd();
    }
    bool CheckEnd() {
        if (!m_text.AtBlank()) Fail("a face corner is malformed, expected v, v/t, v//n or v/t/n");
        return m_error.empty();
    }

    void Polygon() {
        m_corners.clear();
        while (!m_text.AtLineEnd() && m_text.Rest()[0] != '#')
            if (!ReadCorner(&m_corners.emplace_back())) return;
        size_t n = m_corners.size();
        if (n < 3) return Fail(fmt::format("a face of {} corners, expected 3 or more", n));
        m_triangles.clear();
        if (n == 3) {
            m_triangles.push_back({0, 1, 2});
        } else {
            // Positions may follow their faces in odd files; a fan is all that can be said there.
            m_polygon.clear();
            for (const Corner& c : m_corners)
                m_polygon.push_back(c.v < m_soup.positions.size() ? m_soup.positions[c.v]
                                                                  : Point3{});
            TriangulatePolygon(m_polygon, m_triangles);
        }
        if (m_soup.faces.size() + n > kMaxImportedFaces) {
            m_failure = ImportFailure::kLimit;
            return Fail(TooManyImportedFaces());
        }
        for (const Triple& t : m_triangles) AddFace(t, n);
    }
    void AddFace(const Triple& t, size_t n) {
        SoupFace& face = m_soup.faces.emplace_back();
        for (size_t k = 0; k < 3; ++k) {
            const Corner& c = m_corners[t[k]];
            face.v[k] = c.v, face.t[k] = c.t, face.n[k] = c.n;
        }
        face.smGroup = m_smGroup;
        face.material = m_material;
        face.object = Object();
        face.line = m_text.Line();
        face.flags = PolygonEdgeFlags(t, n);
    }

    // The object of the faces that follow; faces before any name belong to an unnamed one.
    uint32_t Object() {
        if (m_object == kNoIndex) m_object = m_objects.Number("");
        return m_object;
    }
    void NameObject(bool isObject) {
        std::string_view name = TrimmedRest(m_text);
        if (isObject) m_hasObjects = true;
        if (isObject || !m_hasObjects) m_object = m_objects.Number(name);
    }
    // Numbers above 32 share bits: what matters is that neighbours differ.
    void Smoothing() {
        int64_t number = 0;
        m_smGroup = m_text.Integer(&number) && number > 0 ? 1u << ((number - 1) % 32) : 0;
        std::string_view word = m_text.Word();
        if (word == "on") m_smGroup = 1;
    }

    // Positions may come after the faces that name them, so ranges are checked at the end.
    void CheckIndices() {
        for (const SoupFace& face : m_soup.faces)
            for (size_t k = 0; k < 3; ++k) {
                Check(face.v[k], m_soup.positions.size(), "vertex", face.line);
                Check(face.t[k], m_soup.uvws.size(), "texture coordinate", face.line);
                Check(face.n[k], m_soup.normals.size(), "normal", face.line);
                if (!m_error.empty()) return;
            }
    }
    void Check(uint32_t index, size_t count, const char* what, uint32_t line) {
        if (index != kNoIndex && index >= count && m_error.empty())
            m_error = fmt::format("{}:{}: {} index {} of {}", m_path, line, what,
                                  uint64_t{index} + 1, count);
    }

    void Finish(ImportedModel& model) {
        bool hasColors = !m_soup.colors.empty();
        if (hasColors) m_soup.colors.resize(m_soup.positions.size(), {1, 1, 1});
        std::vector<std::shared_ptr<StandardMtl>> materials = LoadMaterials();
        std::shared_ptr<StandardMtl> none;  // what faces without a material show
        if (hasColors) none = VertexColorMtl();
        for (std::shared_ptr<StandardMtl>& m : materials) {
            if (!m) m = none;
            if (m) m->vertexColors = hasColors;
        }
        std::vector<std::vector<uint32_t>> used;
        size_t numObjects = m_objects.Names().size();
        std::vector<Mesh> meshes = m_soup.Split(numObjects, &used);
        for (size_t o = 0; o < numObjects; ++o) {
            if (meshes[o].faces.empty()) continue;  // a group statement without faces
            std::vector<std::shared_ptr<Mtl>> own;
            for (uint32_t m : used[o]) own.push_back(m == kNoIndex ? none : materials[m]);
            model.objects.push_back({m_objects.Names()[o],
                                     std::make_shared<Mesh>(std::move(meshes[o])),
                                     CombineMaterials(own),
                                     {},
                                     {1, 1, 1}});
        }
    }
    // One entry a name that faces use; a name that no library defines stays grey, with a warning.
    std::vector<std::shared_ptr<StandardMtl>> LoadMaterials() {
        std::vector<NamedMtl> library;
        for (const std::string& file : m_libraries.Names()) ReadMtl(file, m_files, &library);
        std::unordered_map<std::string, std::shared_ptr<StandardMtl>> byName;
        for (const NamedMtl& entry : library) byName.try_emplace(entry.name, entry.material);
        std::vector<std::shared_ptr<StandardMtl>> result;
        for (const std::string& name : m_materials.Names()) {
            auto found = byName.find(name);
            result.push_back(found == byName.end() ? nullptr : found->second);
            if (!result.back()) m_files.Warn(fmt::format("material \"{}\" is not defined", name));
        }
        return result;
    }

    ModelFiles& m_files;
    const std::string& m_path;
    TextScanner m_text;
    MeshSoup m_soup;
    NameTable m_objects, m_materials, m_libraries;
    uint32_t m_object = kNoIndex, m_material = kNoIndex, m_smGroup = 0;
    bool m_known = false, m_hasObjects = false;
    std::vector<Corner> m_corners;
    std::vector<Point3> m_polygon;
    std::vector<Triple> m_triangles;
    std::string m_error;
    ImportFailure m_failure = ImportFailure::kMalformed;
};

}  // namespace

bool ReadObj(std::string_view bytes, ModelFiles& files, ImportError* error) {
    if (bytes.substr(0, kSniffedBytes).find('\0') != bytes.npos)
        return FailImport(error,
                          fmt::format("{}: not an OBJ file, which is plain text", files.Path()));
    return ObjReader(files, bytes).Read(error);
}
