// Objects whose parameters, areas and sources are drawn at random from the whole of their ranges.
// A build of any of them ends, with a status, and gives the same items again.
#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "common/nurandom/nurandom.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

class RandomBuilds : public ScatterFixture, public testing::WithParamInterface<uint32_t> {
protected:
    TNuRandom m_random{GetParam() * 7919 + 1};
    std::vector<std::shared_ptr<INode>> m_nodes;

    int Roll(int low, int high) { return m_random.IRandom(low, high); }
    bool Once(int in) { return Roll(1, in) == 1; }
    std::shared_ptr<INode> Add(const std::string& name, std::shared_ptr<Object> shown) {
        auto node = INode::Create(name, std::move(shown));
        auto place = [&] { return float(Roll(-8, 8)); };
        node->SetLocalTM(Matrix3::RotationX(m_random.Random()) *
                         Matrix3::Translation({place(), place(), place()}));
        scene.AddNode(node);
        return node;
    }
    std::shared_ptr<INode> AnyNode() { return m_nodes[size_t(Roll(0, int(m_nodes.size()) - 1))]; }

    void AddNodes() {
        auto spline = std::make_shared<ShapeObject>();
        BezierShape shape;
        for (int i = Roll(0, 3); i > 0; --i) {
            BezierSpline& s = shape.splines.emplace_back();
            s.closed = Once(2);
            for (int k = Roll(0, 6); k > 0; --k)
                s.knots.push_back({{float(Roll(-9, 9)), float(Roll(-9, 9)), 0}, {}, {}});
        }
        spline->shape = std::move(shape);
        auto particles = std::make_shared<ParticleObject>();
        std::vector<Particle> flying(size_t(Roll(0, 30)));
        for (Particle& p : flying) {
            p.hasPosition = !Once(4);
            p.age = Once(4) ? -1 : Roll(0, 100);
            p.position = {float(Roll(-9, 9)), float(Roll(-9, 9)), 0};
        }
        particles->particles = std::move(flying);
        auto other = AddScatter("other").second;
        m_nodes = {nullptr,
                   plane,
                   box,
                   other,
                   std::static_pointer_cast<INode>(node->shared_from_this()),
                   Add("spline", spline),
                   Add("particles", particles),
                   Add("camera", std::make_shared<CameraObject>()),
                   Add("light", std::make_shared<LightObject>()),
                   Add("dummy", std::make_shared<DummyObject>()),
                   AddMesh("nothing", Mesh()),
                   AddMesh("bumps", MakePlane(15, 15, 6))};
    }

    double AnyNumber(const ParamDef& def) {
        double low = def.hasRange ? def.min : -1000, high = def.hasRange ? def.max : 1000;
        const double usual[] = {low,
                                high,
                                0,
                                1,
                                -1,
                                50,
                                double(Roll(-20, 200)),
                                low + (high - low) * double(m_random.Random())};
        return std::clamp(usual[Roll(0, 7)], low, high);
    }
    ParamValue AnyValue(const ParamDef& def) {
        switch (def.type) {
            case ::ParamType::kBool:
                return int32_t(Roll(0, 1));
            case ::ParamType::kInt:
            case ::ParamType::kTime:
                return int32_t(std::clamp(AnyNumber(def), -2147483647.0, 2147483647.0));
            case ::ParamType::kFloat:
            case ::ParamType::kWorld:
                return float(AnyNumber(def));
            case ::ParamType::kNode:
                return Target(AnyNode());
            case ::ParamType::kTexmap:
                return Target(Once(2) ? White() : nullptr);
            default:
                return def.defaultValue;
        }
    }

    // A distribution over points, with sources that mostly serve it.
    void UsePoints(int mode) {
        Set(kDistParams, distParams::kDistmode, mode);
        const ParamID lists[] = {distParams::kDistpathnodes, distParams::kDistrefnodes,
                                 distParams::kDistpflownodes};
        const char* sources[] = {"spline", "bumps", "particles"};
        for (const std::shared_ptr<INode>& source : m_nodes)
            if (source && (source->GetName() == sources[mode - 1] || Once(12)))
                object->Block(kDistParams).Append(lists[mode - 1], Target(source));
        if (Once(2)) Set(kSurfaceParams, surfaceParams::kLinkeditsurf, false);
    }

    void DrawParameters() {
        for (const ParamBlockDesc2& desc : DravinBlocks()) {
            if (desc.id == kGeomParams || desc.id == kEffectParams) continue;
            IParamBlock2& block = object->Block(DravinBlockId(desc.id));
            for (const ParamDef& def : desc.params) {
                if (def.name == "mode" || !Once(6)) continue;
                if (!def.list)
                    block.SetValue(def.id, 0, AnyValue(def));
                else if (desc.id != kAreaParams && def.type == ::ParamType::kNode)
                    block.Append(def.id, Target(AnyNode()));
            }
        }
        // As much as a test has time for.
        Set(kDistParams, distParams::kMaxdensity, 1);
        Set(kDispParams, dispParams::kVmaxitems, Roll(1, 2000));
        Set(kDispParams, dispParams::kRmaxitems, Roll(1, 2000));
        if (Once(2)) UsePoints(Roll(1, 3));
    }

    void DrawAreas() {
        const ParamBlockDesc2& desc = DravinBlocks()[kAreaParams];
        for (int i = Roll(0, 4); i > 0; --i) AddArea(*object, Roll(0, 4), AnyNode(), Once(2));
        int rows = object->Block(kAreaParams).Count(areaParams::kArnamelist);
        for (const ParamDef& def : desc.params) {
            bool free =
                def.list && (def.type == ::ParamType::kInt || def.type == ::ParamType::kBool ||
                             def.type == ::ParamType::kFloat || def.type == ::ParamType::kWorld);
            if (!free || !Once(4) || def.id == areaParams::kArtypelist) continue;
            IParamBlock2& block = object->Block(kAreaParams);
            while (block.Count(def.id) < rows) block.Append(def.id);
            for (int row = 0; row < rows; ++row) {
                ParamValue value = AnyValue(def);
                if (def.id == areaParams::kArresollist) value = int32_t(Roll(-5, 300));
                block.SetValue(def.id, 0, value, row);
            }
        }
    }

    std::vector<Point3> Positions() const {
        std::vector<Point3> positions;
        for (size_t i = 0; i < object->Build().Items().Count(); ++i)
            positions.push_back(object->Build().Items().Position(i));
        return positions;
    }
};

TEST_P(RandomBuilds, EndAndGiveTheSameItemsAgain) {
    AddNodes();
    DrawParameters();
    DrawAreas();
    TBuildFlags flags = Once(3) ? Render() : TBuildFlags();
    const TDravinBuild& build = Run(flags);
    TBuildStatus status = build.Status();
    std::vector<Point3> first = Positions();
    EXPECT_TRUE(build.Validity().Contains(0));
    EXPECT_EQ(status == TBuildStatus::kSuccess, !first.empty());
    EXPECT_EQ(build.Statistics().itemCount, int(first.size()));
    if (flags.render) {
        EXPECT_LE(first.size(), 2000u);
    }
    for (const Point3& p : first) ASSERT_TRUE(IsFinite(p));

    Run(flags);  // with the areas of the first build
    EXPECT_EQ(object->Build().Status(), status);
    EXPECT_EQ(Positions(), first);
    object->Build().Areas().Clear();
    flags.forceThreads = 3;
    Run(flags);
    EXPECT_EQ(Positions(), first);
}

TEST_P(RandomBuilds, FrozenItemsAreBuiltAgain) {
    AddNodes();
    DrawParameters();
    DrawAreas();
    Set(kEditionParams, editionParams::kMode, 1);
    const TDravinBuild& build = Run(Once(3) ? Render() : TBuildFlags());
    if (build.Status() != TBuildStatus::kSuccess) return;
    EXPECT_EQ(build.Items().Count(), object->StoredItems().size());
    for (size_t i = 0; i < build.Items().Count(); ++i)
        EXPECT_EQ(build.Items().Item(i).seed, object->StoredItems()[i].seed);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomBuilds, testing::Range(1u, 201u));

}  // namespace
