#include "Dravin/build/object_log.h"

#include <gmock/gmock.h>

#include "Dravin/config/system_log.h"
#include "Dravin/config/version.h"
#include "Dravin/dravin_globals.h"
#include "Dravin/render/trees_interface.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

// Lines as they reach the host's log.
class ObjectLogTest : public ScatterFixture {
protected:
    std::vector<std::string> lines;

    void SetUp() override {
        ScatterFixture::SetUp();
        DravinGlobals().options.forceLog = 0;
        SetLogSink([this](LogKind, const std::string& text) { lines.push_back(text); });
    }
    std::string Line(const std::string& message) const {
        return "DRAVIN " + ProductVersion() + " 'scatter' : " + message;
    }
};

TEST_F(ObjectLogTest, BuildsForRendersAreKeptByLevel) {
    Run(Render());
    EXPECT_THAT(lines, Contains(Line("Starting BuildMesh(0)")));
    EXPECT_THAT(lines, Contains(Line("BuildItemArray")));
    lines.clear();
    SetLogLevel(1);
    Run(Render());
    EXPECT_THAT(lines, Contains(Line("Starting BuildMesh(0)")));
    EXPECT_THAT(lines, Not(Contains(Line("BuildItemArray"))));
    lines.clear();
    SetLogLevel(0);
    Run(Render());
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ObjectLogTest, OtherBuildsAreKeptWhereTheOptionSaysSo) {
    Run();
    EXPECT_THAT(lines, IsEmpty());
    DravinGlobals().options.forceLog = 1;
    SetLogLevel(0);
    Run();
    EXPECT_THAT(lines, Contains(Line("Starting BuildMesh(0)")));
    EXPECT_THAT(lines, Contains(Line("BuildItemArray->DistributeImageXY (1 areas)")));
}

TEST_F(ObjectLogTest, ARenderBeginsAndEndsInTheLog) {
    ITreesInterface& trees = *TreesOf(*object);
    trees.IDravinRenderBegin(0);
    EXPECT_EQ(lines.front(), Line("IDravinRenderBegin"));
    EXPECT_THAT(lines, Contains(StartsWith(Line("Exiting BuildMesh ("))));
    trees.IDravinRenderEnd(0);
    EXPECT_THAT(lines, Contains(Line("IDravinRenderEnd")));
    lines.clear();
    Run();
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(ObjectLogTest, WarningsAreToldAsTheyAre) {
    SetLogLevel(0);
    LogWarning("no map");
    EXPECT_THAT(lines, testing::ElementsAre("no map"));
}

TEST_F(ObjectLogTest, LinesOfTheSystemNameIt) {
    SystemLog(LogKind::kDebug, "NotifyPreRender starts");
    EXPECT_THAT(lines, testing::ElementsAre("DRAVIN 6.3.1 NotifyPreRender starts"));
    EXPECT_EQ(SystemLogLine(std::string(3000, 'x')), "DRAVIN 6.3.1 " + std::string(2048, 'x'));
    lines.clear();
    SetLogLevel(1);
    SystemLog(LogKind::kDebug, "NotifyPreRender starts");
    EXPECT_THAT(lines, IsEmpty());
}

}  // namespace
