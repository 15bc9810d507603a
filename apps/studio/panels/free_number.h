// Number fields of values that are no parameters: entries, drags and the default go to functions.
#pragma once

#include <functional>

#include <QPoint>

#include "Dravin/panels/number_entry.h"

class NumberField;

struct FreeNumber {
    const char* name = "";  // of the widget
    const char* help = "";  // its tooltip, and what it is called by
    TNumberForm form = {};
    // Takes the value: an entry, or the end of a drag or of a burst of steps.
    std::function<void(double)> set = {};
    // Hears the values of a drag, and where it began when it is given up; none: only the field
    // shows them.
    std::function<void(double)> preview = {};
    std::function<double(double)> bounded = {};  // the nearest possible value; none: any is
    std::function<void()> reset = {};
    std::function<void(const QPoint& global)> menu = {};
    std::function<double(double value)> step = {};  // none: 1
};

// The caller shows values in it (NumberField::Show) and owns it.
NumberField* MakeFreeNumber(FreeNumber number);
