// What a person would see cut off, covered or out of reach in a window.
#pragma once

#include <string>
#include <vector>

class QWidget;

// A line for each text that has less room than it takes, and for each pair of controls of one
// parent that cover each other, of what is visible below the widget and in it.
std::vector<std::string> LayoutFaults(QWidget& window);

// Puts in place of every static text below the widget a longer one of other letters, as languages
// have them: two fifths more, with accents, between brackets.
void PretendTranslation(QWidget& window);
