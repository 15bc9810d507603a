#include "apps/dravin/build_part.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "Dravin/config/version.h"
#include "host/base/file_input.h"
#include "host/base/input_record.h"
#include "host/io/json_depth.h"
#include "host/io/zip_writer.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormatVersion = 1;
constexpr int kMostParts = 1000000;
enum OverlapColumn : size_t { kCenter, kRadius, kSeed, kFlags };
constexpr uint32_t kFirstRow = 1, kOutOfView = 2;

bool TakeNumber(std::string_view* text, int* number) {
    auto [end, problem] = std::from_chars(text->data(), text->data() + text->size(), *number);
    if (problem != std::errc()) return false;
    text->remove_prefix(size_t(end - text->data()));
    return true;
}

// What changes items beside the scene, in words that two parts can be compared by.
std::string OptionsText(const BuildOptions& options) {
    std::string text = options.viewport ? "--viewport" : "--render";
    if (!options.object.empty()) text += " --object " + options.object;
    if (options.time) text += fmt::format(" --time {}", *options.time);
    if (options.noLimit) text += " --no-limit";
    if (options.keepGoing) text += " --keep-going";
    return text;
}

// Contents of a file, read a piece at a time.
std::optional<uint32_t> SumOfFile(const std::string& path, uint64_t* size, std::string* error) {
    MappedFile file;
    if (!file.Open(path, error)) return std::nullopt;
    uint32_t sum = 0;
    constexpr size_t kPiece = 1 << 24;
    for (std::string_view rest = file.Bytes(); !rest.empty();) {
        std::string_view piece = rest.substr(0, kPiece);
        sum = JoinCheckSums(sum, CheckSum(piece), piece.size());
        file.Release(piece);
        rest.remove_prefix(piece.size());
    }
    *size = file.Bytes().size();
    if (!file.WasCut()) return sum;
    *error = path + ": became shorter while it was read";
    return std::nullopt;
}

Json BoxJson(const Box3& box) {
    if (box.IsEmpty()) return nullptr;
    return {{box.min.x, box.min.y, box.min.z}, {box.max.x, box.max.y, box.max.z}};
}

Box3 BoxFrom(const Json& value) {
    if (value.is_null()) return {};
    auto point = [&](size_t i) {
        const Json& p = value.at(i);
        return Point3{p.at(0).get<float>(), p.at(1).get<float>(), p.at(2).get<float>()};
    };
    Box3 box;
    box += point(0);
    box += point(1);
    return box;
}

PartObject ObjectFrom(const Json& value) {
    PartObject object;
    value.at("name").get_to(object.name);
    value.at("is_off").get_to(object.isOff);
    value.at("rows").get_to(object.rows);
    value.at("discarded").get_to(object.discarded);
    value.at("limit").get_to(object.limit);
    value.at("may_overlap").get_to(object.mayOverlap);
    object.ground = BoxFrom(value.at("ground"));
    return object;
}

PartDescription DescriptionFrom(const Json& value) {
    PartDescription part;
    value.at("number").get_to(part.part.number);
    value.at("of").get_to(part.part.of);
    value.at("version").get_to(part.version);
    value.at("inputs").get_to(part.inputs);
    value.at("options").get_to(part.options);
    value.at("fields").get_to(part.fields);
    for (const Json& object : value.at("objects")) part.objects.push_back(ObjectFrom(object));
    return part;
}

bool IsSensible(const PartDescription& part) {
    bool isGood = part.part.number >= 1 && part.part.number <= part.part.of &&
                  part.part.of <= kMostParts && !part.objects.empty() && !part.fields.empty();
    for (const PartObject& object : part.objects)
        isGood = isGood && object.rows >= 0 && object.discarded >= 0;
    return isGood;
}

}  // namespace

std::optional<TBuildPart> ParsePart(const std::string& text) {
    TBuildPart part;
    std::string_view rest = text;
    if (!TakeNumber(&rest, &part.number) || !rest.starts_with("/")) return std::nullopt;
    rest.remove_prefix(1);
    if (!TakeNumber(&rest, &part.of) || !rest.empty()) return std::nullopt;
    bool isGood = part.number >= 1 && part.number <= part.of && part.of <= kMostParts;
    return isGood ? std::optional(part) : std::nullopt;
}

PartDescription DescribePart(const BuildOptions& options, const std::vector<std::string>& fields) {
    return {*options.piece, ProductVersion(), "", OptionsText(options), fields, {}};
}

PartObject DescribeObject(const SceneDravin& dravin, int64_t rows) {
    const TDravinBuild& build = dravin.object->Build();
    PartObject object;
    object.name = dravin.node->GetName();
    object.isOff = build.Status() == TBuildStatus::kDisabled;
    object.rows = rows;
    object.discarded = build.Statistics().discardedItems;
    object.mayOverlap = build.LeavesOverlaps();
    object.limit = build.Statistics().itemLimit;
    object.ground = build.Statistics().ground;
    return object;
}

std::optional<std::string> InputsSum(const InputRecord& inputs, std::string* error) {
    std::vector<std::string> sums;
    for (const std::string& path : inputs.Paths()) {
        uint64_t size = 0;
        std::optional<uint32_t> sum = SumOfFile(path, &size, error);
        if (!sum) return std::nullopt;
        sums.push_back(fmt::format("{:x}-{:08x}\n", size, *sum));
    }
    // Wherever the files lie, and in whatever order they were read.
    std::sort(sums.begin(), sums.end());
    std::string text;
    for (const std::string& sum : sums) text += sum;
    return fmt::format("{} files {:08x}", sums.size(), CheckSum(text));
}

std::string ToJson(const PartDescription& part) {
    Json objects = Json::array();
    for (const PartObject& object : part.objects)
        objects.push_back({{"name", object.name},
                           {"is_off", object.isOff},
                           {"rows", object.rows},
                           {"discarded", object.discarded},
                           {"limit", object.limit},
                           {"may_overlap", object.mayOverlap},
                           {"ground", BoxJson(object.ground)}});
    Json value{
        {"dravin_part", kFormatVersion}, {"number", part.part.number}, {"of", part.part.of},
        {"version", part.version},       {"inputs", part.inputs},      {"options", part.options},
        {"fields", part.fields},         {"objects", objects}};
    return value.dump(1) + "\n";
}

std::optional<PartDescription> PartFromJson(std::string_view text, std::string* error) {
    try {
        if (JsonDepth(text) > kMaxJsonDepth) throw std::runtime_error("nests too deeply");
        Json value = Json::parse(text);
        if (value.at("dravin_part") != kFormatVersion)
            throw std::runtime_error("written by another version of the program");
        PartDescription part = DescriptionFrom(value);
        if (!IsSensible(part)) throw std::runtime_error("a number is out of range");
        return part;
    } catch (const std::exception& problem) {
        *error = fmt::format("{}: {}", kPartEntry, problem.what());
        return std::nullopt;
    }
}

std::vector<TableColumn> OverlapColumns() {
    return {{"center", TableColumn::kFloat, {3}},
            {"radius", TableColumn::kFloat, {}},
            {"seed", TableColumn::kUInt32, {}},
            {"flags", TableColumn::kUInt32, {}}};
}

void PartTable::Read(size_t column, size_t first, size_t count, TableCells& cells) const {
    size_t numItemColumns = m_items.Columns().size();
    if (column < numItemColumns) return m_items.Read(column, first, count, cells);
    for (size_t i = 0; i < count; ++i) {
        const TCollisionItem& item = m_overlaps[first + i];
        switch (column - numItemColumns) {
            case kCenter:
                std::memcpy(&cells.floats[3 * i], &item.sphere.center, 3 * sizeof(float));
                break;
            case kRadius:
                cells.floats[i] = item.sphere.radius;
                break;
            case kSeed:
                cells.uints[i] = item.sphere.seed;
                break;
            default:
                cells.uints[i] =
                    (item.isFirstRow ? kFirstRow : 0) | (item.isOutOfView ? kOutOfView : 0);
                break;
        }
    }
}

std::vector<TCollisionItem> OverlapItems(std::string_view centers, std::string_view radii,
                                         std::string_view seeds, std::string_view flags,
                                         size_t rows) {
    std::vector<TCollisionItem> items(rows);
    auto read = [](std::string_view bytes, size_t i, auto* value) {
        std::memcpy(value, bytes.data() + i * sizeof *value, sizeof *value);
    };
    for (size_t i = 0; i < rows; ++i) {
        uint32_t flag = 0;
        read(centers, i, &items[i].sphere.center);
        read(radii, i, &items[i].sphere.radius);
        read(seeds, i, &items[i].sphere.seed);
        read(flags, i, &flag);
        items[i].isFirstRow = flag & kFirstRow, items[i].isOutOfView = flag & kOutOfView;
    }
    return items;
}
