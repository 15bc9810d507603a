// The scatter system as hosts and renderers meet it: a module that is loaded. This program holds
// nothing of it.
#include "host/scene/plugin_loader.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <set>

#include "host/params/param_block.h"
#include "host/scene/host_context.h"
#include "tests/Dravin/plugin/grove.h"
#include "tests/run_program.h"

namespace {

using testing::HasSubstr;
using testing::IsNull;
using testing::NotNull;

struct Plugin : testing::Test {
    std::string error;
    // Behind the session: what that keeps for the module goes first.
    std::unique_ptr<PluginLibrary> library = PluginLibrary::Load(TEST_PLUGIN, &error);
    HostContext session;

    void SetUp() override { ASSERT_TRUE(library) << error; }
    template <class F>
    F* Export(const char* name) {
        return reinterpret_cast<F*>(library->Function(name));
    }
};

// The symbols that a module defines for others.
std::multiset<std::string> ExportsOf(const char* path) {
    std::multiset<std::string> names;
    ProgramRun run =
        RunProgram({"/usr/bin/nm", "-D", "--defined-only", "--format=posix", path}, "/");
    EXPECT_EQ(run.code, 0) << run.err;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find(' ')));
    return names;
}

TEST(PluginFile, ExportsItsThirteenFunctionsAndNothingElse) {
    EXPECT_EQ(
        ExportsOf(TEST_PLUGIN),
        (std::multiset<std::string>{
            "LibDescription", "LibNumberClasses", "LibClassDesc", "LibVersion", "LibInitialize",
            "LibShutdown", "CanAutoDefer", "IsDebug", "GetIDDesc", "calculateScatterProxy",
            "freeScatterProxy", "getScatterProxyCount", "getScatterProxy"}));
}

// The host's state is there once: the module takes the host from the shared library.
TEST(PluginFile, HoldsNoHostOfItsOwn) {
    ProgramRun run = RunProgram({"/usr/bin/nm", TEST_PLUGIN}, "/");
    std::multiset<std::string> wanted, own;
    std::istringstream lines(run.out);
    for (std::string line; std::getline(lines, line);)
        for (const char* name : {"_ZN11HostContext7CurrentEv", "_Z12CurrentEditsv",
                                 "_ZN15ReferenceTarget16NotifyDependentsERK9RefChange"})
            if (line.ends_with(std::string(" ") + name))
                (line.find(" U ") != std::string::npos ? wanted : own).insert(name);
    EXPECT_EQ(wanted.size(), 3u);
    EXPECT_THAT(own, testing::IsEmpty());
}

TEST_F(Plugin, TellsWhatItIs) {
    EXPECT_EQ(library->Description(), "Dravin Pro");
    EXPECT_EQ(Export<uint32_t()>("LibVersion")(), 0x3e802a00u);
    EXPECT_EQ(Export<int()>("LibInitialize")(), 1);
    EXPECT_EQ(Export<int()>("CanAutoDefer")(), 0);
    EXPECT_EQ(Export<int()>("IsDebug")(), 0);
    EXPECT_EQ(Export<int()>("GetIDDesc")(), 71);
    EXPECT_EQ(Export<int()>("LibShutdown")(), 1);
}

TEST_F(Plugin, TenClassesInTheirOrder) {
    struct Row {
        const char* internalName;
        SuperClass super;
    };
    constexpr Row kRows[] = {
        {"TDravin", SuperClass::kGeomObject}, {"DravinMat", SuperClass::kMaterial},
        {"XShadow", SuperClass::kShadowType}, {"TDtools", SuperClass::kUtility},
        {"DravinGeom", SuperClass::kTexmap},  {"DProxy", SuperClass::kGeomObject},
        {"DravinColor", SuperClass::kTexmap}, {"DravinLOD", SuperClass::kGeomObject},
        {"DravinEdge", SuperClass::kTexmap},  {"TDToolbar", kGlobalUtilityClass}};
    ASSERT_EQ(library->NumberClasses(), 10);
    for (int i = 0; i < 10; ++i) {
        const PluginClassDesc* desc = library->Class(i);
        ASSERT_TRUE(desc) << i;
        EXPECT_EQ(desc->internalName, kRows[i].internalName);
        EXPECT_EQ(desc->info.super, kRows[i].super) << i;
        EXPECT_EQ(desc->category, "Tavu Software");
        EXPECT_TRUE(desc->create()) << i;
    }
    EXPECT_THAT(library->Class(10), IsNull());
    EXPECT_THAT(library->Class(-1), IsNull());
}

TEST_F(Plugin, TheScatterObjectIsDescribed) {
    const PluginClassDesc& desc = *library->Class(0);
    EXPECT_TRUE(desc.isPublic);
    EXPECT_STREQ(desc.info.name, "Dravin Pro");
    EXPECT_EQ(uint32_t(desc.info.super), 16u);
    EXPECT_EQ(desc.info.id, (ClassId{0x79fe41c2, 0x1d7b4fb1}));
    EXPECT_EQ(desc.blocks.size(), 13u);
    EXPECT_EQ(desc.interfaces.size(), 3u);
}

TEST_F(Plugin, StartingItBringsItsClasses) {
    size_t before = session.classes.Size();
    ASSERT_TRUE(library->Start(session.classes, &error)) << error;
    EXPECT_EQ(session.classes.Size(), before + 15);  // and what stands beside them
    EXPECT_THAT(session.classes.Find(SuperClass::kModifier, "DravinLeaf"), NotNull());
    EXPECT_THAT(session.State<StaticInterfaces>().Find("DravinPack"), NotNull());
    // There once.
    EXPECT_FALSE(library->Start(session.classes, &error));
    EXPECT_THAT(error, HasSubstr("class 0 (TDravin) cannot be registered"));
}

TEST_F(Plugin, MakesTheItemsOfTheLinkedSystem) {
    ASSERT_TRUE(library->Start(session.classes, &error)) << error;
    Grove grove;
    ASSERT_TRUE(grove.object);
    std::string loaded = grove.Records();
    ProgramRun linked = RunProgram({TEST_LINKED_GROVE}, "/");
    EXPECT_EQ(linked.code, 0) << linked.err;
    EXPECT_GT(loaded.size(), 1000u * 120);
    EXPECT_EQ(loaded.size(), linked.out.size());
    EXPECT_TRUE(loaded == linked.out);
    // The host makes it as any of its objects.
    EXPECT_STREQ(grove.object->Class().name, "Dravin Pro");
    grove.scene.Reset();
    session.SetCurrentScene(nullptr);
}

TEST_F(Plugin, GivesTheInstancesOfTheScene) {
    auto calculate = Export<void(int)>("calculateScatterProxy");
    auto count = Export<int()>("getScatterProxyCount");
    auto records = Export<const char*()>("getScatterProxy");
    auto release = Export<void()>("freeScatterProxy");
    ASSERT_TRUE(library->Start(session.classes, &error)) << error;
    EXPECT_EQ(count(), 0);
    EXPECT_THAT(records(), IsNull());
    Grove grove;
    size_t wanted = grove.Records().size() / 120;
    calculate(0);
    ASSERT_EQ(size_t(count()), wanted);
    INode* node;
    std::memcpy(&node, records() + 96 + 56, sizeof node);  // of the second record
    EXPECT_EQ(node, grove.box.get());
    release();
    release();
    EXPECT_EQ(count(), 0);
    EXPECT_THAT(records(), IsNull());
    grove.scene.Reset();
    session.SetCurrentScene(nullptr);
}

TEST(PluginLibrary, SaysWhatIsWrongWithAFile) {
    std::string error;
    EXPECT_THAT(PluginLibrary::Load("/no/such/module.so", &error), IsNull());
    EXPECT_THAT(error, HasSubstr("/no/such/module.so: the plug-in does not load: "));
    EXPECT_THAT(PluginLibrary::Load(TEST_MERE_LIBRARY, &error), IsNull());
    EXPECT_THAT(error, HasSubstr("it is no plug-in of this host: it has no function LibDes"));
    EXPECT_THAT(PluginLibrary::Load(TEST_OTHER_VERSION, &error), IsNull());
    EXPECT_THAT(error,
                HasSubstr("built for version 0x3e802a01 of the host, this is 0x3e802a00; install"));
    TempFolder folder;
    EXPECT_THAT(PluginLibrary::Load(folder.Write("text.so", "no module"), &error), IsNull());
    EXPECT_THAT(error, HasSubstr("does not load"));
}

}  // namespace
