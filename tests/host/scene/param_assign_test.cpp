#include "host/params/param_assign.h"

#include <gmock/gmock.h>
#include <limits>

#include "host/scene/scene.h"
#include "tests/host/scene/test_block.h"

using namespace testBlock;
using testing::HasSubstr;

namespace {

struct ParamAssign : testing::Test {
    std::shared_ptr<IParamBlock2> block = IParamBlock2::Create(TestDesc());

    AssignResult Assign(const char* name, ParamInput input, AssignSource source,
                        const NameResolver& resolve = {}) {
        return AssignParam(*block, *TestDesc().Find(name), input, 0, source, resolve);
    }
    AssignResult Script(const char* name, ParamInput input) {
        return Assign(name, std::move(input), AssignSource::kScript);
    }
    AssignResult Describe(const char* name, ParamInput input) {
        return Assign(name, std::move(input), AssignSource::kDescription);
    }
};

}  // namespace

TEST_F(ParamAssign, ClampsNumbersWithAWarning) {
    AssignResult result = Script("size", 250.0);
    EXPECT_TRUE(result);
    ASSERT_EQ(result.warnings.size(), 1u);
    EXPECT_THAT(result.warnings[0], HasSubstr("clamped to 100"));
    EXPECT_EQ(block->GetFloat(kSize), 100.0f);
    EXPECT_TRUE(Script("weights", ParamInput::Array{50, 500}));
    EXPECT_EQ(block->GetFloat(kWeights, 0, 1), 100.0f);
}

TEST_F(ParamAssign, NeverClampsADefault) {
    block->SetValue(kSeed, 0, 5);
    AssignResult result = Script("seedtype", 0);
    EXPECT_TRUE(result.warnings.empty());
    EXPECT_EQ(block->GetInt(kSeed), 0);
}

TEST_F(ParamAssign, NumbersOfEntriesBeyondTheRange) {
    EXPECT_EQ(Script("kind", 2).warnings.size(), 1u);
    EXPECT_EQ(block->GetInt(kKind), 1);
    EXPECT_TRUE(Describe("kind", 2).warnings.empty());
    EXPECT_EQ(block->GetInt(kKind), 2);
    Script("kind", 0);
    EXPECT_TRUE(Script("kind", "Flow").warnings.empty());
    EXPECT_EQ(block->GetInt(kKind), 2);
    EXPECT_THAT(Script("kind", "Imag").error, HasSubstr("did you mean \"Image\"?"));
}

TEST_F(ParamAssign, BoolsAndInts) {
    for (ParamInput input : {ParamInput(true), ParamInput(1), ParamInput(-2.5)}) {
        block->SetValue(kFlag, 0, false);
        EXPECT_TRUE(Script("flag", input));
        EXPECT_TRUE(block->GetBool(kFlag));
    }
    EXPECT_TRUE(Script("flag", 0));
    EXPECT_FALSE(block->GetBool(kFlag));
    EXPECT_FALSE(Script("flag", "yes"));
    EXPECT_TRUE(Script("count", 7.0));
    EXPECT_FALSE(Script("count", 7.5));
    EXPECT_FALSE(Script("count", true));
    EXPECT_EQ(block->GetInt(kCount), 7);
}

TEST_F(ParamAssign, RefusesWhatIsNoFiniteNumber) {
    EXPECT_FALSE(Script("size", std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(Script("size", std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(Script("tint", ParamInput::Array{0, 0, 1e300}));
    EXPECT_FALSE(Script("tint", ParamInput::Array{0, 0}));
    EXPECT_TRUE(Script("tint", ParamInput::Array{0, 0.5, 1}));
    EXPECT_EQ(block->GetColor(kTint), (Color{0, 0.5f, 1}));
}

TEST_F(ParamAssign, OnlyDescriptionsSetReadOnlyParameters) {
    EXPECT_THAT(Script("secret", 4).error, HasSubstr("read-only"));
    EXPECT_TRUE(Describe("secret", 4));
    EXPECT_EQ(block->GetInt(kSecret), 4);
}

TEST_F(ParamAssign, NodesByNameAndClassTest) {
    Scene scene;
    scene.AddNode("line", std::make_shared<ShapeObject>());
    scene.AddNode("rock", std::make_shared<TriObject>());
    NameResolver resolve = [&](ParamType, const std::string& name, std::string* error) {
        INode* node = scene.FindNode(name);
        if (!node) *error = "no node " + name;
        return node ? node->shared_from_this() : nullptr;
    };
    EXPECT_TRUE(
        Assign("nodes", ParamInput::Array{"line", ParamInput()}, AssignSource::kScript, resolve));
    EXPECT_EQ(block->Count(kNodes), 2);
    EXPECT_THAT(Assign("nodes", ParamInput::Array{"rock"}, AssignSource::kScript, resolve).error,
                HasSubstr("expected the node of a shape"));
    EXPECT_EQ(block->Count(kNodes), 2);
    AssignResult gone =
        Assign("nodes", ParamInput::Array{"line", "x"}, AssignSource::kScript, resolve);
    EXPECT_EQ(gone.errorIndex, 1);
    EXPECT_TRUE(Assign("nodes", ParamInput::Array{"rock"}, AssignSource::kDescription, resolve));
    EXPECT_EQ(block->GetNode(kNodes), scene.FindNode("rock"));
}

TEST_F(ParamAssign, ListsTakeArrays) {
    EXPECT_THAT(Script("weights", 5).error, HasSubstr("expected an array"));
    EXPECT_THAT(Script("size", ParamInput::Array{5}).error, HasSubstr("expected a number"));
}
