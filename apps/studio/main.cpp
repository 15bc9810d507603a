// dravin-studio [SCENE | --demo FOLDER]
#include <cstdio>

#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>

#include "apps/studio/main_window.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/studio_windows.h"

int main(int argc, char** argv) {
    // The brush wants every place that the hand was at; whoever draws merges for itself.
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
    QApplication application(argc, argv);
    QApplication::setOrganizationName("dravin");
    QApplication::setApplicationName("studio");
    QApplication::setApplicationDisplayName("Dravin Studio");
    QApplication::setApplicationVersion(DRAVIN_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription("Scatter plants, stones and crowds over scenes.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("scene", "A scene description (.json) or scene file.", "[scene]");
    parser.addOption({"demo", "Open the demo scene, made in FOLDER when it is missing.", "FOLDER"});
    parser.process(application);
    if (parser.positionalArguments().size() > 1) {
        std::fprintf(stderr, "error: one scene at a time can be opened\n");
        return 2;
    }
    ApplyTheme(application,
               QSettings().value("window/light").toBool() ? Theme::kLight : Theme::kDark);
    MainWindow window;
    window.show();
    if (parser.isSet("demo"))
        window.OpenDemo(parser.value("demo").toStdString());
    else if (!parser.positionalArguments().isEmpty())
        window.OpenFile(parser.positionalArguments()[0].toStdString());
    window.Windows().OfferRecovery(false);
    return QApplication::exec();
}
