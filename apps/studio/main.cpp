// dravin-studio [SCENE | --demo FOLDER] [--watch]
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string_view>

#include <QApplication>
#include <QCommandLineParser>
#include <QSettings>

#include "apps/studio/event_watch.h"
#include "apps/studio/main_window.h"
#include "apps/studio/theme.h"
#include "apps/studio/windows/studio_windows.h"
#include "apps/studio/windows/welcome.h"

int main(int argc, char** argv) {
    // The brush wants every place that the hand was at; whoever draws merges for itself.
    QCoreApplication::setAttribute(Qt::AA_CompressHighFrequencyEvents, false);
    // What is watched is the application itself, which reads the options.
    bool isWatched = std::find(argv, argv + argc, std::string_view("--watch")) != argv + argc;
    auto* watched = isWatched ? new WatchedApplication(argc, argv) : nullptr;
    std::unique_ptr<QApplication> owned(watched ? watched : new QApplication(argc, argv));
    QApplication& application = *owned;
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
    parser.addOption({"watch", "At the end, print how long the window took for input."});
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
    bool isFirst = !Welcome::WasShown();
    if (isFirst && !parser.isSet("demo") && parser.positionalArguments().isEmpty())
        window.OpenWelcome();
    int code = QApplication::exec();
    if (watched) std::printf("%s", watched->Watch().Report().c_str());
    return code;
}
