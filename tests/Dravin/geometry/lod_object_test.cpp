#include "Dravin/geometry/lod_object.h"

#include <gtest/gtest.h>

#include "common/pbstore/pb_clipboard.h"
#include "host/scene/host_context.h"

namespace {

class LodObject : public testing::Test {
protected:
    HostContext host;
    ScriptedUserInterface* user = nullptr;
    std::shared_ptr<TDLod> lod = TDLod::Create();

    void SetUp() override {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
    }
    void AddLevels(int count) {
        for (int i = 0; i < count; ++i) lod->NewLevel();
        host.Undo().Clear();
    }
    std::vector<float> Distances() const {
        std::vector<float> values;
        for (int i = 0; i < lod->NumLevels(); ++i) values.push_back(lod->ReadLevel(i).distance);
        return values;
    }
    std::vector<float> Sizes() const {
        std::vector<float> values;
        for (int i = 0; i < lod->NumLevels(); ++i) values.push_back(lod->ReadLevel(i).screenSize);
        return values;
    }
};

TEST_F(LodObject, NewLevelsHaveTheDefaults) {
    lod->NewLevel();
    TLodLevel level = lod->ReadLevel(0);
    EXPECT_EQ(level.entry.name, "New LOD");
    EXPECT_EQ(level.entry.kind, kGeomCustom);
    EXPECT_EQ(level.entry.templateName, "One Plane");
    EXPECT_EQ(level.entry.scale, 100);
    EXPECT_EQ(level.entry.center, 50);
    EXPECT_EQ(level.entry.specId, -1);
    EXPECT_EQ(level.distance, 0);
    EXPECT_EQ(level.screenSize, 25);
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_EQ(lod->NumLevels(), 0);
}

TEST_F(LodObject, NormalisingAsksAndIsOneStep) {
    AddLevels(5);
    user->answers = {Answer::kYes, Answer::kYes};
    EXPECT_TRUE(lod->NormaliseThresholds(kLodDistance, false));
    EXPECT_EQ(Distances(), (std::vector<float>{0, 25, 50, 75, 100}));
    EXPECT_EQ(Sizes(), std::vector<float>(5, 25));
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(lod->NormaliseThresholds(kLodScreenSize, false));
    EXPECT_EQ(Sizes(), (std::vector<float>{25, 18.75f, 12.5f, 6.25f, 0}));
    EXPECT_EQ(user->questions,
              (std::vector<std::string>{"All Distance values will be normalized. Are you sure ?",
                                        "All Size values will be normalized. Are you sure ?"}));
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_EQ(Distances(), std::vector<float>(5, 0));
}

TEST_F(LodObject, ForcedNormalisingSpreadsBothAndAsksNothing) {
    AddLevels(2);
    EXPECT_TRUE(lod->NormaliseThresholds(kLodDistance, true));
    EXPECT_EQ(Distances(), (std::vector<float>{0, 100}));
    EXPECT_EQ(Sizes(), (std::vector<float>{25, 0}));
    EXPECT_TRUE(user->questions.empty());
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
}

TEST_F(LodObject, FourLevelsAreThirdsApart) {
    AddLevels(4);
    EXPECT_TRUE(lod->NormaliseThresholds(kLodDistance, true));
    const float distances[] = {0, 33.3333f, 66.6667f, 100}, sizes[] = {25, 16.6667f, 8.3333f, 0};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(Distances()[i], distances[i], 1e-3f);
        EXPECT_NEAR(Sizes()[i], sizes[i], 1e-3f);
    }
}

TEST_F(LodObject, OneLevelGetsTheWhole) {
    AddLevels(1);
    EXPECT_TRUE(lod->NormaliseThresholds(kLodScreenSize, true));
    EXPECT_EQ(Distances(), std::vector<float>{100});
    EXPECT_EQ(Sizes(), std::vector<float>{25});
}

TEST_F(LodObject, NoLeavesEverything) {
    AddLevels(3);
    user->answers = {Answer::kNo};
    EXPECT_FALSE(lod->NormaliseThresholds(kLodDistance, false));
    EXPECT_EQ(Distances(), std::vector<float>(3, 0));
    EXPECT_EQ(host.Undo().NumUndoSteps(), 0u);
}

TEST_F(LodObject, LevelsAreCopiedToOtherObjects) {
    AddLevels(2);
    lod->Block().SetValue(lodParams::kNamelist, 0, std::string("near"), 1);
    lod->Block().SetValue(lodParams::kDistlist, 0, 40.0f, 1);
    lod->Block().SetValue(lodParams::kSpecidlist, 0, 7, 1);
    lod->Levels().Select({1});
    PBClipboard clipboard;
    EXPECT_TRUE(clipboard.Copy(lod->Levels(), lodParams::kSpecidlist, 0));
    auto other = TDLod::Create();
    EXPECT_TRUE(clipboard.Paste(other->Levels(), 0));
    ASSERT_EQ(other->NumLevels(), 1);
    EXPECT_EQ(other->ReadLevel(0).entry.name, "near");
    EXPECT_EQ(other->ReadLevel(0).distance, 40);
    EXPECT_EQ(other->ReadLevel(0).entry.specId, -1);
}

TEST_F(LodObject, CopyAndPasteTellWhyNot) {
    AddLevels(2);
    PBClipboard clipboard;
    EXPECT_FALSE(clipboard.Paste(lod->Levels(), 0));
    lod->Levels().Select({0, 1});
    EXPECT_FALSE(clipboard.Copy(lod->Levels(), lodParams::kSpecidlist, 0));
    ASSERT_EQ(user->messages.size(), 2u);
    EXPECT_EQ(user->messages[0].text, "The clipboard is empty");
    EXPECT_EQ(user->messages[1].text,
              "It is no possible to do this operation with multiple items selected");
    EXPECT_EQ(lod->NumLevels(), 2);
}

}  // namespace
