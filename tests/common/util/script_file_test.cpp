#include "common/util/script_file.h"

#include <gmock/gmock.h>

#include "host/scene/host_context.h"
#include "host/script/script_system.h"
#include "tests/temp_folder.h"

using testing::HasSubstr;

namespace {

class ScriptFile : public testing::Test {
protected:
    ScriptFile() {
        session.State<ScriptSystem>().Register("say %s", [this](const ScriptArguments& a) {
            said.push_back(a.Text(0));
            return ScriptResult{int64_t(said.size()), {}};
        });
    }
    HostContext session;
    TempFolder folder;
    std::vector<std::string> said;
};

}  // namespace

TEST_F(ScriptFile, RunsTheFileAndThenTheCommand) {
    folder.Write("a b.ms", "say one\nsay two; say three\n");
    EXPECT_EQ(RunScriptFile(folder.File("a b.ms"), "say four").Text(), "4");
    EXPECT_THAT(said, testing::ElementsAre("one", "two", "three", "four"));
    EXPECT_EQ(RunScriptFile(folder.File("a b.ms"), "").Text(), "7");
}

TEST_F(ScriptFile, ErrorsEndIt) {
    folder.Write("bad.ms", "say one\nshout two\nsay three\n");
    ScriptResult result = RunScriptFile(folder.File("bad.ms"), "say four");
    EXPECT_TRUE(result.IsError());
    EXPECT_THAT(said, testing::ElementsAre("one"));
    EXPECT_THAT(RunScriptFile(folder.File("none.ms"), "say x").error, HasSubstr("none.ms"));
    EXPECT_THAT(said, testing::ElementsAre("one"));
}

TEST_F(ScriptFile, AFileThatIncludesItselfEnds) {
    folder.Write("ring.ms", "include " + QuoteForScript(folder.File("ring.ms")) + "\n");
    EXPECT_TRUE(RunScriptFile(folder.File("ring.ms"), "").IsError());
}
