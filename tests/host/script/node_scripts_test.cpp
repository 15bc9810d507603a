#include "host/script/node_scripts.h"

#include <gtest/gtest.h>

#include "host/scene/host_context.h"
#include "host/scene/node.h"
#include "host/script/script_system.h"

namespace {

TEST(NodeScripts, HideAndShowTheNodeOfAHandle) {
    HostContext context;
    auto tree = INode::Create("Tree");
    auto& scripts = context.State<ScriptSystem>();
    RegisterNodeScripts(
        scripts, [&](unsigned handle) { return handle == 4294967295u ? tree.get() : nullptr; });
    EXPECT_EQ(scripts.Execute("(maxOps.getnodebyhandle 4294967295).isHidden = true").Text(),
              "true");
    EXPECT_TRUE(tree->HiddenFlag());
    EXPECT_EQ(scripts.Execute("(maxOps.getNodeByHandle 4294967295).isHidden=false").Text(),
              "false");
    EXPECT_FALSE(tree->HiddenFlag());
}

TEST(NodeScripts, HandlesOfNoNodeAreErrors) {
    HostContext context;
    ScriptSystem scripts;
    RegisterNodeScripts(scripts, [](unsigned) { return nullptr; });
    // The last two: beyond 32 bits, where 1 would be what is left of them, and below 0.
    for (std::string handle : {"7", "4294967297", "-1"})
        EXPECT_EQ(scripts.Execute("(maxOps.getnodebyhandle " + handle + ").isHidden = true").error,
                  "script error in line 1, column 1: no node has the handle " + handle +
                      ": (maxOps.getnodebyhandle " + handle + ").isHidden = true");
    EXPECT_TRUE(scripts.Execute("(maxOps.getnodebyhandle 7).isHidden = 2").IsError());
    EXPECT_TRUE(scripts.Execute("(maxOps.getnodebyhandle 1e3).isHidden = on").IsError());
}

}  // namespace
