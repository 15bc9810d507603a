#include "Dravin/build/edited_items.h"

#include <algorithm>
#include <cmath>

#include "Dravin/build/dravin_build.h"

namespace {

constexpr float kDegrees = 57.29577951f;
constexpr uint32_t kNone = 0xffffffff;

// Rows of unit length, without a translation.
Matrix3 TurnOf(const Matrix3& m) {
    Matrix3 turn;
    for (int i = 0; i < 3; ++i) turn.row[i] = Normalize(m.row[i]);
    return turn;
}

int RowOf(int geometry) { return geometry < 1 ? 0 : geometry - 1; }

// The factor that makes `now` into `wanted`; 1 where there is none.
float Factor(float wanted, float now) {
    float factor = wanted / now;
    return wanted > 0 && now > 0 && std::isfinite(factor) ? factor : 1;
}

}  // namespace

Point3 EulerDegreesOf(const Matrix3& m) {
    // The product of the three turns has (cos y cos z, cos y sin z, -sin y) as its first row, and
    // cos y times (sin x, cos x) at the ends of the others.
    float y = std::asin(std::clamp(-m.row[0].z, -1.0f, 1.0f));
    constexpr float kRightAngle = 0.999999f;
    if (std::abs(m.row[0].z) > kRightAngle)
        return {std::atan2(-m.row[2].y, m.row[1].y) * kDegrees, y * kDegrees, 0};
    return Point3{std::atan2(m.row[1].z, m.row[2].z), y, std::atan2(m.row[0].y, m.row[0].x)} *
           kDegrees;
}

bool TEditedItems::IsEditing() const {
    return m_object.Block(kEditionParams).GetInt(editionParams::kMode, m_time) == 1;
}

const TStoredItem* TEditedItems::Stored(int n) const {
    const auto& items = m_object.StoredItems();
    return IsEditing() && n >= 0 && size_t(n) < items.size() ? &items[size_t(n)] : nullptr;
}

template <class Change>
void TEditedItems::ChangeItem(int n, const Change& change) {
    if (!Stored(n)) return;
    std::vector<TStoredItem> items = m_object.StoredItems();
    change(items[size_t(n)]);
    m_object.SetStoredItems(std::move(items));
}

bool TEditedItems::NeedsBuild() const {
    const TDravinBuild& build = m_object.Build();
    return !build.Validity().Contains(m_time) ||
           build.Items().Count() != m_object.StoredItems().size();
}

void TEditedItems::Update() {
    TBuildFlags flags;
    flags.noMesh = flags.noLimit = flags.noCameraLimit = true;
    m_object.Build().BuildMesh(m_time, flags);
}

std::optional<TDravinItem> TEditedItems::Built(int n) {
    if (!Stored(n)) return std::nullopt;
    if (NeedsBuild()) Update();
    if (NeedsBuild()) return std::nullopt;  // it failed
    return m_object.Build().Items().Item(size_t(n));
}

int TEditedItems::Count() const {
    return int(IsEditing() ? m_object.StoredItems().size() : m_object.Build().Items().Count());
}

void TEditedItems::Create(const Point3& p, float width, float height, int geometry) {
    if (!IsEditing()) return;
    std::vector<TStoredItem> items = m_object.StoredItems();
    TStoredItem item;
    item.storedPosition = p;
    item.specimenIndex = RowOf(geometry);
    // Items that are made one after the other look different.
    item.seed = items.empty() ? 1 : items.back().seed + 1;
    items.push_back(item);
    m_object.SetStoredItems(std::move(items));
    int last = Count() - 1;
    SetWidth(last, width);
    SetHeight(last, height);
}

void TEditedItems::Delete(int n) {
    if (!Stored(n)) return;
    std::vector<TStoredItem> items = m_object.StoredItems();
    items.erase(items.begin() + n);
    m_object.SetStoredItems(std::move(items));
}

void TEditedItems::Edit(int n, float width, float height, int geometry, uint32_t seed) {
    ChangeItem(n, [&](TStoredItem& item) {
        item.specimenIndex = RowOf(geometry);
        item.seed = seed;
    });
    SetWidth(n, width);
    SetHeight(n, height);
}

void TEditedItems::Move(int n, const Point3& p) {
    ChangeItem(n, [&](TStoredItem& item) { item.storedPosition = p; });
}

// An item's turn is made of what its rules do to it and of its frame: turn = rules * frame. The
// frame that gives another turn under the same rules is frame * inverse(turn) * wanted.
void TEditedItems::SetRotation(int n, const Point3& degrees) {
    std::optional<TDravinItem> built = Built(n);
    if (!built) return;
    Matrix3 wanted = EulerDegreesToMatrix(degrees);
    Matrix3 back = Inverse(TurnOf(built->transform));
    ChangeItem(n, [&](TStoredItem& item) {
        item.sourceTransform = item.sourceTransform * back * wanted;
        item.sourceTransform.NoTrans();
    });
}

void TEditedItems::Scale(int n, const Point3& factors) {
    ChangeItem(n, [&](TStoredItem& item) {
        for (int i = 0; i < 3; ++i) item.sizeFactor[i] *= factors[i];
    });
}

void TEditedItems::SetWidth(int n, float width) {
    float factor = Factor(width, Size(n).x);
    Scale(n, {factor, factor, 1});
}

void TEditedItems::SetHeight(int n, float height) { Scale(n, {1, 1, Factor(height, Size(n).z)}); }

void TEditedItems::SetSize(int n, const Point3& size) {
    Point3 now = Size(n);
    Scale(n, {Factor(size.x, now.x), Factor(size.y, now.y), Factor(size.z, now.z)});
}

void TEditedItems::SetGeometry(int n, int geometry) {
    ChangeItem(n, [&](TStoredItem& item) { item.specimenIndex = RowOf(geometry); });
}

void TEditedItems::SetSeed(int n, uint32_t seed) {
    ChangeItem(n, [&](TStoredItem& item) { item.seed = seed; });
}

Point3 TEditedItems::Position(int n) const {
    const TStoredItem* item = Stored(n);
    return item ? item->storedPosition : Point3{};
}

Point3 TEditedItems::Size(int n) {
    std::optional<TDravinItem> item = Built(n);
    return item ? Point3{item->width, item->depth, item->height} : Point3{};
}

Point3 TEditedItems::Rotation(int n) {
    std::optional<TDravinItem> item = Built(n);
    return item ? EulerDegreesOf(TurnOf(item->transform)) : Point3{};
}

Matrix3 TEditedItems::FullTransform(int n) {
    std::optional<TDravinItem> item = Built(n);
    return item ? item->fullTransform : Matrix3();
}

uint32_t TEditedItems::Geometry(int n) const {
    const TStoredItem* item = Stored(n);
    return item ? uint32_t(item->specimenIndex) + 1 : kNone;
}

uint32_t TEditedItems::Seed(int n) const {
    const TStoredItem* item = Stored(n);
    return item ? item->seed : kNone;
}

std::vector<int> TEditedItems::Selected() const {
    std::vector<int> selected;
    for (int n = 0; const TStoredItem* item = Stored(n); ++n)
        if (item->selected) selected.push_back(n);
    return selected;
}
