// Scatter objects that other objects use: as sources, through each other, as surfaces.
#include "Dravin/build/dravin_instances.h"
#include "Dravin/dravin_globals.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

constexpr size_t kBoxFaces = 12;

class ScatterAsSource : public ScatterFixture {
protected:
    std::shared_ptr<TDravin> inner;
    std::shared_ptr<INode> innerNode;

    void SetUp() override {
        ScatterFixture::SetUp();
        std::tie(inner, innerNode) = AddScatter("inner");
        SetSource(0, innerNode);
    }
    void SetSource(int row, const std::shared_ptr<INode>& source) {
        object->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(source), row);
    }
    bool Warned(const std::string& part) const {
        return std::any_of(log.begin(), log.end(),
                           [&](const std::string& line) { return line.find(part) != line.npos; });
    }
    const TDravinMeshSample& Sample() {
        return *object->Build().Specimens().Row(0).nodes.front().sample;
    }
};

}  // namespace

TEST_F(ScatterAsSource, ShowsAllItemsOfTheOther) {
    inner->Build().BuildMesh(0, Render());
    size_t items = inner->Build().Items().Count();
    ASSERT_GT(items, 10u);
    Box3 box;
    for (size_t i = 0; i < items; ++i) box += inner->Build().Items().Position(i);
    Run(Render());
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
    EXPECT_EQ(Sample().Size().numFaces, int32_t(items * kBoxFaces));
    // Boxes of 2 x 1 x 3 around their positions, turned in any way about z.
    float reach = std::sqrt(1 + 0.25f);
    EXPECT_GE(Sample().Size().size.x, box.Width().x);
    EXPECT_LE(Sample().Size().size.x, box.Width().x + 2 * reach + 1e-3f);
    EXPECT_FLOAT_EQ(Sample().Size().size.z, 3);
    auto source = object->Build().MakeInstanceSource();
    ASSERT_EQ(source->NumPrototypes(), 1u);
    EXPECT_EQ(source->PrototypeMesh(0)->NumFaces(), items * kBoxFaces);
}

TEST_F(ScatterAsSource, LeavesTheOthersBuildAlone) {
    TBuildFlags distributes;
    distributes.noMesh = true;
    inner->Build().BuildMesh(0, distributes);
    uint64_t number = inner->Build().BuildNumber();
    Run();
    EXPECT_EQ(inner->Build().BuildNumber(), number);
    EXPECT_FALSE(inner->Build().IsRender());
    EXPECT_FALSE(inner->Build().ObjectMesh().IsBuilt());
}

TEST_F(ScatterAsSource, IsMadeOnceUntilTheOtherChanges) {
    Run();
    std::shared_ptr<const Mesh> mesh = inner->GetRenderMesh(0);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(Sample().Source(), mesh);
    uint64_t builds = DravinGlobals().numBuilds;
    Run();
    EXPECT_EQ(Sample().Source(), mesh);
    EXPECT_EQ(DravinGlobals().numBuilds, builds + 1);  // the outer one
    inner->Block(kDistParams).SetValue(distParams::kPixelsX, 0, 5);
    Run();
    EXPECT_NE(Sample().Source(), mesh);
    EXPECT_EQ(Sample().Source(), inner->GetRenderMesh(0));
}

TEST_F(ScatterAsSource, HoldsAsLongAsWhatTheOtherStandsOn) {
    Run();
    EXPECT_TRUE(object->ObjectValidity(0).Contains(160));
    EXPECT_TRUE(inner->ObjectValidity(0).Contains(160));
    plane->hidden.SetTrack({{{0, false}, {160, true}}});
    inner->GetRenderMesh(0);
    EXPECT_FALSE(inner->ObjectValidity(0).Contains(160));
}

TEST_F(ScatterAsSource, NoObjectScattersItself) {
    std::shared_ptr<INode> self;
    for (INode* each : scene.Nodes())
        if (each == node) self = std::static_pointer_cast<INode>(each->shared_from_this());
    SetSource(0, self);
    Run();
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
    EXPECT_FALSE(Sample().Source());
    EXPECT_TRUE(Warned("the object cannot scatter itself, nor through others; \"scatter\""));
}

TEST_F(ScatterAsSource, NorThroughOthers) {
    auto self = std::static_pointer_cast<INode>(node->shared_from_this());
    inner->Block(kGeomParams).SetValue(geomParams::kCobjlist, 0, Target(self), 0);
    Run();
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
    EXPECT_FALSE(Sample().Source());  // the other's only row shows nothing
    EXPECT_TRUE(Warned("the object cannot scatter itself, nor through others; \"scatter\""));
}

TEST_F(ScatterAsSource, NorAsAMemberOfAGroup) {
    auto group = INode::Create("group", std::make_shared<GroupObject>());
    scene.AddNode(group);
    group->AttachChild(box);
    group->AttachChild(std::static_pointer_cast<INode>(node->shared_from_this()));
    SetSource(0, group);
    Run();
    ASSERT_EQ(object->Build().Specimens().Row(0).nodes.size(), 1u);
    EXPECT_EQ(object->Build().Specimens().Row(0).nodes[0].source, box);
    EXPECT_TRUE(Warned("\"scatter\" shows nothing there"));
}

TEST_F(ScatterAsSource, ToldWhereTheOtherHasNoMesh) {
    inner->Block(kDispParams).SetValue(dispParams::kDisabled, 0, true);
    Run();
    EXPECT_FALSE(Sample().Source());
    EXPECT_TRUE(
        Warned("inner: it shows nothing to others: Object is disabled in Display settings"));
}

TEST_F(ScatterAsSource, IsGroundForOthersToo) {
    SetSource(0, box);
    object->Block(kSurfaceParams).SetValue(surfaceParams::kSurflist, 0, Target(innerNode), 0);
    Run();
    EXPECT_EQ(object->Build().Status(), TBuildStatus::kSuccess);
    float highest = 0;
    for (size_t i = 0; i < object->Build().Items().Count(); ++i)
        highest = std::max(highest, object->Build().Items().Position(i).z);
    EXPECT_FLOAT_EQ(highest, 3);  // on top of the other's boxes
}
