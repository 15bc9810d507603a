#include "apps/studio/windows/welcome.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>
#include <QVBoxLayout>

namespace {

constexpr SampleScene kSamples[] = {
    {"forest.json", "Valley",
     "A lake, a meadow and a forest of six species; a farm with areas and paths. 1.1 million "
     "items."},
    {"wall.json", "Wall", "Ivy and roses climb a garden wall, over its own mapping."},
    {"boulders.json", "Boulders", "Moss and flowers on the faces of stones at a forest pool."},
    {"autumn.json", "Autumn", "A gust carries red and yellow leaves across an avenue: particles."},
};
constexpr const char* kShown = "welcome/shown";

}  // namespace

std::span<const SampleScene> SampleScenes() { return kSamples; }

std::string SamplesFolder() {
    QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return (data + "/dravin/samples").toStdString();
}

bool Welcome::WasShown() {
    bool wasShown = QSettings().value(kShown).toBool();
    QSettings().setValue(kShown, true);
    return wasShown;
}

Welcome::Welcome(Actions actions, QWidget* parent) : QDialog(parent) {
    setObjectName("welcome");
    setWindowTitle("Welcome to Dravin Studio");
    auto* column = new QVBoxLayout(this);
    auto* head = new QLabel("Open a sample scene, or take the tour of the window.");
    column->addWidget(head);
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const SampleScene& sample : kSamples) {
        auto* open = new QPushButton(sample.title);
        open->setObjectName(sample.file);
        auto* text = new QLabel(sample.text);
        text->setWordWrap(true);
        connect(open, &QPushButton::clicked, this, [this, actions, &sample] {
            accept();
            actions.open(sample);
        });
        grid->addWidget(open, row, 0);
        grid->addWidget(text, row++, 1);
    }
    column->addLayout(grid);
    auto* buttons = new QHBoxLayout;
    auto* tour = new QPushButton("Take the Tour");
    tour->setObjectName("take_tour");
    auto* close = new QPushButton("Close");
    connect(tour, &QPushButton::clicked, this, [this, actions] {
        accept();
        actions.tour();
    });
    connect(close, &QPushButton::clicked, this, [this] { reject(); });
    buttons->addWidget(tour);
    buttons->addStretch(1);
    buttons->addWidget(close);
    column->addLayout(buttons);
    setMinimumWidth(480);
}
