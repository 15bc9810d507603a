#include "tests/apps/studio/leave_changes.h"

#include <cstdio>

#include "apps/studio/main_window.h"
#include "apps/studio/windows/studio_windows.h"
#include "host/scene/scene.h"
#include "host/scene/user_interface.h"
#include "tests/apps/studio/hand.h"

int LeaveChanges(const char* scene) {
    MainWindow window([] { return std::make_unique<ScriptedUserInterface>(); });
    window.show();
    StudioSession& session = window.Session();
    auto rest = [&] { return hand::Wait([&] { return session.IsFree(); }); };
    if (*scene) window.OpenFile(scene);
    rest();
    for (int i = 0; i < 20; ++i) {
        if (*scene)
            session.Run("node.rename", i ? "stone" + std::to_string(i) : "stone",
                        {{"name", "stone" + std::to_string(i + 1)}});
        else
            session.Run("object.create", "", {});
        rest();
    }
    hand::Wait([&] { return !window.Windows().Copies().LastCopy().empty(); });
    std::printf("saved %s\n", window.Windows().Copies().LastCopy().c_str());
    std::fflush(stdout);
    return hand::Wait([] { return false; });
}
