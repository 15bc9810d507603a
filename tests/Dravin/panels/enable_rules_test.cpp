#include "tests/Dravin/panels/panel_scene.h"

namespace {

struct EnableRules : PanelScene {
    bool IsOn(TParamKey key) { return IsParamEnabled(*first, key, 0); }
    // Freezing items asks; the rules follow the value alone.
    void Edit(bool edits) {
        IParamBlock2& block = first->Block(kEditionParams);
        AccessorSuspender silent(block);
        block.SetValue(editionParams::kMode, 0, int(edits));
    }
};

}  // namespace

TEST_F(EnableRules, ThreadsAnswerWhenTheyAreNotChosenAutomatically) {
    EXPECT_FALSE(IsOn(genParams::kThreads));
    Put(*first, genParams::kAutothreads, 0);
    EXPECT_TRUE(IsOn(genParams::kThreads));
}

TEST_F(EnableRules, CustomEditLeavesGeneratedLimitsAlone) {
    using namespace surfaceParams;
    EXPECT_TRUE(IsOn(kAltmax) && IsOn(kSlopemin) && IsOn(areaParams::kSpdensinc));
    EXPECT_FALSE(IsOn(editionParams::kConsgeom));
    Edit(true);
    EXPECT_FALSE(IsOn(kAltmax) || IsOn(kSlopemin) || IsOn(kSurfaltdens));
    EXPECT_FALSE(IsOn(areaParams::kSpdensinc));
    EXPECT_TRUE(IsOn(editionParams::kConsgeom));
    std::string why;
    EXPECT_FALSE(AreAreasEnabled(*first, 0, &why));
    EXPECT_EQ(why, "\nAreas are disabled\nwhen using UV Surfaces or Custom Edit mode");
}

TEST_F(EnableRules, ScalesInUvNeedAlignment) {
    using namespace surfaceParams;
    EXPECT_FALSE(IsOn(kUvalign) || IsOn(kUvscalex));
    Put(*first, kSurfmode, 1);
    EXPECT_TRUE(IsOn(kUvalign) && IsOn(kUvscalex) && IsOn(kUvmultscaley));
    Put(*first, kUvalign, 0);
    EXPECT_TRUE(IsOn(kUvalign));
    EXPECT_FALSE(IsOn(kUvscalex) || IsOn(kUvscaley) || IsOn(kUvmultscalex));
    EXPECT_FALSE(IsOn(kScalelope) || IsOn(kLinkeditsurf));
}

TEST_F(EnableRules, LockedScalesFollowX) {
    using namespace transformParams;
    struct Row {
        int lock;
        bool y, z;
    };
    for (const Row& row : {Row{0, true, true}, Row{1, false, false}, Row{2, false, true}}) {
        Put(*first, kScalelock, row.lock);
        EXPECT_EQ(IsOn(kScaleymax) && IsOn(kScaleymin) && IsOn(kScamapy), row.y) << row.lock;
        EXPECT_EQ(IsOn(kScalezmax) && IsOn(kScalezmin) && IsOn(kScamapz), row.z) << row.lock;
    }
}

TEST_F(EnableRules, AnimationAndTintFollowTheirModes) {
    using namespace animParams;
    struct Row {
        int mode;
        bool samples, map, range;
    };
    for (const Row& row :
         {Row{0, false, false, false}, Row{1, false, false, false}, Row{2, true, false, false},
          Row{3, true, true, false}, Row{4, false, true, true}}) {
        Put(*first, kAnimation, row.mode);
        EXPECT_EQ(IsOn(kAnimsamples), row.samples) << row.mode;
        EXPECT_EQ(IsOn(kAnimap), row.map) << row.mode;
        EXPECT_EQ(IsOn(kAnimend), row.range) << row.mode;
    }
    EXPECT_FALSE(IsOn(matParams::kTintmap));
    Put(*first, matParams::kTintmode, 1);
    EXPECT_TRUE(IsOn(matParams::kTintmap));
    EXPECT_FALSE(IsOn(matParams::kTintmapchan));  // no map yet
    Put(*first, shadowParams::kUsefakeshadows, 0);
    EXPECT_FALSE(IsOn(shadowParams::kHsoffset));
    EXPECT_TRUE(IsOn(shadowParams::kSelfshadow));
}

TEST_F(EnableRules, GroupsOfTheDistributionFollowItsMode) {
    auto shown = [&](int mode) {
        Put(*first, distParams::kDistmode, mode);
        std::string titles;
        for (const TPanelGroup& group : DravinRollouts()[3].groups)
            if (IsGroupShown(*first, group, 0)) titles += group.title + ";";
        return titles;
    };
    EXPECT_EQ(shown(0), ";Map;Density;Diversity;Collisions;");
    EXPECT_EQ(shown(1), ";Path;");
    EXPECT_EQ(shown(2), ";Reference;");
    EXPECT_EQ(shown(3), ";Particle flow;");
    EXPECT_FALSE(IsOn(distParams::kDistpfloweventslist));
    Put(*first, distParams::kDistpflowallevents, 0);
    EXPECT_TRUE(IsOn(distParams::kDistpfloweventslist));
}
