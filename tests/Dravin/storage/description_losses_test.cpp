#include "Dravin/storage/description_losses.h"

#include <gmock/gmock.h>

#include "host/scene/material.h"
#include "host/scene/scene.h"
#include "host/scene/texmaps.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(DescriptionLosses, PlainScenesLoseNothing) {
    Scene scene;
    scene.AddNode("a", nullptr);
    EXPECT_THAT(DescriptionLosses(scene), IsEmpty());
}

TEST(DescriptionLosses, EachKindIsALine) {
    Scene scene;
    INode* a = scene.AddNode("a", nullptr);
    INode* const selected[] = {a};
    scene.Select(selected);
    a->SetMtl(std::make_shared<StandardMtl>());
    scene.SetTexmap("m", std::make_shared<BitmapTex>(nullptr));
    scene.timeRange = TimeRange{0, 5};
    EXPECT_THAT(DescriptionLosses(scene),
                ElementsAre(HasSubstr("selected: \"a\""), HasSubstr("materials without a name"),
                            HasSubstr("images of maps that have no file: \"m\""),
                            HasSubstr("time range 0 to 5")));
}

TEST(DescriptionLosses, LongListsAreCut) {
    Scene scene;
    for (int i = 0; i < 5; ++i) scene.AddNode("n", nullptr)->selectable = false;
    EXPECT_THAT(DescriptionLosses(scene), ElementsAre(HasSubstr("\"n\", \"n\", \"n\" and 2 more")));
}
