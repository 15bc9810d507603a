#include "apps/studio/windows/settings_window.h"

#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "apps/studio/windows/keys_page.h"
#include "apps/studio/windows/options_page.h"

SettingsWindow::SettingsWindow(StudioSession& session, ActionKeys& keys, QWidget* parent)
    : ToolWindow("Settings", "Settings", {620, 560}, parent) {
    auto* tabs = new QTabWidget;
    tabs->setDocumentMode(true);
    tabs->tabBar()->setDrawBase(false);
    tabs->addTab(new OptionsPage(session), "Options");
    tabs->addTab(new KeysPage(keys), "Keys");
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(tabs);
}
