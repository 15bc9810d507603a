#include "Dravin/render/scatter_proxies.h"

#include <gmock/gmock.h>

#include "tests/Dravin/render/render_fixture.h"

namespace {

using testing::HasSubstr;

class ScatterProxies : public RenderFixture {
protected:
    TScatterProxies& Proxies() { return TScatterProxies::Current(); }
};

TEST_F(ScatterProxies, RecordsAreInWorldSpace) {
    node->SetLocalTM(Matrix3::RotationZ(1) * Matrix3::Translation({100, 20, 3}));
    plane->SetLocalTM(node->GetLocalTM());
    Proxies().Calculate(0);
    std::vector<TDravinItem> items = Items();
    ASSERT_EQ(Proxies().Records().size(), items.size());
    ASSERT_FALSE(items.empty());
    for (size_t i = 0; i < items.size(); ++i) {
        const TDravinInstanceV1& r = Proxies().Records()[i];
        Matrix3 expected =
            Matrix3::Scaling({1 / 2.f, 1, 1 / 3.f}) * items[i].fullTransform * node->GetObjectTM(0);
        for (int row = 0; row < 4; ++row)
            EXPECT_LT(Length(r.transform.row[row] - expected.row[row]), 1e-4f) << i;
        EXPECT_EQ(r.node, box.get());
        EXPECT_EQ(r.seed, items[i].seed);
    }
    EXPECT_TRUE(object->Render().IsRendering());
    Proxies().Free();
    EXPECT_FALSE(object->Render().IsRendering());
    EXPECT_FALSE(object->Build().IsRender());  // built for views again
    EXPECT_EQ(Proxies().Data(), nullptr);
}

TEST_F(ScatterProxies, ObjectsFollowEachOther) {
    auto [other, otherNode] = AddScatter("other");
    Proxies().Calculate(0);
    size_t own = object->Build().Items().Count(), all = Proxies().Records().size();
    EXPECT_EQ(all, own + other->Build().Items().Count());
    auto total = [](size_t n) { return "CalculateScatterProxy (" + std::to_string(n) + " items)"; };
    EXPECT_TRUE(Logged(total(own)));
    EXPECT_TRUE(Logged(total(all)));
    EXPECT_TRUE(Logged("CalculateScatterProxy generating ScatterObjects (" + std::to_string(own) +
                       " items)"));
    Proxies().Free();
    EXPECT_TRUE(Logged("freeScatterProxy clearing (" + std::to_string(all) + " total instances)"));
}

TEST_F(ScatterProxies, MeshesAndTemplatesContributeNothing) {
    AddTemplateRow();
    Proxies().Calculate(0);
    size_t boxes = 0;
    for (const TDravinItem& item : Items()) boxes += item.specimenIndex == 0;
    EXPECT_EQ(Proxies().Records().size(), boxes);
    EXPECT_GT(boxes, 0u);
    Set(kDispParams, dispParams::kRendermode, 1);
    Proxies().Calculate(0);
    EXPECT_TRUE(Proxies().Records().empty());
    EXPECT_EQ(Proxies().Data(), nullptr);
}

TEST_F(ScatterProxies, AnObjectWithoutANodeContributesNothing) {
    host.Undo().Begin();
    scene.DeleteNode(*node);
    host.Undo().Accept("Delete");
    Proxies().Calculate(0);
    EXPECT_TRUE(Proxies().Records().empty());
    EXPECT_FALSE(object->Render().IsRendering());
    ASSERT_TRUE(host.Undo().Undo());
    Proxies().Calculate(0);
    EXPECT_FALSE(Proxies().Records().empty());
}

TEST_F(ScatterProxies, ObjectsThatGoMeanwhileAreNotMissed) {
    Proxies().Calculate(0);
    scene.DeleteNode(*node);
    host.Undo().Clear();
    object.reset();
    EXPECT_EQ(Proxies().Records()[0].node, box.get());
    Proxies().Free();
    EXPECT_TRUE(user->messages.empty());
    object = TDravin::Create();
}

TEST_F(ScatterProxies, FailuresAreToldOnce) {
    auto [good, goodNode] = AddScatter("good");
    TakeRows(*object);
    Proxies().Calculate(0);
    ASSERT_NE(object->Build().Status(), TBuildStatus::kSuccess);
    Proxies().Free();
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].caption, "Tavu Software");
    EXPECT_EQ(user->messages[0].text,
              "Some Dravin objects were not built correctly in the last render.\nSee \"View "
              "Stats\" (General rollout) to get additional information about the error:\n\n"
              "scatter\n");
    Proxies().Free();
    EXPECT_EQ(user->messages.size(), 1u);
}

TEST_F(ScatterProxies, AQuietHostIsToldNothing) {
    host.quiet = true;
    TakeRows(*object);
    Proxies().Calculate(0);
    Proxies().Free();
    EXPECT_TRUE(user->messages.empty());
}

TEST_F(ScatterProxies, ADisabledObjectIsNoFailure) {
    Set(kDispParams, dispParams::kDisabled, true);
    Proxies().Calculate(0);
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kDisabled);
    Proxies().Free();
    EXPECT_TRUE(user->messages.empty());
}

TEST_F(ScatterProxies, FreeingNothingIsHarmless) {
    Proxies().Free();
    Proxies().Free();
    EXPECT_TRUE(Proxies().Records().empty());
    EXPECT_TRUE(user->messages.empty());
}

TEST_F(ScatterProxies, TwentyNamesAtTheMost) {
    for (int i = 0; i < 24; ++i) {
        auto [other, otherNode] = AddScatter("failing" + std::to_string(i));
        TakeRows(*other);
    }
    Proxies().Calculate(0);
    Proxies().Free();
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_THAT(user->messages[0].text, HasSubstr("failing19\n"));
    EXPECT_THAT(user->messages[0].text, Not(HasSubstr("failing20\n")));
}

}  // namespace
