#include "Dravin/build/custom_edit.h"
#include "Dravin/commands/item_commands.h"
#include "Dravin/dravin.h"
#include "Dravin/geometry/tree_spec_list.h"
#include "host/scene/host_context.h"
#include "host/scene/scene.h"

namespace {

constexpr const char* kCaption = "Dravin Pack";
constexpr float kShortestDrag = 0.0001f;

bool Asks(const char* question) {
    return HostContext::Current()->UserInterface().Question(question, kCaption,
                                                            QuestionKind::kYesNo) == Answer::kYes;
}

// What the camera leaves out becomes part of the items when the user wants it.
FrozenItems AskWhichItems(const TDravin& object, TimeValue t) {
    const IParamBlock2& camera = object.Block(kCamParams);
    bool isLimited =
        camera.GetNode(camParams::kCamera, t) && camera.GetBool(camParams::kCamlimit, t);
    if (!isLimited) return FrozenItems::kAll;
    return Asks(
               "Some items are not visible in the viewport because Camera clipping.\n"
               "Do you want include them in the Custom Edit distribution ?")
               ? FrozenItems::kAll
               : FrozenItems::kInView;
}

// Answers the object's question about the mode; true when the mode may change.
void AnswerSwitch(TDravin& object, TDravin::ModeSwitch& asked) {
    if (asked.newMode == 1) {
        asked.answer = Asks(
            "Switching to Custom Edit mode will disable\nArea/Distribution parameters. Are you "
            "sure ?");
        if (*asked.answer)
            ConvertToCustomEdit(object, asked.time, AskWhichItems(object, asked.time));
        return;
    }
    asked.answer = Asks(
        "Switching to Generate mode will restore all items changes,\nand the Dravin object will be "
        "recreated. Are you sure ?");
    if (*asked.answer) object.SetStoredItems({});
}

}  // namespace

TimeValue TItemCommands::Time() const { return m_scene.GetTime(); }

bool TItemCommands::IsEditing() const {
    return m_object.editingItems &&
           m_object.Block(kEditionParams).GetInt(editionParams::kMode, Time()) == 1;
}

bool TItemCommands::SwitchMode(int mode) {
    Connection answers = m_object.modeSwitch.Connect(
        [this](TDravin::ModeSwitch& asked) { AnswerSwitch(m_object, asked); });
    IParamBlock2& block = m_object.Block(kEditionParams);
    block.SetValue(editionParams::kMode, Time(), mode);
    bool done = block.GetInt(editionParams::kMode, Time()) == mode;
    if (done) m_object.UpdatePanel(PanelUpdate::kEnableRules);
    return done;
}

void TItemCommands::SetLevel(int level) {
    m_object.levelDeclined = false;
    if (level == 0) {
        m_object.editingItems = false;
    } else {
        m_object.editingItems = true;
        bool isCustom = m_object.Block(kEditionParams).GetInt(editionParams::kMode, Time()) == 1;
        m_object.levelDeclined = !isCustom && !SwitchMode(1);
        if (m_object.levelDeclined) return;
    }
    m_object.TellItemsChanged();
    m_object.UpdatePanel(PanelUpdate::kEnableRules);
}

INode* CreateDravin(Scene& scene, int creationMode, const Point3& place, float drag) {
    if (creationMode == 2 && !(drag >= kShortestDrag)) return nullptr;
    auto object = TDravin::Create();
    object->chooseMapSize = true;
    if (creationMode == 1) object->Block(kEditionParams).SetValue(editionParams::kMode, 0, 1);
    if (creationMode != 2)
        TTreeSpecList(
            std::static_pointer_cast<IParamBlock2>(object->Block(kGeomParams).shared_from_this()))
            .AppendRow(TSpecEntry());
    else
        object->Block(kGenParams).SetValue(genParams::kIconsize, 0, drag);
    const TCreationSizes& sizes = HostContext::Current()->State<TCreationSizes>();
    object->Block(kGeomParams).SetValue(geomParams::kWidth, 0, sizes.width);
    object->Block(kGeomParams).SetValue(geomParams::kHeight, 0, sizes.height);
    INode* node = scene.AddNode(scene.UniqueNodeName("Dravin"), object);
    node->SetLocalTM(Matrix3::Translation(place));
    if (creationMode == 1) object->editingItems = true;
    return node;
}
