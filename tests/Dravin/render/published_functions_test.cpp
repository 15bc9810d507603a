// What scripts and bindings reach by interface, number and name.
#include <gmock/gmock.h>

#include <filesystem>

#include "Dravin/render/ui_interface.h"
#include "tests/Dravin/render/render_fixture.h"
#include "tests/temp_folder.h"

namespace {

using testing::HasSubstr;

class PublishedFunctions : public RenderFixture {
protected:
    FPInterface& Static() { return *host.State<StaticInterfaces>().Find({0x5c920a09, 0x6ce40001}); }
};

TEST_F(PublishedFunctions, InterfacesHaveTheirNumbers) {
    FPInterface* trees = InterfaceOf(*object, {0x6afe7c5e, 0x15813e00});
    ASSERT_TRUE(trees);
    EXPECT_STREQ(trees->Name(), "trees");
    EXPECT_EQ(trees->Kind(), FPKind::kMixin);
    FPInterface* ui = InterfaceOf(*object, {0x74c42f67, 0x1a98266c});
    ASSERT_TRUE(ui);
    EXPECT_STREQ(ui->Name(), "ui");
    EXPECT_EQ(InterfaceOf(*object, {1, 2}), nullptr);
    EXPECT_EQ(InterfaceOf(*box->ShareObjectRef(), ITreesInterface::kId), nullptr);
    EXPECT_EQ(host.State<StaticInterfaces>().Find("DravinPack"), &Static());
    EXPECT_EQ(Static().Kind(), FPKind::kStatic);
}

// Numbers and names as renderers and scripts hold them.
TEST_F(PublishedFunctions, FunctionsHaveTheirNumbers) {
    struct Row {
        int id;
        const char* name;
        size_t arguments;
    };
    constexpr Row kTrees[] = {{0, "create", 4},
                              {1, "delete", 1},
                              {2, "edit", 5},
                              {3, "count", 0},
                              {4, "move", 2},
                              {13, "setPosition", 2},
                              {14, "setRotation", 2},
                              {15, "setWidth", 2},
                              {16, "setHeight", 2},
                              {17, "setSize", 2},
                              {18, "setGeomID", 2},
                              {19, "setSeed", 2},
                              {6, "getPosition", 1},
                              {7, "getWidth", 1},
                              {8, "getHeight", 1},
                              {9, "getSize", 1},
                              {10, "getRotation", 1},
                              {11, "getGeomID", 1},
                              {12, "getSeed", 1},
                              {21, "getFullTransform", 1},
                              {34, "getSelected", 0},
                              {20, "update", 0},
                              {22, "update_ui", 0},
                              {23, "getRenderID", 1},
                              {24, "getRenderNode", 1},
                              {25, "getRenderNodes", 0},
                              {26, "clearRenderNodes", 0},
                              {29, "getRenderData", 3}};
    constexpr Row kPack[] = {{0, "registerEngine", 0},    {1, "exportData", 2},
                             {2, "setEngineFeatures", 1}, {3, "openLister", 0},
                             {31, "getRenderDataRaw", 0}, {32, "clearRenderDataRaw", 0},
                             {33, "version", 0}};
    auto check = [](const FPInterface& interface, std::span<const Row> rows) {
        ASSERT_EQ(interface.Functions().size(), rows.size());
        for (const Row& row : rows) {
            const FPFunction* function = interface.Find(row.id);
            ASSERT_TRUE(function) << row.name;
            EXPECT_STREQ(function->name, row.name);
            EXPECT_EQ(function->arguments.size(), row.arguments) << row.name;
            EXPECT_EQ(interface.Find(row.name), function);
        }
    };
    check(Trees(), kTrees);
    check(Static(), kPack);
}

TEST_F(PublishedFunctions, OthersAreUnknown) {
    for (int id : {-1, 4, 30, 34, 1000})
        EXPECT_EQ(Static().Call(id, {}).status, FPStatus::kUnknownFunction) << id;
    for (int id : {5, 27, 28, 30, 33})
        EXPECT_EQ(Trees().Call(id, {}).status, FPStatus::kUnknownFunction) << id;
    EXPECT_EQ(Static().Call("nothing", {}).status, FPStatus::kUnknownFunction);
}

TEST_F(PublishedFunctions, ArgumentsAreChecked) {
    FPResult few = Trees().Call("move", {int32_t{0}});
    EXPECT_EQ(few.status, FPStatus::kBadArguments);
    EXPECT_THAT(few.error, HasSubstr("move(int n, point3 p)"));
    EXPECT_EQ(Trees().Call("move", {std::string("0"), Point3{}}).status, FPStatus::kBadArguments);
    // A whole number stands in for a number.
    EXPECT_EQ(Trees().Call("setWidth", {int32_t{0}, int32_t{2}}).status, FPStatus::kDone);
}

TEST_F(PublishedFunctions, VersionIs600) {
    EXPECT_EQ(std::get<int32_t>(Static().Call(33, {}).values.at(0)), 600);
    EXPECT_EQ(Pack().version(), 600);
}

TEST_F(PublishedFunctions, ItemsAreEditedInCustomEditModeOnly) {
    auto seed = [&](int n) {
        return std::get<int64_t>(Trees().Call("getSeed", {int32_t(n)}).values.at(0));
    };
    Run();
    Trees().Call("setSeed", {int32_t{0}, int32_t{77}});
    EXPECT_EQ(seed(0), 0xFFFFFFFF);
    EXPECT_EQ(std::get<int32_t>(Trees().Call("count", {}).values[0]),
              int32_t(object->Build().Items().Count()));
    Set(kEditionParams, editionParams::kMode, 1);
    Trees().Call("setSeed", {int32_t{0}, int32_t{77}});
    EXPECT_EQ(seed(0), 77);
    for (int32_t row : {0, 1}) {
        Trees().Call("setGeomID", {int32_t{0}, row});
        EXPECT_EQ(std::get<int32_t>(Trees().Call("getGeomID", {int32_t{0}}).values[0]), 1);
    }
    EXPECT_EQ(seed(-1), 0xFFFFFFFF);
}

TEST_F(PublishedFunctions, RollupsFollowTheirBits) {
    TempFolder folder;
    std::string old = std::getenv("XDG_CONFIG_HOME") ? std::getenv("XDG_CONFIG_HOME") : "";
    setenv("XDG_CONFIG_HOME", folder.File("").c_str(), 1);
    FPInterface& ui = *InterfaceOf(*object, IUInterface::kId);
    EXPECT_EQ(ui.Call("setRollup", {int64_t{0b101}}).status, FPStatus::kDone);
    TOptions options = LoadOptions(OptionsFile());  // they are saved
    old.empty() ? unsetenv("XDG_CONFIG_HOME") : setenv("XDG_CONFIG_HOME", old.c_str(), 1);
    EXPECT_EQ(DravinGlobals().options.rollupDist, 0);
    EXPECT_EQ(options.rollupGeom, 1);
    EXPECT_EQ(options.rollupDist, 0);
    EXPECT_EQ(options.rollupAreas, 1);
    EXPECT_EQ(options.rollupAbout, 0);
}

TEST_F(PublishedFunctions, ExportSaysHowItWent) {
    TempFolder folder;
    EXPECT_EQ(Pack().exportData("", "index"), 1);
    std::string path = folder.File("items.xml");
    EXPECT_EQ(Pack().exportData(path, "index"), 2);  // nothing is selected
    scene.Select(std::vector<INode*>{node});
    EXPECT_EQ(Pack().exportData(path, "index,nonsense"), 0);
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_TRUE(Logged("exportData: there is no field \"nonsense\""));
    EXPECT_EQ(Pack().exportData(folder.File("none/items.xml"), "index"), 2);
}

TEST_F(PublishedFunctions, TheListerIsPrinted) {
    Pack().openLister();
    ASSERT_EQ(user->listener.size(), 2u);
    EXPECT_THAT(user->listener[0], testing::StartsWith("Object\tGeometry\t"));
    EXPECT_THAT(user->listener[1], testing::StartsWith("scatter\t1 model\t"));
}

TEST_F(PublishedFunctions, RawTableHasAnEntryASource) {
    TRawRenderTable* before = Pack().getRenderDataRaw();
    EXPECT_EQ(before->count, 0u);  // nothing is built
    AddTemplateRow();
    Run(Render());
    TRawRenderTable* table = Pack().getRenderDataRaw();
    EXPECT_EQ(table, before);
    ASSERT_EQ(table->count, 2u);
    const TRawRenderEntry& boxes = table->entries[0];
    EXPECT_EQ(boxes.source, uint32_t(reinterpret_cast<uintptr_t>(box.get())));
    EXPECT_EQ(boxes.numElements, 1u);  // all sides of a box share edges
    EXPECT_EQ(boxes.values.count, 1u);
    std::vector<uint32_t> seeds, wanted;
    for (const TDravinItem& item : Items())
        if (item.specimenIndex == 0 && !item.discarded) wanted.push_back(item.seed);
    for (size_t i = 0; i < boxes.items.count; ++i) seeds.push_back(boxes.items.data[i].seed);
    EXPECT_EQ(seeds, wanted);
    EXPECT_FALSE(wanted.empty());
    Pack().clearRenderDataRaw();
    EXPECT_EQ(table->count, 2u);
    EXPECT_EQ(boxes.items.count + boxes.values.count, 0u);
}

TEST(RawArray, GrowsByHalfThenBySteps) {
    using Array = TRawArray<uint32_t>;
    EXPECT_EQ(Array::Grown(100, 101), 150u);
    EXPECT_EQ(Array::Grown(100, 400), 400u);
    EXPECT_EQ(Array::Grown(16384, 16385), 32768u);  // 64 KB are 16384 words
    EXPECT_EQ(Array::Grown(0, 1), 1u);
}

}  // namespace
