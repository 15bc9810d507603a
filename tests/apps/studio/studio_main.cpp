// Tests of the window need an application, and settings of their own.
#include <cstring>

#include <gtest/gtest.h>

#include "apps/studio/event_watch.h"
#include "apps/studio/theme.h"
#include "tests/apps/studio/leave_changes.h"
#include "tests/temp_folder.h"

int main(int argc, char** argv) {
    bool isLeaving = argc == 3 && std::strcmp(argv[1], "--leave-changes") == 0;
    TempFolder settings;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.File("")));
    if (!isLeaving) qputenv("XDG_STATE_HOME", QByteArray::fromStdString(settings.File("state")));
    testing::InitGoogleTest(&argc, argv);
    WatchedApplication application(argc, argv);
    QApplication::setOrganizationName("dravin");
    QApplication::setApplicationName("studio-test");
    ApplyTheme(application, Theme::kDark);
    return isLeaving ? LeaveChanges(argv[2]) : RUN_ALL_TESTS();
}
