#include "Dravin/effects/effect_parameters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include "Dravin/curves/curve_set.h"
#include "Dravin/effects/effect_kinds.h"
#include "Dravin/effects/effect_list.h"
#include "Dravin/effects/tavuvm_expr/language.h"
#include "host/params/restore.h"

using namespace effectParams;

namespace {

std::vector<PBColumn> Columns() {
    std::vector<PBColumn> columns;
    for (ParamID id : EffectParameterColumns()) columns.push_back({id, {}});
    return columns;
}

TCurveSet* CurvesOf(const IParamBlock2& block) {
    ReferenceMaker* owner = block.GetOwner();
    return owner ? dynamic_cast<TCurveSet*>(owner->GetReference(kSlotEffectCurves).get()) : nullptr;
}

}  // namespace

TEffectStep::TEffectStep(IParamBlock2& block, const char* name, const Mark& mark)
    : m_step(name), m_mark(mark) {
    RecordMark(block, mark);
}

TEffectStep::~TEffectStep() {
    if (m_mark) m_mark();
}

void RecordMark(IParamBlock2& block, const TEffectStep::Mark& mark) {
    if (mark) RecordExchange(block, [mark] { mark(); });
}

int DrawForId() {
    static thread_local std::mt19937 generator{std::random_device{}()};
    return int(generator() & 32767);
}

std::string MakeEffectId(const TIdDraw& draw) {
    std::string id = "{";
    for (int length : {8, 4, 4, 4, 12}) {
        if (id.size() > 1) id += '-';
        for (int i = 0; i < length; ++i) id += "0123456789abcdef"[draw() * 16 / 32768];
    }
    return id + '}';
}

std::string MakeFreshId(const IParamBlock2& block, ParamID list, const TIdDraw& draw) {
    auto isTaken = [&](const std::string& id) {
        for (int i = 0; i < block.Count(list); ++i)
            if (block.GetString(list, 0, i) == id) return true;
        return false;
    };
    std::string id = MakeEffectId(draw);
    while (isTaken(id)) id = MakeEffectId(draw);
    return id;
}

TEffectParameters::TEffectParameters(std::shared_ptr<IParamBlock2> block, TEffectStep::Mark mark)
    : m_block(block), m_rows(block, Columns()), m_mark(std::move(mark)) {}

// --- rows

std::vector<int> TEffectParameters::RowsOf(const std::string& effectId) const {
    std::vector<int> rows;
    for (int i = 0; i < std::min(Count(), m_block->Count(kEfpaeffid)); ++i)
        if (m_block->GetString(kEfpaeffid, 0, i) == effectId) rows.push_back(i);
    return rows;
}

int TEffectParameters::Find(const std::string& id) const {
    for (int row = 0; row < Count(); ++row)
        if (m_block->GetString(kEfpaid, 0, row) == id) return row;
    return -1;
}

int TEffectParameters::FindName(const std::string& effectId, const std::string& name) const {
    std::string wanted = tavuvm_expr::folded(name);
    for (int row : RowsOf(effectId))
        if (tavuvm_expr::folded(m_block->GetString(kEfpaname, 0, row)) == wanted) return row;
    return -1;
}

void TEffectParameters::Rearrange(const char* name, const std::function<std::vector<int>()>& work) {
    TEffectStep step(*m_block, name, m_mark);
    m_rows.EnsureRows(Count());
    TCurveSet* curves = CurvesOf(*m_block);
    std::vector<std::vector<CurvePoint>> before;
    for (int i = 0; curves && i < curves->GetNumCurves(); ++i) before.push_back(curves->Points(i));
    std::vector<int> places = work();
    if (!curves) return;
    ReferenceMaker& owner = *m_block->GetOwner();
    curves->SetNumCurves(int(places.size()));
    for (int i = 0; i < int(places.size()); ++i) {
        bool isKept = places[size_t(i)] >= 0 && size_t(places[size_t(i)]) < before.size();
        if (!isKept)
            ResetEffectCurve(owner, kSlotEffectCurves, i);
        else if (const auto& points = before[size_t(places[size_t(i)])];
                 !(curves->Points(i) == points))
            curves->SetPoints(i, points);
    }
}

int TEffectParameters::Add(const std::string& effectId, const std::string& name, int kind) {
    int row = Count();
    Rearrange("Add Parameter", [&] {
        std::vector<int> places(size_t(row) + 1);
        std::iota(places.begin(), places.end(), 0);
        places.back() = -1;
        std::string id = MakeFreshId(*m_block, kEfpaid);
        m_rows.Insert(row);
        const TEffectKind& k = kEffectKinds[kind];
        m_block->SetValue(kEfpaid, 0, id, row);
        m_block->SetValue(kEfpaeffid, 0, effectId, row);
        m_block->SetValue(kEfpaname, 0, name, row);
        m_block->SetValue(kEfpatype, 0, k.type, row);
        m_block->SetValue(kEfpanumtype, 0, k.numType, row);
        return places;
    });
    m_rows.Select({row});
    return row;
}

void TEffectParameters::Delete(const std::vector<int>& rows) {
    if (rows.empty()) return;
    Rearrange("Delete Parameter", [&] {
        std::vector<int> places;
        for (int i = 0; i < Count(); ++i)
            if (std::find(rows.begin(), rows.end(), i) == rows.end()) places.push_back(i);
        m_rows.Delete(rows);
        return places;
    });
}

bool TEffectParameters::Move(int row, bool up) {
    std::vector<int> own = RowsOf(m_block->GetString(kEfpaeffid, 0, row));
    auto at = std::find(own.begin(), own.end(), row);
    if (at == own.end() || (up ? at == own.begin() : at + 1 == own.end())) return false;
    int to = up ? at[-1] : at[1];
    Rearrange("Move Parameter", [&] {
        std::vector<int> places(static_cast<size_t>(Count()));
        std::iota(places.begin(), places.end(), 0);
        auto first = places.begin();
        if (row < to)
            std::rotate(first + row, first + row + 1, first + to + 1);
        else
            std::rotate(first + to, first + row, first + row + 1);
        m_rows.Move(row, to);
        return places;
    });
    return true;
}

// --- values

void TEffectParameters::Put(int row, ParamID id, ParamValue value, const char* name) {
    TEffectStep step(*m_block, name, m_mark);
    m_rows.EnsureRows(row + 1);
    m_block->SetValue(id, 0, std::move(value), row);
}

void TEffectParameters::SetKind(int row, int kind) {
    TEffectStep step(*m_block, "Change Parameter", m_mark);
    m_rows.EnsureRows(row + 1);
    m_block->SetValue(kEfpatype, 0, kEffectKinds[kind].type, row);
    m_block->SetValue(kEfpanumtype, 0, kEffectKinds[kind].numType, row);
}

void TEffectParameters::SetName(int row, const std::string& name) {
    Put(row, kEfpaname, name, "Rename Parameter");
}

void TEffectParameters::SetDescription(int row, const std::string& text) {
    Put(row, kEfpadesc, text, "Describe Parameter");
}

ParamValue TEffectParameters::NumberValue(int row, double value) const {
    if (EffectKindOfRow(*m_block, row) != 0) return float(value);
    constexpr double kLowest = std::numeric_limits<int32_t>::min();
    constexpr double kHighest = std::numeric_limits<int32_t>::max();
    return int32_t(std::clamp(std::trunc(value), kLowest, kHighest));
}

void TEffectParameters::SetNumber(int row, double value) {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind < 0 || !kEffectKinds[kind].IsNumber()) return;
    const TEffectKind& k = kEffectKinds[kind];
    if (m_block->GetInt(kEfpalimit, 0, row)) {
        auto bound = [&](ParamID id) {
            return kind == 0 ? double(m_block->GetInt(id, 0, row))
                             : double(m_block->GetFloat(id, 0, row));
        };
        double a = bound(k.min), b = bound(k.max);
        value = std::clamp(value, std::min(a, b), std::max(a, b));
    }
    Put(row, k.value, NumberValue(row, value), "Change Parameter");
}

double TEffectParameters::Number(int row) const {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind < 0 || !kEffectKinds[kind].IsNumber()) return 0;
    ParamID id = kEffectKinds[kind].value;
    return kind == 0 ? m_block->GetInt(id, 0, row) : double(m_block->GetFloat(id, 0, row));
}

void TEffectParameters::SetLimits(int row, bool on, double min, double max) {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind < 0 || !kEffectKinds[kind].IsNumber()) return;
    TEffectStep step(*m_block, "Limit Parameter", m_mark);
    m_rows.EnsureRows(row + 1);
    m_block->SetValue(kEfpalimit, 0, on, row);
    m_block->SetValue(kEffectKinds[kind].min, 0, NumberValue(row, std::min(min, max)), row);
    m_block->SetValue(kEffectKinds[kind].max, 0, NumberValue(row, std::max(min, max)), row);
    if (on) SetNumber(row, Number(row));
}

void TEffectParameters::SetDefault(int row, double value) {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind >= 0 && kEffectKinds[kind].IsNumber())
        Put(row, kEffectKinds[kind].def, NumberValue(row, value), "Change Default");
}

void TEffectParameters::ResetToDefault(int row) {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind < 0 || !kEffectKinds[kind].IsNumber()) return;
    m_rows.EnsureRows(row + 1);
    ParamID def = kEffectKinds[kind].def;
    SetNumber(row,
              kind == 0 ? m_block->GetInt(def, 0, row) : double(m_block->GetFloat(def, 0, row)));
}

void TEffectParameters::SetTarget(int row, std::shared_ptr<ReferenceTarget> target) {
    int kind = EffectKindOfRow(*m_block, row);
    if (kind < 0 || kEffectKinds[kind].IsNumber() || kEffectKinds[kind].type == kEffCurve) return;
    Put(row, kEffectKinds[kind].value, std::move(target), "Change Parameter");
}

bool TEffectParameters::SetCurve(int row, std::vector<CurvePoint> points) {
    if (!CurvesOf(*m_block) || m_block->GetInt(kEfpatype, 0, row) != kEffCurve) return false;
    TEffectStep step(*m_block, "Edit Curve", m_mark);
    m_rows.EnsureRows(row + 1);
    TCurveSet& curves =
        EnsureCurveSet(*m_block->GetOwner(), kSlotEffectCurves, Count(), kEffectCurveDefaults);
    curves.SetPoints(row, std::move(points));
    m_block->SetValue(kEfpacurve, 0, CurveSetToXml(&curves, row), row);
    return true;
}

void TEffectParameters::StoreCurves() {
    TCurveSet* curves = CurvesOf(*m_block);
    TEffectStep step(*m_block, "Store Curves", m_mark);
    m_rows.EnsureRows(Count());
    for (int row = 0; curves && row < std::min(Count(), curves->GetNumCurves()); ++row)
        if (m_block->GetInt(kEfpatype, 0, row) == kEffCurve)
            m_block->SetValue(kEfpacurve, 0, CurveSetToXml(curves, row), row);
}
