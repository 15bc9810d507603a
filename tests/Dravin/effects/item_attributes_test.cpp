#include "Dravin/effects/item_attributes.h"

#include <bit>
#include <map>

#include <gtest/gtest.h>

#include "Dravin/engine/item_list.h"
#include "tests/Dravin/engine/test_input.h"

namespace {

TEST(ItemAttributes, TheTableOfTheStructure) {
    auto table = ItemAttributes();
    ASSERT_EQ(table.size(), 44u);
    int writable = 0;
    for (const TItemAttribute& a : table) writable += a.write != nullptr;
    EXPECT_EQ(writable, 18);
    EXPECT_STREQ(table[0].name, "position");
    EXPECT_STREQ(table[43].name, "particleScale");
}

// A lane of an item before everything.
struct FreshLane {
    TSpecimen specimen = CubeSpecimen();
    TItemLanes lanes{2, kGroupSource, false};
    std::unique_ptr<TCells> cells = std::make_unique<TCells>();
    TEffectOutcome outcome;
    TBuildInput input;

    FreshLane() {
        lanes.count = 2;
        for (size_t k = 0; k < 2; ++k) lanes.Reset(k, specimen);
    }
    TAttributeSource Source() const { return {lanes, *cells, 1, outcome, input}; }
};

TEST(ItemAttributes, AFreshItem) {
    FreshLane fresh;
    TAttributeSource source = fresh.Source();
    const std::map<std::string, std::string> expected = {{"visible", "1"},
                                                         {"scale", "[1,1,1]"},
                                                         {"areaIncDistance", "2.14748365e+09"},
                                                         {"zrotaxis", "[0,0,1]"},
                                                         {"particleScale", "[1,1,1]"}};
    size_t checked = 0;
    for (const TItemAttribute& a : ItemAttributes())
        if (auto it = expected.find(a.name); it != expected.end()) {
            EXPECT_EQ(a.read(source).text(), it->second) << a.name;
            ++checked;
        }
    EXPECT_EQ(checked, expected.size());
}

// Two items whose every field differs from that of a fresh one, and from each other.
struct VariedLanes : FreshLane {
    std::vector<TEffectOutcome> outcomes = std::vector<TEffectOutcome>(2);

    VariedLanes() {
        specimen.frames = {{0, 3}, {1, 4}, {2, 5}};
        specimen.colorId = {0.25f, 0.5f, 0.75f};
        specimen.probability = 40;
        input.specimens = {specimen, specimen};
        float next = 1;
        for (size_t k = 0; k < 2; ++k) {
            auto point = [&] { return Point3{next++, next++, next++}; };
            TItemLanes& l = lanes;
            for (TPointLane* lane :
                 {&l.position, &l.rotation, &l.axisX, &l.axisY, &l.axisZ, &l.scale, &l.tint,
                  &l.faceNormal, &l.falloffScale, &l.size, &l.normal})
                lane->Set(k, point());
            for (TLane<float>* lane : {&l.collisionRadius, &l.collisionHeight, &l.tintBlend})
                (*lane)[k] = next++;
            l.mapCoordinates[k] = point();
            l.borders[k] = {next++, next++, point(), point()};
            l.animation[k] = int32_t(k);
            l.row[k] = int32_t(k);
            l.cell[k] = uint32_t(k);
            ItemSource& from = l.from[k];
            from.userId = int32_t(next++);
            from.particleAge = int32_t(next++);
            from.particleEventId = int32_t(next++);
            from.pathPosition = next++;
            from.pathTangent = point();
            from.particleSpeed = point();
            from.particleRotation = point();
            from.particleScale = point();
            for (auto& word : cells->hash) word[k] = uint32_t(next++);
        }
    }
    TAttributeSource Source(size_t k) const { return {lanes, *cells, k, outcomes[k], input}; }
    TAttributeTarget Target(size_t k) { return {lanes, k, outcomes[k], input}; }
    TAttributeBatch Batch(std::span<const uint32_t> items, std::span<const uint32_t> places) {
        return {lanes, *cells, outcomes, input, items, places};
    }
};

int NumParts(const TItemAttribute& a) { return a.type == tavuvm_expr::type_code::vector ? 3 : 1; }

// Integers stand in their lane as they are.
tavuvm_expr::value InLanes(const TItemAttribute& a, const float (&numbers)[3][4], size_t place) {
    if (a.type == tavuvm_expr::type_code::integer) return std::bit_cast<int32_t>(numbers[0][place]);
    if (a.type == tavuvm_expr::type_code::real) return numbers[0][place];
    return tavuvm_expr::vector3{numbers[0][place], numbers[1][place], numbers[2][place]};
}

TEST(ItemAttributes, BatchesReadWhatSingleItemsRead) {
    VariedLanes varied;
    const uint32_t items[] = {0, 1}, places[] = {3, 1};
    for (const TItemAttribute& a : ItemAttributes()) {
        float numbers[3][4] = {};
        TAttributeLanes to;
        for (int p = 0; p < NumParts(a); ++p) to.part[p] = numbers[p];
        a.readAll(varied.Batch(items, places), to);
        for (size_t i = 0; i < 2; ++i) {
            tavuvm_expr::value read = a.read(varied.Source(i));
            EXPECT_TRUE(InLanes(a, numbers, places[i]).identical(read)) << a.name;
        }
    }
}

// Everything that can be read of an item, written in one way or the other, is the same.
TEST(ItemAttributes, BatchesWriteWhatSingleItemsWrite) {
    using tavuvm_expr::type_code;
    const uint32_t items[] = {0, 1}, places[] = {1, 2};
    const float numbers[3][4] = {{9, 0.5f, 1.5f, 9}, {9, -2, 0.25f, 9}, {9, 7, 4, 9}};
    const int32_t integers[4] = {9, 1, 0, 9};
    for (const TItemAttribute& written : ItemAttributes()) {
        if (!written.write) continue;
        VariedLanes together, alone;
        TAttributeResults from;
        for (int p = 0; p < NumParts(written); ++p) from.part[p] = {numbers[p], 1};
        if (written.type == type_code::integer) from.part[0] = {integers, 1};
        written.writeAll(together.Batch(items, places), from);
        for (size_t i = 0; i < 2; ++i) {
            tavuvm_expr::value v = written.type == type_code::integer
                                       ? tavuvm_expr::value(integers[places[i]])
                                       : InLanes(written, numbers, places[i]);
            written.write(alone.Target(i), v);
        }
        for (const TItemAttribute& a : ItemAttributes())
            for (size_t k = 0; k < 2; ++k)
                EXPECT_TRUE(a.read(together.Source(k)).identical(a.read(alone.Source(k))))
                    << written.name << " seen in " << a.name;
    }
}

// Lists without the group of sources hold what an item has before everything.
TEST(ItemAttributes, WithoutSourcesTheirDefaultsAreRead) {
    FreshLane fresh;
    TItemLanes bare(2, 0, false);
    bare.count = 2;
    for (size_t k = 0; k < 2; ++k) bare.Reset(k, fresh.specimen);
    for (const TItemAttribute& a : ItemAttributes())
        EXPECT_TRUE(a.read({bare, *fresh.cells, 1, fresh.outcome, fresh.input})
                        .identical(a.read(fresh.Source())))
            << a.name;
}

// Batches read columns where single items read values.
TEST(ItemAttributes, ColumnsHoldWhatIsRead) {
    FreshLane fresh;
    TItemLanes& l = fresh.lanes;
    float next = 1;
    for (TPointLane* lane : {&l.position, &l.rotation, &l.axisX, &l.axisY, &l.axisZ, &l.scale,
                             &l.tint, &l.faceNormal, &l.falloffScale}) {
        lane->Set(1, {next, next + 1, next + 2});
        next += 3;
    }
    for (TLane<float>* lane : {&l.collisionRadius, &l.collisionHeight, &l.tintBlend})
        (*lane)[1] = next++;
    size_t numColumns = 0;
    for (const TItemAttribute& a : ItemAttributes()) {
        if (!a.column) continue;
        ++numColumns;
        TAttributeColumn column = a.column(l);
        tavuvm_expr::value read = a.read(fresh.Source());
        if (a.type == tavuvm_expr::type_code::real) {
            EXPECT_EQ(column.part[0][1], read.real()) << a.name;
            continue;
        }
        tavuvm_expr::vector3 v = read.vector();
        EXPECT_EQ(column.part[0][1], v.x) << a.name;
        EXPECT_EQ(column.part[1][1], v.y) << a.name;
        EXPECT_EQ(column.part[2][1], v.z) << a.name;
    }
    EXPECT_EQ(numColumns, 12u);
}

}  // namespace
