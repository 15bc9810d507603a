#include "Dravin/proxy/dproxy.h"

#include "Dravin/assembly/dravin_classes.h"
#include "host/params/class_registry.h"
#include "tests/Dravin/build/scatter_fixture.h"

namespace {

// A box as high as the seconds that have passed.
class RisingBox : public IMeshAnimation {
public:
    std::shared_ptr<const Mesh> MeshAt(TimeValue t, Interval* valid) override {
        if (valid) *valid &= Interval::Instant(t);
        return std::make_shared<const Mesh>(MakeBox(1, 1, float(t) / 4800));
    }
};

class ProxyTest : public ScatterFixture {
protected:
    std::shared_ptr<DProxy> SourceProxy(TimeValue offset, bool isAbsolute) {
        auto rising = std::make_shared<TriObject>();
        rising->SetAnimation(std::make_shared<RisingBox>());
        auto source = INode::Create("rising", rising);
        scene.AddNode(source);
        auto proxy = std::make_shared<DProxy>();
        proxy->source = source;
        proxy->timeOffset = offset;
        proxy->isAbsoluteTime = isAbsolute;
        return proxy;
    }
    static float Height(const Mesh& mesh) { return mesh.BoundingBox().Width().z; }
};

TEST_F(ProxyTest, SourcesAreShownAtTheRendersTimeAndTheOffset) {
    auto proxy = SourceProxy(4800, false);
    EXPECT_EQ(Height(*proxy->GetRenderMesh(0)), 1);
    EXPECT_EQ(Height(*proxy->GetRenderMesh(9600)), 3);
}

TEST_F(ProxyTest, AbsoluteTimesStayWhereTheyAre) {
    auto proxy = SourceProxy(4800, true);
    EXPECT_EQ(Height(*proxy->GetRenderMesh(0)), 1);
    EXPECT_EQ(Height(*proxy->GetRenderMesh(9600)), 1);
}

TEST_F(ProxyTest, WithoutASourceTheMeshIsEmptyAndShared) {
    DProxy none, other;
    EXPECT_TRUE(none.GetRenderMesh(0)->faces.empty());
    EXPECT_EQ(none.GetRenderMesh(0), other.GetRenderMesh(7));
    auto proxy = SourceProxy(0, true);
    scene.DeleteNode(*proxy->source.Get());
    EXPECT_EQ(proxy->GetRenderMesh(0), none.GetRenderMesh(0));
    none.kind = DProxy::kObjectProxy;
    EXPECT_EQ(none.GetRenderMesh(0), other.GetRenderMesh(0));
}

TEST_F(ProxyTest, TheObjectProxyShowsTheObjectsOwnMesh) {
    const TDravinBuild& build = Run();
    ASSERT_FALSE(build.ObjectMesh().GetMesh().faces.empty());
    DProxy proxy;
    proxy.kind = DProxy::kObjectProxy;
    proxy.owner = object;
    EXPECT_EQ(proxy.GetRenderMesh(0).get(), &build.ObjectMesh().GetMesh());
}

TEST_F(ProxyTest, RenderersAskAgainEveryFrame) {
    DProxy proxy;
    EXPECT_FALSE(proxy.ObjectValidity(0).Contains(0));
    EXPECT_TRUE(proxy.IsGeomObject());
}

TEST_F(ProxyTest, BoxesAreUnitCubesWhereverTheNodeStands) {
    auto proxy = std::make_shared<DProxy>();
    auto far = INode::Create("far", proxy);
    far->SetLocalTM(Matrix3::Translation({100, 0, 0}));
    Box3 cube;
    cube += Point3{-0.5f, -0.5f, -0.5f};
    cube += Point3{0.5f, 0.5f, 0.5f};
    EXPECT_EQ(proxy->LocalBox(), cube);
    EXPECT_EQ(proxy->WorldBox(*far), cube);
}

TEST_F(ProxyTest, ConvertsToTrianglesOnly) {
    auto proxy = SourceProxy(4800, true);
    EXPECT_TRUE(DProxy::CanConvertTo(TriObject::kClass.id));
    EXPECT_TRUE(DProxy::CanConvertTo({}));
    EXPECT_FALSE(DProxy::CanConvertTo(ShapeObject::kClass.id));
    EXPECT_EQ(proxy->ConvertTo(0, ShapeObject::kClass.id), nullptr);
    std::shared_ptr<Object> mesh = proxy->ConvertTo(0, TriObject::kClass.id);
    ASSERT_TRUE(mesh);
    EXPECT_EQ(Height(*mesh->GetRenderMesh(0)), 1);
}

TEST_F(ProxyTest, SlotZeroKeepsWhatItIsGiven) {
    DProxy proxy;
    proxy.SetReference(0, box);
    EXPECT_EQ(proxy.GetReference(0), box);
    EXPECT_EQ(proxy.GetReference(1), nullptr);
}

TEST_F(ProxyTest, TheFirstPointPlacesIt) {
    for (CreationMessage first : {CreationMessage::kClick, CreationMessage::kMove}) {
        Matrix3 transform;
        EXPECT_EQ(DProxy::Place(first, 0, {3, 4, 0}, &transform), CreationAnswer::kStop);
        EXPECT_EQ(transform, Matrix3::Translation({3, 4, 0}));
        Matrix3 later;
        EXPECT_EQ(DProxy::Place(first, 1, {3, 4, 0}, &later), CreationAnswer::kContinue);
        EXPECT_EQ(later, Matrix3());
    }
    Matrix3 transform;
    EXPECT_EQ(DProxy::Place(CreationMessage::kOther, 0, {3, 4, 0}, &transform),
              CreationAnswer::kContinue);
    EXPECT_EQ(DProxy::Place(CreationMessage::kAbort, 0, {3, 4, 0}, &transform),
              CreationAnswer::kAbort);
    EXPECT_EQ(transform, Matrix3());
}

TEST_F(ProxyTest, TheRegistryHearsOfRenders) {
    std::shared_ptr<TProxyRegistry> registry = TProxyRegistry::Current();
    size_t before = registry->NumProxies();
    std::vector<TimeValue> heard;
    Connection begin = registry->renderBegin.Connect([&](TimeValue t) { heard.push_back(t); });
    Connection end = registry->renderEnd.Connect([&](TimeValue t) { heard.push_back(-t); });
    {
        DProxy proxy;
        EXPECT_EQ(registry->NumProxies(), before + 1);
        proxy.RenderBegin(160, *box);
        EXPECT_EQ(registry->RenderNode(), box.get());
        proxy.RenderEnd(160);
        EXPECT_EQ(registry->RenderNode(), nullptr);
    }
    EXPECT_EQ(heard, (std::vector<TimeValue>{160, -160}));
    EXPECT_EQ(registry->NumProxies(), before);
}

TEST_F(ProxyTest, IsAClassOfTheSession) {
    RegisterDravinClasses(host.classes);
    std::shared_ptr<ReferenceTarget> made = host.classes.Create(DProxy::kClass.id);
    EXPECT_TRUE(std::dynamic_pointer_cast<DProxy>(made));
    EXPECT_STREQ(made->Class().name, "DProxy");
}

TEST_F(ProxyTest, CopiesShowTheSame) {
    auto proxy = SourceProxy(4800, true);
    CloneMap map;
    auto copy = std::dynamic_pointer_cast<DProxy>(proxy->Clone(map));
    map.Finish();
    ASSERT_TRUE(copy);
    EXPECT_EQ(Height(*copy->GetRenderMesh(0)), 1);
}

}  // namespace
