// Builds whose parts throw: they end with a status and a text, and the object can be built again.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "Dravin/build/dravin_build.h"
#include "host/scene/instance_source.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

// Throws where it is evaluated, in whatever thread that is.
class FailingTex : public Texmap {
public:
    void (*fail)() = nullptr;
    AColor EvalColor(const TexPoint&) const override {
        fail();
        return {1, 1, 1, 1};
    }
};

class BuildFailure : public ScatterFixture {
protected:
    std::shared_ptr<FailingTex> map = std::make_shared<FailingTex>();

    const TDravinBuild& RunWith(void (*fail)()) {
        map->fail = fail;
        Set(kDistParams, distParams::kDistmap, Target(map));
        TBuildFlags flags;
        flags.forceThreads = 2;
        return Run(flags);
    }
    bool LoggedPart(const std::string& part) const {
        return std::any_of(log.begin(), log.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }
};

TEST_F(BuildFailure, MemoryThatIsNotThereIsTooManyItems) {
    Run();
    ASSERT_EQ(object->Build().Items().Count(), 400u);
    const TDravinBuild& build = RunWith([] { throw std::bad_alloc(); });
    EXPECT_EQ(build.Status(), TBuildStatus::kTooManyItems);
    EXPECT_TRUE(build.RanOutOfMemory());
    EXPECT_NE(build.Failure().find("out of memory"), std::string::npos);
    EXPECT_TRUE(LoggedPart("scatter: the build broke off: out of memory"));
    EXPECT_EQ(build.Items().Count(), 0u);
    EXPECT_EQ(build.MakeInstanceSource()->NumInstances(), 0u);
    EXPECT_EQ(build.Validity(), Interval::Instant(0));
}

TEST_F(BuildFailure, OtherExceptionsLeaveNoItemsAndTheirText) {
    const TDravinBuild& build = RunWith([] { throw std::runtime_error("the map is torn"); });
    EXPECT_EQ(build.Status(), TBuildStatus::kNoItems);
    EXPECT_FALSE(build.RanOutOfMemory());
    EXPECT_EQ(build.Failure(), "the map is torn");
    RunWith([] { throw 7; });
    EXPECT_EQ(build.Failure(), "unknown error");
}

TEST_F(BuildFailure, TheObjectCanBeBuiltAgain) {
    RunWith([] { throw std::bad_alloc(); });
    EXPECT_FALSE(object->IsBuilding());
    Set(kDistParams, distParams::kDistmap, White());
    const TDravinBuild& build = Run();
    EXPECT_EQ(build.Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(build.Items().Count(), 400u);
    EXPECT_EQ(build.Failure(), "");
    EXPECT_FALSE(build.RanOutOfMemory());
}

TEST_F(BuildFailure, AFailedRenderIsRemembered) {
    map->fail = [] { throw std::bad_alloc(); };
    Set(kDistParams, distParams::kDistmap, Target(map));
    Run(Render());
    Set(kDistParams, distParams::kDistmap, White());
    EXPECT_EQ(Run().Message()[1], "in last render. Adjust 'Display' parameters");
}

}  // namespace
