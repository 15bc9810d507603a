#include "Dravin/geometry/probability_commands.h"

#include <gtest/gtest.h>

#include "Dravin/params/dravin_params.h"
#include "host/scene/host_context.h"

namespace {

class ProbabilityCommands : public testing::Test {
protected:
    HostContext host;
    ScriptedUserInterface* user = nullptr;
    std::shared_ptr<IParamBlock2> block =
        IParamBlock2::Create(DravinBlocks()[kGeomParams], nullptr);
    TTreeSpecList rows{block};

    void SetUp() override {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
    }
    void AddRow(float probability) {
        TSpecEntry entry;
        entry.probability = probability;
        rows.AppendRow(entry);
        host.Undo().Clear();
    }
    float At(int i) { return block->GetFloat(geomParams::kProblist, 0, i); }
};

TEST_F(ProbabilityCommands, NormaliseAsksAndIsOneUndoStep) {
    AddRow(1);
    AddRow(3);
    user->answers = {Answer::kYes};
    EXPECT_TRUE(NormaliseProbabilitiesCommand(rows));
    EXPECT_EQ(user->questions,
              (std::vector<std::string>{"Do you want to normalize all Probability values ?"}));
    EXPECT_EQ(At(0), 25);
    EXPECT_EQ(At(1), 75);
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_EQ(At(0), 1);
    EXPECT_EQ(At(1), 3);
}

TEST_F(ProbabilityCommands, NormaliseWithAllZeroChangesNothing) {
    AddRow(0);
    AddRow(0);
    user->answers = {Answer::kYes};
    EXPECT_FALSE(NormaliseProbabilitiesCommand(rows));
    EXPECT_EQ(At(0), 0);
    EXPECT_EQ(host.Undo().NumUndoSteps(), 0u);
}

TEST_F(ProbabilityCommands, NoMeansNothing) {
    AddRow(1);
    user->answers = {Answer::kNo, Answer::kNo};
    EXPECT_FALSE(NormaliseProbabilitiesCommand(rows));
    EXPECT_FALSE(RandomiseProbabilitiesCommand(rows));
    EXPECT_EQ(At(0), 1);
}

TEST_F(ProbabilityCommands, RandomiseDrawsWholePercentagesFromTheSharedGenerator) {
    AddRow(0.5f);
    AddRow(0.5f);
    TNuRandom same = SharedGenerator();
    user->answers = {Answer::kYes};
    EXPECT_TRUE(RandomiseProbabilitiesCommand(rows));
    for (int i : {0, 1}) EXPECT_EQ(At(i), float(uint64_t{same.Step()} * 100 >> 32) + 1);
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
}

}  // namespace
