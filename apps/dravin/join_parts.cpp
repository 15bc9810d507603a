#include "apps/dravin/join_parts.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "apps/dravin/build_outputs.h"
#include "apps/dravin/build_part.h"
#include "host/base/atomic_file.h"
#include "host/base/file_input.h"
#include "host/base/text.h"
#include "host/io/npz_array.h"
#include "host/io/npz_reader.h"
#include "host/io/zip_writer.h"

namespace {

constexpr uint64_t kPieceBytes = 1 << 20;
constexpr uint64_t kMostDescriptionBytes = 64 << 20;

// Thrown to the door of JoinParts.
struct JoinFailure {
    ExitCode code;
    std::string text;
};
[[noreturn]] void Fail(ExitCode code, const std::string& text) { throw JoinFailure{code, text}; }
[[noreturn]] void FailPart(const std::string& path, const std::string& why) {
    Fail(kExitMalformed, fmt::format("{}: cannot join: {}", path, why));
}

// A part's archive while it is looked at.
class PartFile {
public:
    explicit PartFile(const std::string& path) : m_path(path) {
        std::string error;
        if (!m_map.Open(path, &error)) Fail(kExitMissingInput, error);
        auto entries = ReadNpzEntries(m_map.Bytes(), &error);
        if (!entries)
            FailPart(path, fmt::format("not an archive that `dravin build` wrote ({})", error));
        m_entries = std::move(*entries);
    }

    const NpzEntry& Entry(const std::string& name) const {
        const NpzEntry* entry = FindEntry(m_entries, name);
        if (!entry) FailPart(m_path, fmt::format("it has no entry \"{}\"", name));
        return *entry;
    }
    bool IsPart() const { return FindEntry(m_entries, kPartEntry) != nullptr; }

    NpzArray Array(const std::string& name) const {
        std::string error;
        std::optional<NpzArray> array = ReadNpzArray(Entry(name), &error);
        if (!array) FailPart(m_path, error);
        return *array;
    }

    // Hands the cells of an array to use(cells, checkSum), whole cells at a time, in order. Damage
    // shows at the end.
    template <class Use>
    void ReadCells(const std::string& name, const Use& use) const {
        const NpzEntry& entry = Entry(name);
        NpzArray array = Array(name);
        uint64_t cellBytes = ArrayCellBytes(array.column, array.width);
        uint64_t pieceBytes = std::max<uint64_t>(kPieceBytes / cellBytes, 1) * cellBytes;
        size_t headerBytes = entry.bytes.size() - array.cells.size();
        uint32_t sum = CheckSum(entry.bytes.substr(0, headerBytes));
        for (std::string_view rest = array.cells; !rest.empty();) {
            std::string_view piece = rest.substr(0, size_t(pieceBytes));
            uint32_t pieceSum = CheckSum(piece);
            sum = JoinCheckSums(sum, pieceSum, piece.size());
            use(piece, pieceSum);
            m_map.Release(piece);
            rest.remove_prefix(piece.size());
        }
        if (sum != entry.checkSum || m_map.WasCut())
            FailPart(m_path, fmt::format("\"{}\" is damaged; build this piece anew", name));
    }

private:
    std::string m_path;
    MappedFile m_map;
    std::vector<NpzEntry> m_entries;
};

struct Part {
    std::string path;
    PartDescription description;
};

Part ReadPart(const std::string& path) {
    PartFile file(path);
    if (!file.IsPart())
        FailPart(path, "it is no piece of a build; `dravin build --piece K/N` writes them");
    const NpzEntry& entry = file.Entry(kPartEntry);
    std::string error;
    if (entry.bytes.size() > kMostDescriptionBytes || CheckSum(entry.bytes) != entry.checkSum)
        FailPart(path, fmt::format("\"{}\" is damaged; build this piece anew", kPartEntry));
    std::optional<PartDescription> description = PartFromJson(entry.bytes, &error);
    if (!description) FailPart(path, error);
    return {path, std::move(*description)};
}

// What differs between two parts that should be of one build; null where nothing does.
const char* Difference(const PartDescription& a, const PartDescription& b) {
    if (a.version != b.version) return "the program's version";
    if (a.inputs != b.inputs) return "the scene or a file that it names";
    if (a.options != b.options) return "the options";
    if (a.fields != b.fields) return "the fields";
    if (a.part.of != b.part.of) return "the number of pieces";
    auto isAlike = [](const PartObject& x, const PartObject& y) {
        return x.name == y.name && x.isOff == y.isOff && x.mayOverlap == y.mayOverlap;
    };
    bool same =
        std::equal(a.objects.begin(), a.objects.end(), b.objects.begin(), b.objects.end(), isAlike);
    return same ? nullptr : "the objects";
}

// The parts of one build in order, none missing and none twice.
std::vector<Part> ReadParts(std::span<const std::string> paths) {
    std::map<int, Part> parts;
    const Part* first = nullptr;
    for (const std::string& path : paths) {
        Part part = ReadPart(path);
        const char* difference = first ? Difference(first->description, part.description) : nullptr;
        if (difference)
            FailPart(path, fmt::format("it differs from {} in {}; join the pieces of one build",
                                       first->path, difference));
        TBuildPart number = part.description.part;
        auto [place, isNew] = parts.emplace(number.number, std::move(part));
        if (!isNew)
            FailPart(path, fmt::format("{} is piece {}/{} too; give each piece once",
                                       place->second.path, number.number, number.of));
        if (!first) first = &place->second;
    }
    int expected = 1, of = first->description.part.of;
    std::vector<Part> ordered;
    for (auto& [number, part] : parts) {
        if (number != expected) break;
        ordered.push_back(std::move(part));
        ++expected;
    }
    if (expected <= of)
        Fail(kExitMissingInput,
             fmt::format("piece {}/{} is missing: build it with --piece {}/{} and name it too",
                         expected, of, expected, of));
    return ordered;
}

// An array over all parts.
struct JoinedArray {
    std::string name;
    TableColumn column;
    uint64_t rows = 0, width = 0;
    std::vector<uint64_t> widths;  // of each part

    uint64_t CellBytes() const { return ArrayCellBytes(column, width); }
};

class Joiner {
public:
    Joiner(std::vector<Part> parts, ZipWriter& zip, const AtomicFile& out)
        : m_parts(std::move(parts)), m_zip(zip), m_out(out) {}

    // How many items the whole has.
    int64_t Join() {
        int64_t items = 0;
        for (size_t i = 0; i < First().objects.size(); ++i) items += JoinObject(i);
        return items;
    }

private:
    const PartDescription& First() const { return m_parts[0].description; }

    int64_t JoinObject(size_t index) {
        const PartObject& object = First().objects[index];
        std::string prefix = First().objects.size() > 1 ? object.name + "/" : "";
        std::optional<std::vector<uint32_t>> order;
        if (object.mayOverlap) order = Order(index);
        int64_t rows = 0, discarded = 0;
        for (const Part& part : m_parts) {
            rows += part.description.objects[index].rows;
            discarded += part.description.objects[index].discarded;
        }
        if (rows > object.limit)
            Fail(kExitFailed,
                 fmt::format("{}: all pieces together have {} items, and a build may make {} "
                             "(\"rmaxitems\"); --no-limit builds pieces without that limit",
                             object.name, FormatGrouped(rows), FormatGrouped(object.limit)));
        if (order) rows = int64_t(order->size());
        if (!object.isOff && rows - discarded < 1)
            Fail(kExitFailed, fmt::format("{}: no visible items in all pieces together; a build of "
                                          "the whole fails too, with status {}",
                                          object.name, int(TBuildStatus::kNoVisibleItems)));
        for (const std::string& field : First().fields) {
            JoinedArray array = Describe(prefix + field + ".npy", index);
            order ? WriteOrdered(array, *order) : WriteInTurn(array);
        }
        return rows;
    }

    JoinedArray Describe(const std::string& name, size_t object) const {
        JoinedArray joined;
        joined.name = name;
        for (const Part& part : m_parts) {
            NpzArray array = PartFile(part.path).Array(name);
            if (joined.widths.empty()) joined.column = array.column;
            bool isWhole = array.rows == uint64_t(part.description.objects[object].rows);
            if (!isWhole || array.column != joined.column)
                FailPart(part.path, fmt::format("\"{}\" has other rows than its description says, "
                                                "or other cells than in {}",
                                                name, m_parts[0].path));
            joined.rows += array.rows;
            joined.width = std::max(joined.width, array.width);
            joined.widths.push_back(array.width);
        }
        return joined;
    }

    void Begin(const JoinedArray& array, uint64_t rows) {
        std::string header = ArrayHeader(array.column, rows, array.width);
        m_zip.Begin(array.name, header.size() + rows * array.CellBytes());
        m_zip.Write(header);
    }

    // The parts' cells one after the other; use(cells, checkSum) hears of all of them, as wide as
    // the widest.
    template <class Use>
    void ReadAll(const JoinedArray& array, const Use& use) const {
        std::string wide;
        for (size_t i = 0; i < m_parts.size(); ++i)
            PartFile(m_parts[i].path)
                .ReadCells(array.name, [&](std::string_view cells, uint32_t sum) {
                    if (array.widths[i] == array.width) return use(cells, sum);
                    Widen(cells, array.widths[i] * sizeof(char32_t), array.CellBytes(), wide);
                    use(wide, CheckSum(wide));
                });
    }
    static void Widen(std::string_view cells, size_t cellBytes, size_t wideBytes,
                      std::string& wide) {
        wide.clear();
        for (size_t i = 0; i < cells.size(); i += cellBytes) {
            wide += cells.substr(i, cellBytes);
            wide.append(wideBytes - cellBytes, '\0');
        }
    }

    void WriteInTurn(const JoinedArray& array) {
        Begin(array, array.rows);
        ReadAll(array, [&](std::string_view cells, uint32_t sum) {
            if (!m_out.HasFailed()) m_zip.Write(cells, sum);
        });
        if (!m_out.HasFailed()) m_zip.End();
    }

    // One column at a time, its rows in their new order.
    void WriteOrdered(JoinedArray array, std::span<const uint32_t> order) {
        std::string all;
        all.reserve(array.rows * array.CellBytes());
        ReadAll(array, [&](std::string_view cells, uint32_t) { all += cells; });
        size_t cellBytes = array.CellBytes();
        if (array.width > 0) array.width = LongestText(all, cellBytes, order);
        Begin(array, order.size());
        std::string piece;
        for (uint32_t row : order) {
            piece.append(all, row * cellBytes, array.CellBytes());
            if (piece.size() < kPieceBytes) continue;
            m_zip.Write(piece);
            piece.clear();
        }
        m_zip.Write(piece);
        if (!m_out.HasFailed()) m_zip.End();
    }
    // Characters of the longest of those texts that stay; at least 1.
    static uint64_t LongestText(const std::string& all, size_t cellBytes,
                                std::span<const uint32_t> order) {
        size_t longest = sizeof(char32_t);
        for (uint32_t row : order) {
            const char* text = all.data() + row * cellBytes;
            size_t size = cellBytes;
            while (size > longest && text[size - 1] == '\0') --size;
            longest = std::max(longest, (size + 3) / sizeof(char32_t) * sizeof(char32_t));
        }
        return longest / sizeof(char32_t);
    }

    // The rows of all parts that stay when overlaps are removed.
    std::vector<uint32_t> Order(size_t index) const {
        const PartObject& object = First().objects[index];
        std::vector<TCollisionItem> items;
        for (const Part& part : m_parts) {
            PartFile file(part.path);
            std::string prefix = kPartPrefix + object.name + "/";
            auto cells = [&](const char* name) {
                std::string all;
                file.ReadCells(prefix + name + ".npy",
                               [&](std::string_view piece, uint32_t) { all += piece; });
                return all;
            };
            auto rows = size_t(part.description.objects[index].rows);
            CheckOverlaps(part, file, prefix, rows);
            std::vector<TCollisionItem> own =
                OverlapItems(cells("center"), cells("radius"), cells("seed"), cells("flags"), rows);
            items.insert(items.end(), own.begin(), own.end());
        }
        if (items.size() > UINT32_MAX)
            Fail(kExitLimit, fmt::format("{}: more than {} items cannot be joined where they may "
                                         "overlap",
                                         object.name, UINT32_MAX));
        return ResolveCollisions(items, object.ground).order;
    }
    static void CheckOverlaps(const Part& part, const PartFile& file, const std::string& prefix,
                              size_t rows) {
        for (const TableColumn& expected : OverlapColumns()) {
            NpzArray array = file.Array(prefix + expected.name + ".npy");
            array.column.name = expected.name;
            if (array.rows != rows || array.column != expected)
                FailPart(part.path,
                         fmt::format("\"{}{}.npy\" has other rows or cells than it should", prefix,
                                     expected.name));
        }
    }

    std::vector<Part> m_parts;
    ZipWriter& m_zip;
    const AtomicFile& m_out;
};

}  // namespace

ExitCode JoinParts(std::span<const std::string> paths, const std::string& output) {
    try {
        std::vector<Part> parts = ReadParts(paths);
        AtomicFile out;
        std::string error;
        if (!out.Open(output, &error)) Fail(kExitNoOutput, error);
        ZipWriter zip(out);
        int64_t items = Joiner(std::move(parts), zip, out).Join();
        zip.Finish();
        if (!out.Commit(&error)) Fail(kExitNoOutput, error);
        TellOfOutput(output, items);
        return kExitDone;
    } catch (const JoinFailure& failure) {
        PrintError(failure.text);
        return failure.code;
    }
}
