#include "Dravin/curves/curve_set.h"

#include <bit>
#include <cstring>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "host/base/text.h"
#include "host/params/property.h"

static_assert(std::endian::native == std::endian::little,
              "curves are stored as they lie in memory");

namespace {

constexpr struct {
    const char* name;
    float CurvePoint::*field;
} kFields[] = {{"px", &CurvePoint::px},   {"py", &CurvePoint::py},     {"inx", &CurvePoint::inx},
               {"iny", &CurvePoint::iny}, {"outx", &CurvePoint::outx}, {"outy", &CurvePoint::outy}};

std::vector<CurvePoint> Line(const CurveDefaults& defaults) {
    return {{.px = 0, .py = defaults.yStart}, {.px = 1, .py = defaults.yEnd}};
}

std::shared_ptr<TCurveSet> SetInSlot(ReferenceMaker& owner, int slot) {
    return std::dynamic_pointer_cast<TCurveSet>(owner.GetReference(slot));
}

void WriteCurve(pugi::xml_node parent, const std::vector<CurvePoint>& points) {
    pugi::xml_node curve = parent.append_child("curve");
    for (const CurvePoint& p : points) {
        pugi::xml_node point = curve.append_child("point");
        for (const auto& [name, field] : kFields)
            point.append_attribute(name) = FormatTwelveDigits(double(p.*field)).c_str();
        point.append_attribute("flags") = fmt::format("{}", p.flags).c_str();
    }
}

std::vector<CurvePoint> ReadCurve(pugi::xml_node curve) {
    std::vector<CurvePoint> points;
    for (pugi::xml_node node : curve.children("point")) {
        CurvePoint& p = points.emplace_back();
        for (const auto& [name, field] : kFields)
            p.*field = float(ParseLeadingNumber(node.attribute(name).value()));
        p.flags = ParseLeadingInteger(node.attribute("flags").value());
    }
    return points;
}

}  // namespace

void TCurveSet::SetNumCurves(int count) {
    if (count == GetNumCurves()) return;
    Record();
    m_curves.resize(size_t(count));
    NotifyDependents();
}

void TCurveSet::SetPoints(int index, std::vector<CurvePoint> points) {
    Record();
    m_curves[size_t(index)].points = std::move(points);
    NotifyDependents();
}

// A set holds a handful of curves of a handful of points: all are kept.
void TCurveSet::Record() {
    size_t bytes = m_curves.size() * sizeof(Curve);
    for (const Curve& curve : m_curves) bytes += HeapBytes(curve.points);
    RecordExchange(
        *this,
        [this, other = m_curves]() mutable {
            std::swap(m_curves, other);
            NotifyDependents();
        },
        bytes);
}

std::shared_ptr<ReferenceTarget> TCurveSet::Clone(CloneMap&) const {
    auto copy = std::make_shared<TCurveSet>();
    copy->title = title;
    copy->editorFlags = editorFlags;
    copy->m_curves = m_curves;
    copy->xRange = xRange;
    copy->yRange = yRange;
    return copy;
}

TCurveSet& EnsureCurveSet(ReferenceMaker& owner, int slot, int count,
                          const CurveDefaults& defaults) {
    std::shared_ptr<TCurveSet> set = SetInSlot(owner, slot);
    if (!set) {
        set = std::make_shared<TCurveSet>();
        set->editorFlags = set->editorFlags | defaults.editorFlags;
    }
    for (int i = set->GetNumCurves(); i < count; ++i) {
        set->SetNumCurves(i + 1);
        set->xRange = {0, 1};
        set->yRange = {0, defaults.yMax};
        set->SetPoints(i, Line(defaults));
    }
    owner.SetReference(slot, set);
    return *set;
}

void ResetEffectCurve(ReferenceMaker& owner, int slot, int index) {
    TCurveSet& set = EnsureCurveSet(owner, slot, 0, kEffectCurveDefaults);
    if (index < 0 || index >= set.GetNumCurves()) return;
    set.xRange = {0, 1};
    set.yRange = {0, kEffectCurveDefaults.yMax};
    set.SetPoints(index, Line(kEffectCurveDefaults));
}

std::string SaveCurve(const TCurveSet& set, int index) {
    const std::vector<CurvePoint>& points = set.Points(index);
    int32_t count = int32_t(points.size());
    std::string bytes(sizeof count + points.size() * sizeof(CurvePoint), '\0');
    std::memcpy(bytes.data(), &count, sizeof count);
    if (count > 0)
        std::memcpy(bytes.data() + sizeof count, points.data(), bytes.size() - sizeof count);
    return bytes;
}

bool LoadCurve(std::string_view bytes, TCurveSet& set, int index, std::string* error,
               size_t* consumed) {
    int32_t count = 0;
    if (bytes.size() < sizeof count) {
        *error = fmt::format("a curve needs at least 4 bytes, {} are left", bytes.size());
        return false;
    }
    std::memcpy(&count, bytes.data(), sizeof count);
    size_t left = bytes.size() - sizeof count;
    if (count < 0 || size_t(count) > left / sizeof(CurvePoint)) {
        *error = fmt::format("a curve of {} points does not fit into {} bytes", count, left);
        return false;
    }
    std::vector<CurvePoint> points(static_cast<size_t>(count));
    if (count > 0)
        std::memcpy(points.data(), bytes.data() + sizeof count, points.size() * sizeof(CurvePoint));
    set.SetPoints(index, std::move(points));
    if (consumed) *consumed = sizeof count + size_t(count) * sizeof(CurvePoint);
    return true;
}

std::string CurveSetToXml(const TCurveSet* set, int index) {
    pugi::xml_document document;
    pugi::xml_node root = document.append_child("curves");
    for (int i = 0; set && i < set->GetNumCurves(); ++i)
        if (index < 0 || index == i) WriteCurve(root, set->Points(i));
    struct Writer : pugi::xml_writer {
        std::string text;
        void write(const void* data, size_t size) override {
            text.append(static_cast<const char*>(data), size);
        }
    } writer;
    document.save(writer, "\t", pugi::format_default | pugi::format_no_declaration);
    return writer.text;
}

bool CurveSetFromXml(TCurveSet& set, std::string_view text, int index) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_doctype,
                              pugi::encoding_utf8))
        return false;
    for (pugi::xml_node node : document)
        if (node.type() == pugi::node_doctype) return false;
    pugi::xml_node root = document.child("curves");
    if (!root || index >= set.GetNumCurves()) return false;

    std::vector<std::vector<CurvePoint>> lists;
    for (pugi::xml_node curve : root.children("curve")) lists.push_back(ReadCurve(curve));
    if (index < 0) set.SetNumCurves(int(lists.size()));
    for (size_t i = 0; i < lists.size(); ++i)
        set.SetPoints(index < 0 ? int(i) : index, std::move(lists[i]));
    return true;
}
