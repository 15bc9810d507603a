#include "Dravin/tools/data_export.h"

#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "Dravin/build/dravin_build.h"
#include "Dravin/dravin.h"
#include "Dravin/engine/transforms.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/base/in_order.h"
#include "host/base/number_text.h"
#include "host/base/utf8.h"
#include "host/scene/node.h"
#include "host/scene/scene.h"

namespace {

using F = TExportField;

constexpr size_t kItemsInPiece = 2048;

// Text inside quotes. What XML cannot hold becomes U+FFFD.
std::string Quoted(const std::string& text) {
    std::string out = "\"";
    for (char c : MendUtf8(text)) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '"')
            out += "&quot;";
        else if (c == '\t' || c == '\n' || c == '\r')
            out += fmt::format("&#{};", int(c));
        else if (uint8_t(c) < 0x20)
            out += "\xEF\xBF\xBD";
        else
            out += c;
    }
    return out + '"';
}

std::string_view KeyOf(F field) { return ExportFieldNames()[size_t(field)].key; }

// Attributes of one item at the end of a text, those fields that are on.
class AttributeWriter {
public:
    AttributeWriter(const TExportFields& fields, TextBuffer& text)
        : m_fields(fields), m_text(text) {}

    void Text(std::string_view text) {
        std::copy(text.begin(), text.end(), m_text.Room(text.size()));
        m_text.EndAt(m_text.Room(0) + text.size());
    }
    void Real(F field, float value) {
        Put(field, 1, [&](char* out) { return WriteSixDigits(out, value); });
    }
    template <class Integer>
    void Whole(F field, Integer value) {
        Put(field, 1, [&](char* out) { return WriteNumber(out, value); });
    }
    void Vector(F field, std::initializer_list<float> v) {
        Put(field, v.size(), [&](char* out) { return PutVector(out, v); });
    }
    void Vector(F field, const Point3& p) { Vector(field, {p.x, p.y, p.z}); }
    void Vector(F field, const Point2& p) { Vector(field, {p.x, p.y}); }
    void Matrix(F field, const Matrix3& m) {
        Put(field, 12, [&](char* out) {
            for (int row = 0; row < 4; ++row) {
                Point3 r = m.GetRow(row);
                if (row > 0) *out++ = ' ';
                out = PutVector(out, {r.x, r.y, r.z});
            }
            return out;
        });
    }

private:
    static char* PutVector(char* out, std::initializer_list<float> v) {
        char before = '[';
        for (float x : v) {
            *out++ = before;
            out = WriteSixDigits(out, x);
            before = ',';
        }
        *out++ = ']';
        return out;
    }
    // ` key="..."`, of up to `numbers` numbers.
    template <class Write>
    void Put(F field, size_t numbers, const Write& write) {
        if (!m_fields.Has(field)) return;
        std::string_view key = KeyOf(field);
        char* out = m_text.Room(key.size() + (numbers + 1) * (kNumberRoom + 4));
        *out++ = ' ';
        out = std::copy(key.begin(), key.end(), out);
        *out++ = '=', *out++ = '"';
        out = write(out);
        *out++ = '"';
        m_text.EndAt(out);
    }

    const TExportFields& m_fields;
    TextBuffer& m_text;
};

std::string MtlNameIn(const Scene* scene, const Mtl* mtl) {
    if (!scene || !mtl) return {};
    for (const auto& [name, held] : scene->Materials())
        if (held.get() == mtl) return name;
    return {};
}

// The attributes of all items of a row.
std::string RowAttributes(const TExportFields& fields, const TSpecEntry& entry, int row,
                          const Scene* scene) {
    TextBuffer text;
    AttributeWriter out(fields, text);
    out.Whole(F::kGeomID, int32_t(row));
    out.Whole(F::kGeomType, int32_t(entry.kind));
    out.Vector(F::kColorID, entry.colorId);
    if (fields.Has(F::kDescription)) out.Text(" description=" + Quoted(entry.name));
    out.Vector(F::kSize, {entry.width, entry.height});
    out.Real(F::kProbability, entry.probability);
    if (fields.Has(F::kMaterial))
        out.Text(" material=" + Quoted(MtlNameIn(scene, entry.material.get())));
    return std::string(text.Text());
}

// Where an item stands and how it is turned.
void PutPlace(AttributeWriter& out, const TDravinItem& item, const TDravinBuild& build) {
    const TTransformSettings& settings = build.Input()->transforms;
    const Matrix3& toWorld = build.ObjectTM();
    Matrix3 local = ItemTransform(item, settings.scaleOnSlope);
    Matrix3 rotation = item.transform;
    rotation.SetTrans({});
    out.Vector(F::kPosition, item.position * toWorld);
    out.Vector(F::kLocalPosition, item.position);
    out.Whole(F::kSeed, item.seed);
    out.Vector(F::kScale, item.scale * item.sizeFactor * settings.globalScale);
    out.Matrix(F::kRotation, rotation);
    out.Matrix(F::kLocalTM, local);
    out.Matrix(F::kFinalTM, local * toWorld);
}

void PutLooks(AttributeWriter& out, const TDravinItem& item, const TDravinBuild& build) {
    const TSpecBuildList& specimens = build.Specimens();
    const TSpecBuild& row = specimens.Row(SpecimenRow(item.specimenIndex, specimens.NumRows()));
    Point3 billboard = ItemTransform(item, build.Input()->transforms.scaleOnSlope).GetRow(0);
    out.Vector(F::kTintColor, {item.tintColor.r, item.tintColor.g, item.tintColor.b});
    out.Real(F::kTintMult, item.tintBlend);
    out.Whole(F::kMirror, int32_t(item.mirrored != 0));
    out.Vector(F::kLookAtVector, item.lookAt);
    out.Vector(F::kLightVector, item.shadowDirection);
    out.Vector(F::kBillboardVector, {billboard.x, billboard.y});
    out.Real(F::kZOffset, item.zOffset);
    out.Whole(F::kAnimSample, item.animationOffset);
    out.Whole(F::kAnimOffset, int32_t(row.FrameSecond(item.animationOffset)));
}

void PutSurface(AttributeWriter& out, const TDravinItem& item) {
    out.Vector(F::kSurfNormal, item.surfaceNormal);
    out.Vector(F::kSurfDirection, item.sourceTransform.GetRow(0));
    out.Whole(F::kSurfFace, item.surfaceFace);
    out.Vector(F::kSurfBary, item.Barycentric());
}

}  // namespace

bool TDataExport::Open(const std::string& path, std::string* error) {
    if (!m_out.Open(path, error)) return false;
    m_out.Write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<DravinData version=\"1\">\n");
    return true;
}

void TDataExport::BeginObject(TDravin& object, const INode& node, TimeValue t) {
    m_build = &object.Build();
    m_numItems = 0;
    m_rows.clear();
    TTreeSpecList rows(
        std::static_pointer_cast<IParamBlock2>(object.Block(kGeomParams).shared_from_this()));
    for (int i = 0, n = rows.Count(); i < n; ++i)
        m_rows.push_back(
            RowAttributes(m_fields, rows.ReadRow(i, t, SharedGenerator()), i, node.GetScene()));
    m_out.Write(" <DravinObject name=" + Quoted(node.GetName()) + ">\n");
}

void TDataExport::Format(const TDravinItemList& items, size_t first, size_t last,
                         Piece& piece) const {
    AttributeWriter out(m_fields, piece.text);
    TDravinItem item;
    for (size_t i = first; i < last; ++i) {
        item.elementMask.Clear();
        items.ReadStored(i, &item);
        if (item.discarded || m_rows.empty()) continue;
        out.Text(m_rows[SpecimenRow(item.specimenIndex, m_rows.size())]);
        PutPlace(out, item, *m_build);
        PutLooks(out, item, *m_build);
        PutSurface(out, item);
        piece.items.push_back({uint32_t(i - first), piece.text.Size()});
    }
}

// One thread at a time, in the order of the items.
void TDataExport::Write(const Piece& piece) {
    TExportFields index = TExportFields::None();
    if (m_fields.Has(F::kIndex)) index.Add(F::kIndex);
    size_t begin = 0;
    for (const Piece::Item& item : piece.items) {
        m_line.Clear();
        AttributeWriter out(index, m_line);
        out.Text("  <Item");
        out.Whole(F::kIndex, uint32_t(m_numItems + item.index));
        out.Text(piece.text.Text().substr(begin, item.end - begin));
        out.Text("/>\n");
        m_out.Write(m_line.Text());
        begin = item.end;
    }
    m_hasFailed = m_out.HasFailed();
}

std::function<void()> TDataExport::TakeRange(const TDravinItemList& items, size_t first,
                                             size_t last) {
    std::shared_ptr<Piece> piece = m_pieces.Take();
    piece->text.Clear();
    piece->items.clear();
    if (!m_hasFailed) Format(items, first, last, *piece);
    return [this, piece, count = last - first] {
        Write(*piece);
        m_numItems += count;
        m_pieces.GiveBack(std::make_unique<Piece>(std::move(*piece)));
    };
}

std::function<void()> TDataExport::Take(const TDravinItemList& items) {
    return TakeRange(items, 0, items.Count());
}

void TDataExport::EndObject(int threads) {
    const TDravinItemList& items = m_build->Items();
    size_t count = m_build->HasStreamed() ? 0 : items.Count();  // also builds the list's index
    ParallelInOrder((count + kItemsInPiece - 1) / kItemsInPiece, threads, [&](size_t i) {
        size_t first = i * kItemsInPiece;
        return TakeRange(items, first, std::min(count, first + kItemsInPiece));
    });
    m_out.Write(" </DravinObject>\n");
}

bool TDataExport::Commit(std::string* error) {
    m_out.Write("</DravinData>\n");
    return m_out.Commit(error);
}
