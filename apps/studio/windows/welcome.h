// The first start: sample scenes to open, and a tour of the window. Closed, it comes no more by
// itself; the menu Help has it.
#pragma once

#include <functional>
#include <span>
#include <string>

#include <QDialog>

// Sample scenes, as they lie in the samples' folder.
struct SampleScene {
    const char *file, *title, *text;
};
std::span<const SampleScene> SampleScenes();
// Where they are written when one is opened first: below the user's data.
std::string SamplesFolder();

class Welcome : public QDialog {
public:
    struct Actions {
        std::function<void(const SampleScene&)> open;
        std::function<void()> tour;
    };
    Welcome(Actions actions, QWidget* parent);

    // Whether it has been shown to this user already; from now on it has.
    static bool WasShown();
};
