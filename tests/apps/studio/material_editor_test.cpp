// The editor of materials and maps, and panels of whatever is selected, by hand.
#include "apps/studio/windows/material_editor.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QTabBar>
#include <QTableView>
#include <QTimer>

#include "Dravin/panels/class_rollouts.h"
#include "Dravin/panels/look_choices.h"
#include "apps/studio/panels/number_field.h"
#include "apps/studio/panels/rollout_stack.h"
#include "apps/studio/windows/studio_windows.h"
#include "host/scene/class_values.h"
#include "host/scene/derived_object.h"
#include "host/scene/host_context.h"
#include "host/scene/physical_material.h"
#include "host/scene/texmaps.h"
#include "tests/apps/studio/studio_window.h"

namespace {

const char* kLookScene = R"({
  "dravin_scene": 1,
  "texmaps": {"checks": {"type": "checker"}, "grain": {"type": "noise"}},
  "materials": {"bark": {"type": "standard", "diffuse": [0.4, 0.3, 0.2], "diffuse_map": "grain"},
                "moss": {"type": "standard", "diffuse": [0.2, 0.5, 0.1]}},
  "nodes": [
    {"name": "stone", "type": "box", "width": 1, "length": 1, "height": 1, "material": "bark"},
    {"name": "rock", "type": "box", "width": 2, "length": 1, "height": 1},
    {"name": "eye", "type": "camera"},
    {"name": "lamp", "type": "light"}
  ]
})";

struct MaterialWindow : StudioWindow {
    MaterialEditor* editor = nullptr;
    QListView* list = nullptr;

    void OpenEditor(const std::string& text = kLookScene) {
        Open(text);
        editor = &window->Windows().OpenMaterials();
        list = editor->findChild<QListView*>("looks");
        EXPECT_TRUE(QTest::qWaitForWindowActive(editor));
        QTest::qWait(100);  // windows settle
        Rest();
    }
    QStringList Names() {
        Rest();
        QStringList names;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            names.push_back(list->model()->index(row, 0).data().toString());
        return names;
    }
    void Choose(const QString& name) {
        int row = int(Names().indexOf(name));
        ASSERT_GE(row, 0) << name.toStdString();
        QModelIndex index = list->model()->index(row, 0);
        list->scrollTo(index);
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(index).center());
        Rest();
    }
    void Click(const char* button) {
        auto* push = editor->findChild<QAbstractButton*>(button);
        ASSERT_TRUE(push) << button;
        QTest::mouseClick(push, Qt::LeftButton);
        Rest();
    }
    template <class T>
    std::shared_ptr<T> Look(const std::string& name) {
        std::shared_ptr<T> found;
        Rest();
        Session().Look([&](Scene& scene) {
            auto it = scene.Materials().find(name);
            if (it != scene.Materials().end()) found = std::dynamic_pointer_cast<T>(it->second);
        });
        return found;
    }
    ParamControl* ControlOf(const char* name) {
        TParamKey key;
        Session().Look([&](Scene& scene) {
            std::string path = editor->findChild<QLabel*>("look_title")->text().toStdString();
            for (LookKind kind : {LookKind::kMaterial, LookKind::kMap})
                for (const SceneLook& look : LooksOf(scene, kind))
                    if (path.find("<b>" + look.path + "</b>") != std::string::npos)
                        if (auto value = FindValue(*look.target, name))
                            key = {value->table.Desc(), value->def->id};
        });
        return key.table ? editor->Rollouts()->ControlOf(key) : nullptr;
    }
    // Chooses an entry of the menu that opens next.
    void ChooseFromMenu(const QString& text) {
        QTimer::singleShot(50, qApp, [text] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            ASSERT_TRUE(menu);
            for (QAction* action : menu->actions())
                if (action->text() == text) menu->setActiveAction(action);
            hand::Key(menu, Qt::Key_Return);
        });
    }
    void SelectNode(const char* name) {
        Session().Run("scene.select", "", {{"nodes", ParamInput(name)}});
        Rest();
    }
};

}  // namespace

TEST_F(MaterialWindow, ShowsWhatTheSceneHasAndWhatIsBelow) {
    OpenEditor();
    EXPECT_EQ(Names(), (QStringList{"bark", "moss"}));
    auto* kinds = editor->findChild<QTabBar*>();
    kinds->setCurrentIndex(1);
    EXPECT_EQ(Names(), (QStringList{"checks", "grain"}));
    auto* filter = editor->findChild<QLineEdit*>();
    filter->setText("gra");
    EXPECT_EQ(Names(), (QStringList{"grain"}));
}

TEST_F(MaterialWindow, ANumberOfAMaterialIsTypedDraggedAndUndone) {
    OpenEditor();
    Choose("moss");
    auto* field = dynamic_cast<NumberField*>(ControlOf("opacity")->Editor());
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "1/4");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(Look<StandardMtl>("moss")->opacity, 0.25f);
    EXPECT_EQ(NumSteps(), 1u);
    hand::DragArrows(field, 20);
    Rest();
    EXPECT_GT(Look<StandardMtl>("moss")->opacity, 0.25f);
    EXPECT_EQ(NumSteps(), 2u);
    Session().Undo();
    Session().Undo();
    EXPECT_EQ(Look<StandardMtl>("moss")->opacity, 1.0f);
    EXPECT_EQ(Look<StandardMtl>("bark")->opacity, 1.0f);
}

TEST_F(MaterialWindow, AMapButtonOpensItsMapAndBackLeadsBack) {
    OpenEditor();
    Choose("bark");
    QTest::mouseClick(ControlOf("diffuse_map")->Editor(), Qt::LeftButton);
    Rest();
    EXPECT_EQ(editor->Kind(), LookKind::kMap);
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("grain"));
    ASSERT_TRUE(ControlOf("levels"));
    Click("look_back");
    EXPECT_EQ(editor->Kind(), LookKind::kMaterial);
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("bark"));
}

TEST_F(MaterialWindow, ASlotTakesAnotherMapByItsArrow) {
    OpenEditor();
    Choose("bark");
    ChooseFromMenu("checks");
    QTest::mouseClick(editor->findChild<QWidget*>("diffuse_map_choose"), Qt::LeftButton);
    Rest();
    auto bark = Look<StandardMtl>("bark");
    ASSERT_TRUE(bark->diffuseMap);
    EXPECT_EQ(bark->diffuseMap->ClassName(), "checker");
    ChooseFromMenu("None");
    QTest::mouseClick(editor->findChild<QWidget*>("diffuse_map_choose"), Qt::LeftButton);
    Rest();
    EXPECT_FALSE(bark->diffuseMap);
    EXPECT_EQ(NumSteps(), 2u);
    // An empty slot opens the menu by itself.
    ChooseFromMenu("grain");
    QTest::mouseClick(ControlOf("diffuse_map")->Editor(), Qt::LeftButton);
    Rest();
    EXPECT_TRUE(bark->diffuseMap);
}

TEST_F(MaterialWindow, MaterialsAreMadeRenamedAssignedAndDeleted) {
    OpenEditor();
    ChooseFromMenu("Physical");
    Click("look.new");
    QTest::qWait(120);
    EXPECT_EQ(Names(), (QStringList{"Physical", "bark", "moss"}));
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("Physical"));
    asked->texts = {"iron"};
    Click("look.rename");
    EXPECT_EQ(Names(), (QStringList{"bark", "iron", "moss"}));
    SelectNode("rock");
    Click("material.assign");
    bool isShown = false;
    Session().Look([&](Scene& scene) {
        isShown = scene.FindNode("rock")->GetMtl() == scene.Materials().at("iron").get();
    });
    EXPECT_TRUE(isShown);
    Click("look.duplicate");
    EXPECT_EQ(Names(), (QStringList{"bark", "iron", "iron 2", "moss"}));
    Click("look.delete_unused");
    EXPECT_EQ(Names(), (QStringList{"bark", "iron"}));
    while (NumSteps() > 0) Session().Undo();
    EXPECT_EQ(Names(), (QStringList{"bark", "moss"}));
}

TEST_F(MaterialWindow, WhatIsShownMayBeDeletedByOthers) {
    OpenEditor();
    Choose("moss");
    ParamControl* opacity = ControlOf("opacity");
    Session().Run("material.delete", "", {{"material", "moss"}});
    Rest();
    EXPECT_EQ(Names(), (QStringList{"bark"}));
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("bark"));
    // The control now belongs to what is shown.
    auto* field = dynamic_cast<NumberField*>(opacity->Editor());
    field->setFocus();
    QCoreApplication::processEvents();
    hand::Type(field, "0.5");
    hand::Key(field, Qt::Key_Return);
    EXPECT_EQ(Look<StandardMtl>("bark")->opacity, 0.5f);
    list->setFocus();
    QCoreApplication::processEvents();
    hand::Key(list, Qt::Key_Delete);
    EXPECT_TRUE(Names().isEmpty());
    EXPECT_EQ(editor->findChild<QLabel*>("look_title")->text(), "No materials");
    Session().Undo();
    EXPECT_EQ(Names(), (QStringList{"bark"}));
}

TEST_F(MaterialWindow, SpheresComeAndTheSceneMayGoMeanwhile) {
    OpenEditor();
    Choose("bark");
    auto* picture = editor->findChild<QLabel*>();
    for (QLabel* label : editor->findChildren<QLabel*>())
        if (label->accessibleName() == "Preview") picture = label;
    ASSERT_TRUE(hand::Wait([picture] { return !picture->pixmap(Qt::ReturnByValue).isNull(); }));
    Session().Run("material.set", "", {{"material", "bark"}, {"name", "opacity"}, {"value", 0.5}});
    Rest();
    Session().NewScene();  // while the new sphere is being traced
    Rest();
    EXPECT_TRUE(Names().isEmpty());
    QTest::qWait(100);
}

TEST_F(MaterialWindow, AThousandMaterialsAreOneListAndOnlySeenOnesArePictured) {
    std::string materials;
    for (int i = 0; i < 1000; ++i)
        materials += (i ? "," : "") + std::string("\"m") + std::to_string(1000 + i) +
                     "\": {\"type\": \"standard\"}";
    OpenEditor("{\"dravin_scene\": 1, \"materials\": {" + materials + "}, \"nodes\": []}");
    EXPECT_EQ(Names().size(), 1000);
    Choose("m1999");
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("m1999"));
    editor->findChild<QLineEdit*>()->setText("m15");
    EXPECT_EQ(Names().size(), 100);
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("m1999"));
}

TEST_F(MaterialWindow, AnImageThatIsNoneSaysSoAndStays) {
    OpenEditor();
    Choose("moss");
    std::string file = folder.Write("broken.png", "no image");
    asked->files = {file};
    ChooseFromMenu("Image File...");
    QTest::mouseClick(editor->findChild<QWidget*>("diffuse_map_choose"), Qt::LeftButton);
    Rest();
    auto moss = Look<StandardMtl>("moss");
    ASSERT_TRUE(moss->diffuseMap);
    EXPECT_EQ(moss->diffuseMap->ImageFile(), file);
    QTest::qWait(200);  // its sphere is traced without it
    Session().Undo();
    Rest();
    EXPECT_FALSE(moss->diffuseMap);
}

// --- panels of what is selected

TEST_F(MaterialWindow, ThePanelShowsWhateverIsSelected) {
    Open(kLookScene);
    SelectNode("lamp");
    TParamKey intensity;
    Session().Look([&](Scene& scene) {
        auto value = FindValue(*scene.FindNode("lamp")->GetObjectRef(), "intensity");
        intensity = {value->table.Desc(), value->def->id};
    });
    ParamControl* control = window->Panel().ControlOf(intensity);
    ASSERT_TRUE(control);
    EXPECT_TRUE(control->isVisibleTo(window.get()));
    auto* field = dynamic_cast<NumberField*>(control->Editor());
    window->activateWindow();
    field->setFocus();
    EXPECT_TRUE(hand::Wait([field] { return field->hasSelectedText(); }));
    hand::Type(field, "2.5");
    hand::Key(field, Qt::Key_Return);
    Rest();
    Session().Look([&](Scene& scene) {
        auto& light = dynamic_cast<LightObject&>(*scene.FindNode("lamp")->GetObjectRef());
        EXPECT_EQ(light.intensity.At(0), 2.5f);
    });
    SelectNode("eye");
    EXPECT_FALSE(control->isVisibleTo(window.get()));
    SelectNode("lamp");
    EXPECT_TRUE(control->isVisibleTo(window.get()));
    EXPECT_EQ(field->text(), "2.5");
}

TEST_F(MaterialWindow, AMaterialButtonOfANodeOpensTheEditor) {
    OpenEditor();
    editor->hide();
    SelectNode("stone");
    QAbstractButton* button = nullptr;
    for (auto* each : window->Panel().findChildren<QAbstractButton*>("material"))
        if (each->isVisibleTo(window.get())) button = each;
    ASSERT_TRUE(button);
    EXPECT_EQ(button->text(), "bark");
    QTest::mouseClick(button, Qt::LeftButton);
    Rest();
    EXPECT_TRUE(editor->isVisible());
    EXPECT_TRUE(editor->findChild<QLabel*>("look_title")->text().contains("bark"));
}

TEST_F(MaterialWindow, ModifiersOfANodeComeAndGoByTheirList) {
    OpenEditor();
    Session().Do([](Scene& scene) { scene.AddNode("outline", std::make_shared<ShapeObject>()); });
    SelectNode("outline");
    Session().Run("modifier.add", "outline", {{"class", "DravinLeaf"}});
    Rest();
    QTableView* rows = nullptr;
    for (auto* each : window->Panel().findChildren<QTableView*>("modifier_rows"))
        if (each->isVisibleTo(window.get())) rows = each;
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->model()->rowCount(), 1);
    EXPECT_EQ(rows->model()->index(0, 1).data().toString(), "Dravin Leaf");
    rows->model()->setData(rows->model()->index(0, 0), Qt::Unchecked, Qt::CheckStateRole);
    Rest();
    Session().Look([&](Scene& scene) {
        auto* stack = dynamic_cast<DerivedObject*>(scene.FindNode("outline")->GetObjectRef());
        EXPECT_FALSE(stack->GetModifier(0)->enabled);
    });
    rows->setCurrentIndex(rows->model()->index(0, 1));
    for (auto* each : window->Panel().findChildren<QAbstractButton*>("modifier.delete"))
        if (each->isVisibleTo(window.get())) QTest::mouseClick(each, Qt::LeftButton);
    Rest();
    Session().Look([&](Scene& scene) {
        EXPECT_TRUE(dynamic_cast<ShapeObject*>(scene.FindNode("outline")->GetObjectRef()));
    });
}

TEST_F(MaterialWindow, EveryClassOfMaterialsAndMapsHasItsControls) {
    OpenEditor();
    std::vector<std::pair<const char*, std::string>> classes;
    Session().Look([&](Scene&) {
        for (auto [type, command] : {std::pair{ParamType::kMaterial, "material.new"},
                                     std::pair{ParamType::kTexmap, "map.new"}})
            for (const ClassDesc* desc : LookClasses(type))
                classes.emplace_back(command, desc->internalName);
    });
    EXPECT_GT(classes.size(), 10u);
    for (const auto& [command, name] : classes) {
        SCOPED_TRACE(name);
        Session().Run(command, "",
                      {{"class", ParamInput(name)}, {"name", ParamInput("x " + name)}});
        Rest();
        std::shared_ptr<ReferenceTarget> look;
        Session().Look([&](Scene& scene) {
            std::string error;
            bool isMap = std::string(command) == "map.new";
            LookKind kind = isMap ? LookKind::kMap : LookKind::kMaterial;
            look = FindLook(scene, kind, "x " + name, &error);
        });
        ASSERT_TRUE(look);
        editor->ShowLook(look);
        Rest();
        ASSERT_TRUE(editor->Rollouts());
        for (const TRollout& rollout : RolloutsOf(*look))
            for (const TPanelGroup& group : rollout.groups)
                for (TParamKey key : group.params) {
                    ParamControl* control = editor->Rollouts()->ControlOf(key);
                    ASSERT_TRUE(control) << key.Def().name;
                    EXPECT_FALSE(control->Editor()->accessibleName().isEmpty()) << key.Def().name;
                }
    }
    QTest::qWait(200);
    EXPECT_FALSE(window->LogText().contains("Error")) << window->LogText().toStdString();
}

TEST_F(MaterialWindow, EveryClassOfObjectsHasItsPanel) {
    OpenEditor();
    std::vector<std::string> nodes;
    Session().Do([&](Scene& scene) {
        ClassRegistry& classes = HostContext::Current()->classes;
        for (SuperClass super : {SuperClass::kGeomObject, SuperClass::kShape, SuperClass::kCamera,
                                 SuperClass::kLight, SuperClass::kHelper, SuperClass::kParticles})
            for (const ClassDesc* desc : classes.OfSuperClass(super)) {
                auto object = std::dynamic_pointer_cast<Object>(desc->create());
                if (!desc->isPublic || !object) continue;
                nodes.push_back("a " + desc->internalName);
                scene.AddNode(nodes.back(), object);
            }
    });
    Rest();
    EXPECT_GT(nodes.size(), 8u);
    for (const std::string& name : nodes) {
        SCOPED_TRACE(name);
        SelectNode(name.c_str());
        std::vector<TParamKey> keys;
        Session().Look([&](Scene& scene) {
            for (ReferenceTarget* part : PartsOf(*scene.FindNode(name)))
                for (const TRollout& rollout : RolloutsOf(*part))
                    for (const TPanelGroup& group : rollout.groups)
                        keys.insert(keys.end(), group.params.begin(), group.params.end());
        });
        EXPECT_FALSE(keys.empty());  // every node has its own
        for (TParamKey key : keys) EXPECT_TRUE(window->Panel().ControlOf(key)) << key.Def().name;
    }
}
