#include "Dravin/render/vray_adapter.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "tests/Dravin/render/render_fixture.h"
#include "tests/temp_folder.h"

namespace {

class VRayAdapter : public RenderFixture {
protected:
    TVRayAdapter adapter;

    void SetUp() override {
        RenderFixture::SetUp();
        setenv("DRAVIN_ADAPTERS", TEST_ADAPTERS, 1);
    }
    void TearDown() override {
        adapter.Unload();
        unsetenv("DRAVIN_ADAPTERS");
        unsetenv("TEST_VRAY_VERSION");
        RenderFixture::TearDown();
    }
    // The row that serves a version; -1 for none.
    int RowFor(const char* version) {
        setenv("TEST_VRAY_VERSION", version, 1);
        adapter.Unload();
        return adapter.Load() ? int(adapter.Row() - AdapterRows().data()) : -1;
    }
    int Ask(int number) { return reinterpret_cast<int (*)()>(adapter.Service(number))(); }
};

TEST_F(VRayAdapter, TheTableStandsAsItIs) {
    ASSERT_EQ(AdapterRows().size(), 14u);
    EXPECT_STREQ(AdapterRows()[10].library, "DravinVRay33.dll");
    EXPECT_EQ(AdapterRows()[10].mask, 0xffffff00u);
    EXPECT_EQ(AdapterRows()[9].mask, 0xfffff000u);
    // Both the same versions: the first is tried first.
    EXPECT_EQ(AdapterRows()[1].expected & AdapterRows()[1].mask,
              AdapterRows()[2].expected & AdapterRows()[2].mask);
}

TEST_F(VRayAdapter, TheFirstRowThatAcceptsServes) {
    struct Case {
        const char* version;
        int row, library;
    };
    for (const Case& c : {Case{"0x33012", 5, 35},
                          {"0x50211", 0, 50},
                          {"0x43001", 1, 43},
                          {"0x40000", 1, 43},
                          {"0x37abc", 3, 37},
                          {"0x36000", 4, 36},
                          {"0x31fff", 12, 31},
                          {"0x20000", 13, 20}}) {
        EXPECT_EQ(RowFor(c.version), c.row) << c.version;
        ASSERT_TRUE(adapter.IsLoaded());
        EXPECT_EQ(Ask(2), c.library) << c.version;
    }
}

TEST_F(VRayAdapter, Version325IsServedByTheRowOf35) {
    EXPECT_EQ(RowFor("0x32512"), 6);
    EXPECT_EQ(Ask(2), 35);
}

TEST_F(VRayAdapter, NoneForOthersAndTheLogSaysSo) {
    EXPECT_EQ(RowFor("0x12345"), -1);
    auto isError = [](const std::string& line) {
        return line.rfind("[DravinPack] Error loading VRay library: ", 0) == 0;
    };
    EXPECT_EQ(std::count_if(log.begin(), log.end(), isError), 1);
    EXPECT_FALSE(adapter.Load());  // not tried again
    EXPECT_EQ(std::count_if(log.begin(), log.end(), isError), 1);
    EXPECT_EQ(adapter.Service(2), nullptr);
    EXPECT_EQ(adapter.Hook(), nullptr);
}

TEST_F(VRayAdapter, NothingInstalledIsNoCrash) {
    TempFolder empty;
    setenv("DRAVIN_ADAPTERS", empty.File("").c_str(), 1);
    EXPECT_EQ(RowFor("0x50000"), -1);
}

TEST_F(VRayAdapter, ServicesAndHookComeFromIt) {
    ASSERT_EQ(RowFor("0x50000"), 0);
    EXPECT_TRUE(adapter.Service(3));
    EXPECT_EQ(adapter.Service(4), nullptr);  // this one has none
    EXPECT_EQ(adapter.Service(1), nullptr);
    ASSERT_TRUE(adapter.Hook());
    int before = Ask(3);
    adapter.Hook()->PreRender();
    EXPECT_EQ(Ask(3), before + 1);
}

TEST_F(VRayAdapter, ItsHookRunsBeforeEachOfItsRenders) {
    setenv("TEST_VRAY_VERSION", "0x50000", 1);
    StartRender();
    EXPECT_FALSE(TVRayAdapter::Current().IsLoaded());  // another renderer
    EndRender();
    UseRenderer({0x77, 0x78}, "V-Ray Adv");
    ASSERT_EQ(RowFor("0x50000"), 0);
    int before = Ask(3);
    StartRender();
    EndRender();
    StartRender();
    EndRender();
    EXPECT_TRUE(TVRayAdapter::Current().IsLoaded());
    EXPECT_EQ(Ask(3), before + 2);
}

}  // namespace
