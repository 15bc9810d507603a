#include "Dravin/effects/effect_commands.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

#include <unistd.h>

#include <gtest/gtest.h>

#include "Dravin/effects/effect_folders.h"
#include "Dravin/params/dravin_params.h"
#include "host/scene/host_context.h"
#include "host/scene/texmaps.h"

using namespace effectParams;

namespace {

constexpr const char* kLocked =
    "This operation is not allowed while Effects Editor or Browser is open.\n"
    "Please close it and try again.";
constexpr const char* kNothingSelected =
    "There is not any Effect selected.\nPlease select or add a new one before editing it.";

class EffectCommands : public testing::Test {
protected:
    HostContext host;
    ScriptedUserInterface* user = nullptr;
    std::shared_ptr<IParamBlock2> block =
        IParamBlock2::Create(DravinBlocks()[kEffectParams], nullptr);
    int marks = 0;
    TEffectCommands commands{block, [this] { ++marks; }};

    void SetUp() override {
        auto scripted = std::make_unique<ScriptedUserInterface>();
        user = scripted.get();
        host.SetUserInterface(std::move(scripted));
    }
    void Add(int count) {
        for (int i = 0; i < count; ++i) commands.Add();
        marks = 0;
    }
    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (int i = 0; i < block->Count(kEfnamelist); ++i)
            names.push_back(block->GetString(kEfnamelist, 0, i));
        return names;
    }
    std::string Id(int row) { return block->GetString(kEfidlist, 0, row); }
    // The one message shown since the last call, a warning.
    std::string Warning() {
        EXPECT_EQ(user->messages.size(), 1u);
        if (user->messages.empty()) return {};
        EXPECT_EQ(user->messages[0].kind, MessageKind::kWarning);
        std::string text = user->messages[0].text;
        user->messages.clear();
        return text;
    }
    int AddParameter(const std::string& id, const std::string& effect, int kind = 0) {
        TEffectParameterRecord record;
        record.id = id;
        record.effectId = effect;
        record.name = "name of " + id;
        record.kind = kind;
        commands.AddOrUpdateParameter(record);
        return commands.FindParameter(id);
    }
};

using NameList = std::vector<std::string>;

// --- ids

TEST_F(EffectCommands, AnIdHas38CharactersInBraces) {
    for (int i = 0; i < 100; ++i) {
        std::string id = MakeEffectId();
        ASSERT_EQ(id.size(), 38u);
        for (size_t k = 0; k < id.size(); ++k) {
            std::string allowed = k == 0                                    ? "{"
                                  : k == 37                                 ? "}"
                                  : k == 9 || k == 14 || k == 19 || k == 24 ? "-"
                                                                            : "0123456789abcdef";
            ASSERT_NE(allowed.find(id[k]), allowed.npos) << id;
        }
    }
}

// A draw below 32768 becomes one of sixteen digits.
TEST_F(EffectCommands, DigitsOfIdsAreScaledDraws) {
    int drawn = 0;
    auto draw = [&] { return drawn++ % 16 * 2048 + 2047; };
    EXPECT_EQ(MakeEffectId(draw), "{01234567-89ab-cdef-0123-456789abcdef}");
    EXPECT_EQ(drawn, 32);
    EXPECT_NE(MakeEffectId(), MakeEffectId());
}

TEST_F(EffectCommands, AnIdThatIsTakenIsDrawnAgain) {
    Add(1);
    int drawn = 0;
    auto draw = [&] { return drawn++ < 32 ? 0 : 32767; };
    block->SetValue(kEfidlist, 0, "{00000000-0000-0000-0000-000000000000}", 0);
    EXPECT_EQ(MakeFreshId(*block, kEfidlist, draw), "{ffffffff-ffff-ffff-ffff-ffffffffffff}");
}

// --- the list

TEST_F(EffectCommands, ANewEffectIsNumberedAndSelected) {
    EXPECT_EQ(commands.Add(), 0);
    EXPECT_EQ(commands.Add(), 1);
    EXPECT_EQ(Names(), (NameList{"Effect1", "Effect2"}));
    EXPECT_EQ(block->GetString(kEfxmllist, 0, 1), "");
    EXPECT_EQ(block->GetInt(kEfenablelist, 0, 1), 1);
    EXPECT_EQ(commands.Rows().GetSelection(), std::vector<int>{1});
    EXPECT_NE(Id(0), Id(1));
    EXPECT_EQ(marks, 2);
}

TEST_F(EffectCommands, NamesRepeatAfterADeletion) {
    Add(3);
    commands.Add();
    EXPECT_EQ(Names().back(), "Effect4");
    commands.Rows().Select({1});
    EXPECT_TRUE(commands.Delete());
    EXPECT_EQ(commands.Add(), 3);
    EXPECT_EQ(Names(), (NameList{"Effect1", "Effect3", "Effect4", "Effect4"}));
}

TEST_F(EffectCommands, AddingIsOneUndoStep) {
    commands.Add();
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(host.Undo().Undo());
    for (ParamID id : {kEfidlist, kEfnamelist, kEfxmllist, kEfenablelist})
        EXPECT_EQ(block->Count(id), 0);
    EXPECT_TRUE(host.Undo().Redo());
    EXPECT_EQ(Names(), NameList{"Effect1"});
}

TEST_F(EffectCommands, DeletingTakesTheParametersOfTheEffectAlong) {
    Add(2);
    AddParameter("a", Id(0));
    AddParameter("b", Id(1));
    AddParameter("c", Id(0));
    host.Undo().Clear();
    marks = 0;
    commands.Rows().Select({0});
    EXPECT_TRUE(commands.Delete());
    EXPECT_EQ(Names(), NameList{"Effect2"});
    EXPECT_EQ(block->Count(kEfpaid), 1);
    EXPECT_EQ(commands.FindParameter("b"), 0);
    EXPECT_GE(marks, 1);
    EXPECT_EQ(host.Undo().NumUndoSteps(), 1u);
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_EQ(Names().size(), 2u);
    EXPECT_EQ(commands.FindParameter("c"), 2);
}

TEST_F(EffectCommands, NothingSelectedDeletesNothing) {
    Add(1);
    commands.Rows().Select({});
    EXPECT_FALSE(commands.Delete());
    EXPECT_EQ(Warning(), kNothingSelected);
    EXPECT_EQ(Names().size(), 1u);
    EXPECT_EQ(marks, 0);
}

TEST_F(EffectCommands, MovingChangesTheOrderByOne) {
    Add(3);
    commands.Rows().Select({2});
    EXPECT_TRUE(commands.MoveUp());
    EXPECT_EQ(Names(), (NameList{"Effect1", "Effect3", "Effect2"}));
    EXPECT_TRUE(commands.MoveUp());
    EXPECT_FALSE(commands.MoveUp());  // it is the first
    EXPECT_TRUE(commands.MoveDown());
    EXPECT_EQ(Names(), (NameList{"Effect1", "Effect3", "Effect2"}));
    EXPECT_EQ(marks, 3);
}

TEST_F(EffectCommands, TheListKeepsItsRowsWhileAWindowIsOpen) {
    Add(3);
    for (bool editor : {true, false}) {
        ASSERT_TRUE(editor ? commands.ToggleEditor() : commands.ToggleBrowser());
        const std::vector<std::string> before = Names();
        EXPECT_FALSE(commands.Add());
        EXPECT_EQ(Warning(), kLocked);
        EXPECT_FALSE(commands.Delete());
        EXPECT_EQ(Warning(), kLocked);
        EXPECT_FALSE(commands.MoveUp());
        EXPECT_EQ(Warning(), kLocked);
        EXPECT_FALSE(commands.MoveDown());
        EXPECT_EQ(Warning(), kLocked);
        EXPECT_EQ(Names(), before);
        ASSERT_TRUE(editor ? commands.ToggleEditor() : commands.ToggleBrowser());
    }
    EXPECT_EQ(marks, 0);
    EXPECT_TRUE(commands.Add());
}

// --- the windows

TEST_F(EffectCommands, PressingTwiceOpensAndCloses) {
    Add(2);
    commands.Rows().Select({1});
    EXPECT_EQ(commands.EditorIndex(), -1);
    EXPECT_TRUE(commands.ToggleEditor());
    EXPECT_EQ(commands.EditorIndex(), 1);
    EXPECT_TRUE(commands.ToggleEditor());
    EXPECT_EQ(commands.EditorIndex(), -1);
    EXPECT_TRUE(commands.ToggleBrowser());
    EXPECT_EQ(commands.BrowserIndex(), 1);
    EXPECT_TRUE(commands.ToggleBrowser());
    EXPECT_EQ(commands.BrowserIndex(), -1);
    EXPECT_TRUE(user->messages.empty());
}

TEST_F(EffectCommands, TheWindowsExcludeEachOther) {
    Add(1);
    commands.ToggleEditor();
    EXPECT_FALSE(commands.ToggleBrowser());
    EXPECT_EQ(Warning(), "Effects Editor is open. Please close it before open the Library Browser");
    EXPECT_EQ(commands.BrowserIndex(), -1);
    EXPECT_EQ(commands.EditorIndex(), 0);
    commands.ToggleEditor();
    commands.ToggleBrowser();
    EXPECT_FALSE(commands.ToggleEditor());
    EXPECT_EQ(Warning(), "Effects Library is open. Please close it before open the Editor");
    EXPECT_EQ(commands.EditorIndex(), -1);
    EXPECT_EQ(commands.BrowserIndex(), 0);
}

TEST_F(EffectCommands, AWindowNeedsAnEffect) {
    EXPECT_FALSE(commands.ToggleEditor());
    EXPECT_EQ(Warning(), kNothingSelected);
    EXPECT_FALSE(commands.ToggleBrowser());
    EXPECT_EQ(Warning(), kNothingSelected);
    EXPECT_EQ(commands.EditorIndex(), -1);
    EXPECT_EQ(commands.BrowserIndex(), -1);
}

TEST_F(EffectCommands, ClosingAWindowNeedsASelectionToo) {
    Add(1);
    commands.ToggleEditor();
    commands.Rows().Select({});
    EXPECT_FALSE(commands.ToggleEditor());
    EXPECT_EQ(commands.EditorIndex(), 0);
    commands.Rows().Select({0});
    EXPECT_TRUE(commands.ToggleEditor());
    EXPECT_EQ(commands.EditorIndex(), -1);
}

TEST_F(EffectCommands, AWindowThatDoesNotAgreeStaysOpen) {
    Add(1);
    commands.ToggleEditor();
    EXPECT_FALSE(commands.ToggleEditor([] { return false; }));
    EXPECT_EQ(commands.EditorIndex(), 0);
    EXPECT_TRUE(commands.ToggleEditor([] { return true; }));
    EXPECT_EQ(commands.EditorIndex(), -1);
}

// --- parameters

TEST_F(EffectCommands, AParameterIsFoundByItsIdOrAppended) {
    EXPECT_EQ(commands.FindParameter("a"), -1);
    EXPECT_EQ(AddParameter("a", "e"), 0);
    EXPECT_EQ(AddParameter("b", "e"), 1);
    TEffectParameterRecord record = commands.ReadParameter(0);
    record.name = "other";
    record.kind = 3;
    record.limit = true;
    record.values[kEfpafloatval] = {2.5f, {}};
    commands.AddOrUpdateParameter(record);
    EXPECT_EQ(block->Count(kEfpaid), 2);
    EXPECT_EQ(block->GetString(kEfpaname, 0, 0), "other");
    EXPECT_EQ(block->GetString(kEfpaname, 0, 1), "name of b");
    EXPECT_EQ(block->GetFloat(kEfpafloatval, 0, 0), 2.5f);
    EXPECT_GE(marks, 3);
}

TEST_F(EffectCommands, ANewParameterAppendsToEveryList) {
    AddParameter("a", "e");
    AddParameter("b", "e");
    for (ParamID id : {kEfpaid, kEfpaeffid, kEfpatype, kEfpaname, kEfpalimit, kEfpadesc,
                       kEfpanumtype, kEfpaintval, kEfpafloatval, kEfpaunitval, kEfpainode,
                       kEfpacontref, kEfpacontanim, kEfpacontype, kEfpatexmap, kEfpacurve})
        EXPECT_EQ(block->Count(id), 2) << id;
}

TEST_F(EffectCommands, ARecordReadIsTheRecordWritten) {
    TEffectParameterRecord record;
    record.id = "a";
    record.effectId = "e";
    record.name = "amount";
    record.description = "How much";
    record.numberKind = 2;
    record.limit = true;
    record.values[kEfpaunitmax] = {10.0f, {}};
    commands.AddOrUpdateParameter(record);
    TEffectParameterRecord read = commands.ReadParameter(0);
    EXPECT_EQ(read.effectId, "e");
    EXPECT_EQ(read.name, "amount");
    EXPECT_EQ(read.description, "How much");
    EXPECT_EQ(read.numberKind, 2);
    EXPECT_TRUE(read.limit);
    EXPECT_EQ(std::get<float>(read.values[kEfpaunitmax].value), 10.0f);
}

TEST_F(EffectCommands, HelpShowsTheDescriptionUnderTheName) {
    int row = AddParameter("a", "e");
    commands.ShowDescription(row);
    ASSERT_EQ(user->messages.size(), 1u);
    EXPECT_EQ(user->messages[0].text, "No Description");
    EXPECT_EQ(user->messages[0].caption, "name of a");
    block->SetValue(kEfpadesc, 0, std::string("How much"), row);
    commands.ShowDescription(row);
    EXPECT_EQ(user->messages[1].text, "How much");
    commands.ShowDescription(-1);
    commands.ShowDescription(5);
    EXPECT_EQ(user->messages.size(), 2u);
}

TEST_F(EffectCommands, ClearingATextureMarksTheMachinesEvenWithoutOne) {
    int row = AddParameter("a", "e", 3);
    marks = 0;
    commands.ClearTextures({row});
    EXPECT_EQ(marks, 1);
    EXPECT_EQ(block->GetReference(kEfpatexmap, 0, row), nullptr);
    std::shared_ptr<ReferenceTarget> map = std::make_shared<CheckerTex>();
    block->SetValue(kEfpatexmap, 0, map, row);
    ASSERT_NE(block->GetReference(kEfpatexmap, 0, row), nullptr);
    commands.ClearTextures({row});
    EXPECT_EQ(block->GetReference(kEfpatexmap, 0, row), nullptr);
    EXPECT_EQ(marks, 2);
    commands.ClearTextures({7});
    EXPECT_EQ(marks, 2);
}

// --- undo of the editor

TEST_F(EffectCommands, UndoAndRedoHandTheRecordToTheEditor) {
    TEffectParameterRecord before, after;
    before.name = "before";
    after.name = "after";
    NameList applied;
    bool running = true;
    auto apply = [&](const TEffectParameterRecord& record) {
        if (running) applied.push_back(record.name);
        return running;
    };
    host.Undo().Begin();
    host.Undo().Put(std::make_unique<TEffParamRestore>(before, after, apply));
    host.Undo().Accept("Edit Parameter");
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_TRUE(host.Undo().Redo());
    EXPECT_EQ(applied, (NameList{"before", "after"}));
    running = false;  // the editor is closed: nothing happens, and nothing breaks
    EXPECT_TRUE(host.Undo().Undo());
    EXPECT_TRUE(host.Undo().Redo());
    EXPECT_EQ(applied.size(), 2u);
}

// --- folders

class EffectsFoldersTest : public testing::Test {
protected:
    std::filesystem::path root = std::filesystem::path(testing::TempDir()) /
                                 ("effects_folders_" + std::to_string(::getpid()));
    std::map<std::string, std::string> values;
    std::string error;

    void SetUp() override { std::filesystem::remove_all(root); }
    void TearDown() override { std::filesystem::remove_all(root); }
    std::optional<TEffectsFolders> Folders() {
        return EffectsFolders(values, root / "data", root / "documents", &error);
    }
};

TEST_F(EffectsFoldersTest, AreMadeAndRecordedTheFirstTime) {
    auto folders = Folders();
    ASSERT_TRUE(folders) << error;
    EXPECT_EQ(folders->library, (root / "data" / "effects").string());
    EXPECT_EQ(folders->user, (root / "documents" / "Dravin Pack" / "effects").string());
    EXPECT_TRUE(std::filesystem::is_directory(folders->library));
    EXPECT_TRUE(std::filesystem::is_directory(folders->user));
    EXPECT_EQ(values, (std::map<std::string, std::string>{{"effects", folders->library},
                                                          {"User's Effects", folders->user}}));
    EXPECT_TRUE(Folders());  // folders that exist are no error
}

TEST_F(EffectsFoldersTest, KeepWhatTheSettingsSay) {
    values = {{"effects", "/some/library"}, {"Mine", "/my/effects"}};
    auto folders = Folders();
    ASSERT_TRUE(folders);
    EXPECT_EQ(folders->library, "/some/library");
    EXPECT_EQ(folders->user, "/my/effects");
    EXPECT_FALSE(std::filesystem::exists(root));
}

TEST_F(EffectsFoldersTest, AFileInTheWayIsToldAndNothingIsRecorded) {
    std::filesystem::create_directories(root);
    std::ofstream(root / "documents") << "a file";
    EXPECT_FALSE(Folders());
    EXPECT_NE(error.find("documents"), error.npos) << error;
    EXPECT_TRUE(values.empty());
}

}  // namespace
