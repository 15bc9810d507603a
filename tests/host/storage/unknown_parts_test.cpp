// What a program does not know of a scene file, it keeps.
#include <gtest/gtest.h>

#include "tests/host/storage/stored_scene.h"

namespace {

// A class of a module that is there when the file is written, and not when it is read.
class Gadget : public Object {
public:
    Property<int> number{this, 0};
    Reference<INode> friendNode{this};
    std::shared_ptr<Texmap> map;

    static constexpr ClassInfo kClass{{0x77, 0x88}, SuperClass::kGeomObject, "Gadget"};
    ClassInfo Class() const override { return kClass; }
    int NumRefs() const override { return 1; }
    std::shared_ptr<ReferenceTarget> GetReference(int) const override { return friendNode.Share(); }
    void SetReference(int, std::shared_ptr<ReferenceTarget> target) override {
        friendNode = std::dynamic_pointer_cast<INode>(target);
    }
};

template <class Fields>
void VisitGadget(Fields& fields, Gadget& gadget) {
    fields(1, gadget.number);
    fields.Target(2, gadget.map, [&gadget](std::shared_ptr<Texmap> map) { gadget.map = map; });
}

class UnknownParts : public testing::Test, public StoredScene {
protected:
    UnknownParts() {
        full.Register<Gadget>([](auto& fields, Gadget& gadget) { VisitGadget(fields, gadget); },
                              [] { return std::make_shared<Gadget>(); });
    }
    std::string SaveFull(Scene& what) {
        std::vector<std::string> warnings;
        std::string error;
        EXPECT_TRUE(SaveSceneFile(what, folder.File("f.dscene"), full, &warnings, &error)) << error;
        return folder.Read("f.dscene");
    }
    SceneReadResult LoadFull(const std::string& bytes) {
        return LoadSceneBytes(bytes, "f.dscene", "", full, *loaders);
    }
    SceneStorage full;
};

}  // namespace

TEST_F(UnknownParts, EntitiesOfMissingClassesComeThrough) {
    auto gadget = std::make_shared<Gadget>();
    gadget->number = 42;
    INode* other = scene.AddNode("other", nullptr);
    gadget->friendNode = std::static_pointer_cast<INode>(other->shared_from_this());
    gadget->map = std::make_shared<UvwTex>();
    scene.AddNode("gadget", gadget);

    SceneReadResult without = Load(SaveFull(scene));
    ASSERT_TRUE(without) << without.error;
    ASSERT_EQ(without.warnings.size(), 1u);
    EXPECT_NE(without.warnings[0].find("\"Gadget\""), std::string::npos);
    // The scene grows meanwhile, so that entities have other numbers.
    without.scene->SetMaterial("new", std::make_shared<StandardMtl>());
    std::string bytes = Save(*without.scene);

    SceneReadResult with = LoadFull(bytes);
    ASSERT_TRUE(with) << with.error;
    auto* back = dynamic_cast<Gadget*>(with.scene->FindNode("gadget")->GetObjectRef());
    ASSERT_TRUE(back);
    EXPECT_EQ(back->number, 42);
    EXPECT_EQ(back->friendNode.Get(), with.scene->FindNode("other"));
    EXPECT_TRUE(dynamic_cast<UvwTex*>(back->map.get()));
}

TEST_F(UnknownParts, ClassesThatNobodyCanReadAreToldWhenSaving) {
    scene.AddNode("gadget", std::make_shared<Gadget>());
    std::vector<std::string> warnings;
    std::string error;
    ASSERT_TRUE(SaveSceneFile(scene, folder.File("s.dscene"), storage, &warnings, &error));
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_NE(warnings[0].find("\"Gadget\""), std::string::npos);
    SceneReadResult result = Load(folder.Read("s.dscene"));
    ASSERT_TRUE(result) << result.error;
    EXPECT_EQ(result.scene->FindNode("gadget")->GetObjectRef(), nullptr);
}

TEST_F(UnknownParts, FieldsOfLaterVersionsComeThrough) {
    struct Later {
        int number = 0;
    };
    auto later = std::make_shared<Later>(Later{17});
    SceneStorage newer;
    newer.Register<DummyObject>([later](auto& fields, DummyObject&) { fields(99, later->number); });
    scene.AddNode("dummy", std::make_shared<DummyObject>());
    std::vector<std::string> warnings;
    std::string error;
    ASSERT_TRUE(SaveSceneFile(scene, folder.File("n.dscene"), newer, &warnings, &error));
    SceneReadResult old = Load(folder.Read("n.dscene"));
    ASSERT_TRUE(old) << old.error;
    std::string bytes = Save(*old.scene);
    later->number = 0;
    ASSERT_TRUE(LoadSceneBytes(bytes, "n", "", newer, *loaders));
    EXPECT_EQ(later->number, 17);
}
