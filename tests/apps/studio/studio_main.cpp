// Tests of the window need an application, and settings of their own.
#include <gtest/gtest.h>

#include <QApplication>

#include "apps/studio/theme.h"
#include "tests/temp_folder.h"

int main(int argc, char** argv) {
    TempFolder settings;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(settings.File("")));
    testing::InitGoogleTest(&argc, argv);
    QApplication application(argc, argv);
    QApplication::setOrganizationName("dravin");
    QApplication::setApplicationName("studio-test");
    ApplyTheme(application, Theme::kDark);
    return RUN_ALL_TESTS();
}
