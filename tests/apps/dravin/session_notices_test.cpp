// What a session tells its listeners about scenes, files and renders.
#include <gmock/gmock.h>

#include "apps/dravin/commands.h"
#include "apps/dravin/session.h"
#include "host/render/render_outcome.h"
#include "tests/temp_folder.h"

using testing::ElementsAre;

namespace {

constexpr const char* kScene = R"({"dravin_scene": 1, "nodes": [
  {"name": "ground", "type": "plane", "width": 20, "length": 20},
  {"name": "wood", "type": "dravin", "params": {"surflist": ["ground"]},
   "geometry": [{"kind": "template", "template": "Birch", "name": "b"}]}],
  "render": {"width": 16, "height": 16, "samples": 1}})";

class SessionNotices : public testing::Test {
protected:
    SessionNotices() {
        for (auto notice :
             {HostNotify::kSystemPreNew, HostNotify::kSystemPostNew, HostNotify::kFilePreOpen,
              HostNotify::kFilePostOpen, HostNotify::kFilePreMerge, HostNotify::kFilePostMerge,
              HostNotify::kFilePreSave, HostNotify::kFilePostSave, HostNotify::kPreRender,
              HostNotify::kRenderPreEvalFrameInfo, HostNotify::kPreRenderFrame,
              HostNotify::kPostRenderFrame, HostNotify::kPostRender})
            session.Host().notifications.Register(
                notice, [this](HostNotify n, INode*) { heard.push_back(n); });
        folder.Write("scene.json", kScene);
    }
    std::vector<HostNotify> Heard() { return std::exchange(heard, {}); }

    TempFolder folder;
    Session session;
    std::vector<HostNotify> heard;
};

}  // namespace

TEST_F(SessionNotices, OfFilesComeInPairs) {
    ASSERT_EQ(session.Open(folder.File("scene.json")), kExitDone);
    EXPECT_THAT(Heard(), ElementsAre(HostNotify::kFilePreOpen, HostNotify::kFilePostOpen,
                                     HostNotify::kFilePreMerge, HostNotify::kFilePostMerge));
    for (const char* file : {"a.json", "a.scene"}) {
        ASSERT_EQ(session.Save(folder.File(file)), kExitDone);
        EXPECT_THAT(Heard(), ElementsAre(HostNotify::kFilePreSave, HostNotify::kFilePostSave));
    }
    session.New();
    EXPECT_TRUE(session.GetScene().Nodes().empty());
    EXPECT_THAT(Heard(), ElementsAre(HostNotify::kSystemPreNew, HostNotify::kSystemPostNew));
}

TEST_F(SessionNotices, OfARenderStandAroundItsFrame) {
    ASSERT_EQ(session.Open(folder.File("scene.json")), kExitDone);
    Heard();
    RenderOutcome outcome;
    RenderOptions options;
    ASSERT_EQ(RenderOpenScene(session, options, &outcome), kExitDone);
    EXPECT_THAT(Heard(), ElementsAre(HostNotify::kPreRender, HostNotify::kRenderPreEvalFrameInfo,
                                     HostNotify::kPreRenderFrame, HostNotify::kPostRenderFrame,
                                     HostNotify::kPostRender));
    // Pictures of viewports are no renders: what renders hide is shown there.
    options.renderer = "viewport";
    ASSERT_EQ(RenderOpenScene(session, options, &outcome), kExitDone);
    EXPECT_THAT(Heard(), ElementsAre());
}
