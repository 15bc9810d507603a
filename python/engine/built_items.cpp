#include "python/engine/built_items.h"

#include <cstring>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/engine/item_fields.h"
#include "apps/dravin/item_table.h"
#include "host/base/text.h"
#include "host/base/thread_pool.h"

namespace {

// Where the numbers of a field lie in the entry that holds it; none where they are not there as
// they are. Told by reading two entries of distinct numbers: the bytes that come out must stand at
// one place of both.
std::optional<size_t> PlaceInEntry(const ItemField& field) {
    size_t bytes = size_t(field.NumValues()) * sizeof(float);
    std::optional<size_t> place;
    for (float first : {1.25f, 100.5f}) {
        std::vector<float> entry(field.stride / sizeof(float)), read(size_t(field.NumValues()));
        for (size_t i = 0; i < entry.size(); ++i) entry[i] = first + float(i);
        if (field.readFloats)
            field.readFloats(entry.data(), read.data());
        else
            field.readInts(entry.data(), reinterpret_cast<int32_t*>(read.data()));
        std::optional<size_t> found;
        for (size_t at = 0; at + bytes <= entry.size() * sizeof(float) && !found;
             at += sizeof(float))
            if (std::memcmp(reinterpret_cast<char*>(entry.data()) + at, read.data(), bytes) == 0)
                found = at;
        if (!found || (place && place != found)) return std::nullopt;
        place = found;
    }
    return place;
}

// The first entry of the field where all of the list follow each other; null otherwise.
const std::byte* OnePiece(const TDravinItemList& items, const ItemField& field) {
    const std::byte *first = nullptr, *next = nullptr;
    for (size_t i = 0, together = 0; i < items.Count(); i += together) {
        TItemColumns columns = items.ColumnsAt(i, &together);
        auto* entry = static_cast<const std::byte*>(field.record(columns));
        if (!entry || (next && entry != next)) return nullptr;
        if (!first) first = entry;
        next = entry + together * field.stride;
    }
    return first;
}

py::dtype TypeOf(const ItemField& field) {
    if (field.kind == ItemFieldKind::kFloat) return py::dtype::of<float>();
    return field.kind == ItemFieldKind::kInt ? py::dtype::of<int32_t>() : py::dtype::of<uint32_t>();
}

std::vector<py::ssize_t> ShapeOf(const ItemField& field, size_t count) {
    std::vector<py::ssize_t> shape{py::ssize_t(count)};
    if (field.rows > 1) shape.push_back(field.rows);
    if (field.components > 1 || field.rows > 1) shape.push_back(field.components);
    return shape;
}

// An array over memory that `owner` keeps; nobody may write to it.
py::array ArrayOver(const py::object& owner, const ItemField& field, size_t count, size_t stride,
                    const void* memory) {
    std::vector<py::ssize_t> shape = ShapeOf(field, count);
    std::vector<py::ssize_t> strides(shape.size(), sizeof(float));
    for (size_t i = shape.size(); i-- > 1;)
        strides[i - 1] = i == 1 ? py::ssize_t(stride) : strides[i] * shape[i];
    strides[0] = py::ssize_t(stride);
    py::array array(TypeOf(field), shape, strides, memory, owner);
    array.attr("flags").attr("writeable") = false;
    return array;
}

py::dict StatisticsOf(const TBuildStatistics& s) {
    py::dict rejected;
    for (const TRejectionRule& rule : RejectionRules())
        rejected[rule.name] = s.rejected.*rule.count;
    using namespace py::literals;
    py::dict statistics("cells_in_area"_a = s.cellsInArea, "item_count"_a = s.itemCount,
                        "created_count"_a = s.createdCount, "discarded_count"_a = s.discardedCount,
                        "discarded_items"_a = s.discardedItems, "decimation"_a = s.decimation,
                        "build_ms"_a = s.buildMs, "items_per_second"_a = s.itemsPerSecond,
                        "rejected"_a = rejected);
    if (s.lodSpan)
        statistics["lod_span"] =
            py::make_tuple(py::make_tuple(s.lodSpan->from.x, s.lodSpan->from.y),
                           py::make_tuple(s.lodSpan->to.x, s.lodSpan->to.y));
    if (!s.deltas.isUsed) return statistics;
    py::dict deltas("changed"_a = s.deltas.changed, "deleted"_a = s.deltas.deleted);
    py::list missing;
    for (const TItemId& id : s.deltas.missing) missing.append(ItemIdText(id));
    if (s.deltas.isComplete) deltas["missing"] = missing;
    statistics["deltas"] = deltas;
    return statistics;
}

const ItemField& FieldOf(const std::string& name) {
    if (const ItemField* field = FindItemField(name)) return *field;
    std::vector<std::string> all;
    for (const ItemField& field : ItemFields()) all.push_back(field.name);
    throw py::key_error(fmt::format("no item field \"{}\"{}", name, DidYouMean(name, all)));
}

size_t BytesOfNumbers(const ItemField& field) { return size_t(field.NumValues()) * sizeof(float); }

// Where the list holds the numbers as an array would, in however many pieces.
std::optional<size_t> PlaceIn(const TDravinItemList& items, const ItemField& field) {
    bool isThere = field.IsIn(items) && items.Count() > 0;
    if (isThere) {
        size_t together;
        isThere = field.record(items.ColumnsAt(0, &together)) != nullptr;
    }
    return isThere ? PlaceInEntry(field) : std::nullopt;
}

constexpr size_t kRowsAtOnce = 1 << 14;

// One array of the numbers that lie in several pieces.
HugeBuffer Joined(const TDravinItemList& items, const ItemField& field) {
    size_t bytes = BytesOfNumbers(field), place = *PlaceIn(items, field);
    HugeBuffer joined(items.Count() * bytes);
    ParallelRanges(items.Count(), kRowsAtOnce, NumProcessors(), [&](size_t first, size_t last) {
        std::byte* to = joined.Data() + first * bytes;
        for (size_t i = first, together; i < last; i += together) {
            TItemColumns columns = items.ColumnsAt(i, &together);
            together = std::min(together, last - i);
            auto* from = static_cast<const std::byte*>(field.record(columns)) + place;
            bool isWhole = field.stride == bytes;  // nothing else is between the numbers
            for (size_t k = 0; k < (isWhole ? 0 : together); ++k)
                std::memcpy(to + k * bytes, from + k * field.stride, bytes);
            if (isWhole) std::memcpy(to, from, together * bytes);
            to += together * bytes;
        }
    });
    return joined;
}

const void* NumbersIn(const TableCells& cells, ItemFieldKind kind) {
    if (kind == ItemFieldKind::kFloat) return cells.floats.data();
    if (kind == ItemFieldKind::kUInt) return cells.uints.data();
    return cells.ints.data();
}

// One array of numbers that follow from what is stored.
HugeBuffer WorkedOut(const TDravinItemList& items, const ItemField& field) {
    size_t bytes = BytesOfNumbers(field);
    HugeBuffer numbers(items.Count() * bytes);
    ItemTableColumns columns({field.name});
    ItemTable table(items, columns);
    ParallelRanges(items.Count(), kRowsAtOnce, NumProcessors(), [&](size_t first, size_t last) {
        TableCells cells;
        ReadCells(table, 0, first, last - first, cells);
        std::memcpy(numbers.Data() + first * bytes, NumbersIn(cells, field.kind),
                    (last - first) * bytes);
    });
    return numbers;
}

}  // namespace

BuiltItems::BuiltItems(std::shared_ptr<OpenScene> scene, std::shared_ptr<TDravin> object)
    : m_scene(std::move(scene)), m_object(std::move(object)) {
    const TDravinBuild& build = m_object->Build();
    m_count = build.Items().Count();
    status = int(build.Status());
    time = build.Time();
    isRender = build.IsRender();
    TPanelMessage lines = build.Message();
    message[0] = lines[0], message[1] = lines[1];
    statistics = StatisticsOf(build.Statistics());
}

void BuiltItems::Detach() { m_own.emplace(std::move(m_object->Build().Items())); }

const TDravinItemList& BuiltItems::List() const {
    return m_own ? *m_own : m_object->Build().Items();
}

void BuiltItems::CheckReadable(const ItemField& field) const {
    if (m_own && !field.IsIn(*m_own))
        RaiseError(kExitUsage,
                   fmt::format("the field \"{}\" is worked out when it is asked for, and the "
                               "object has been built again since; read it before the next build",
                               field.name));
}

py::object BuiltItems::Field(const std::shared_ptr<BuiltItems>& self, const std::string& name) {
    const ItemField& field = FieldOf(name);
    py::object owner = py::cast(self);
    if (self->m_numbers.contains(name)) return self->Numbers(owner, field);
    Call call(&self->m_scene->GetSession());
    self->CheckReadable(field);
    py::object array = self->View(owner, field);
    if (array.is_none()) array = field.getText ? self->Texts(field) : self->Numbers(owner, field);
    call.Finish();
    return array;
}

// The first item's numbers where the list holds the field as an array would; else null.
const std::byte* BuiltItems::FirstNumber(const ItemField& field) const {
    if (m_count == 0 || !field.IsIn(List())) return nullptr;
    std::optional<size_t> place = PlaceInEntry(field);
    const std::byte* first = place ? OnePiece(List(), field) : nullptr;
    return first ? first + *place : nullptr;
}

bool BuiltItems::IsView(const std::string& name) const {
    const ItemField& field = FieldOf(name);
    Call call(&m_scene->GetSession());
    return FirstNumber(field) != nullptr;
}

py::object BuiltItems::View(const py::object& owner, const ItemField& field) const {
    const std::byte* first = FirstNumber(field);
    if (!first) return py::none();
    return ArrayOver(owner, field, m_count, field.stride, first);
}

// Made beside the interpreter, and kept under its lock: other threads look for it there.
py::object BuiltItems::Numbers(const py::object& owner, const ItemField& field) {
    auto it = m_numbers.find(field.name);
    if (it == m_numbers.end()) {
        HugeBuffer made;
        {
            py::gil_scoped_release others;
            made = PlaceIn(List(), field) ? Joined(List(), field) : WorkedOut(List(), field);
        }
        it = m_numbers.emplace(field.name, std::move(made)).first;
    }
    return ArrayOver(owner, field, m_count, BytesOfNumbers(field), it->second.Data());
}

py::object BuiltItems::Texts(const ItemField& field) {
    ItemTableColumns columns({field.name});
    ItemTable table(List(), columns);
    py::list texts;
    TableCells cells;
    for (size_t first = 0; first < m_count; first += kRowsAtOnce) {
        ReadCells(table, 0, first, std::min(kRowsAtOnce, m_count - first), cells);
        for (const std::string& text : cells.texts) texts.append(text);
    }
    return texts;
}

void BindItems(py::module_& m) {
    using Self = std::shared_ptr<BuiltItems>;
    py::class_<BuiltItems, Self>(m, "BuiltItems")
        .def("__len__", &BuiltItems::Count)
        .def("field", &BuiltItems::Field)
        .def("is_view", &BuiltItems::IsView)
        .def_readonly("status", &BuiltItems::status)
        .def_readonly("time", &BuiltItems::time)
        .def_readonly("render", &BuiltItems::isRender)
        .def_property_readonly(
            "message",
            [](const Self& self) { return py::make_tuple(self->message[0], self->message[1]); })
        .def_readonly("statistics", &BuiltItems::statistics);
    m.def("item_fields", [] {
        std::vector<std::string> names;
        for (const ItemField& field : ItemFields()) names.push_back(field.name);
        return names;
    });
}
