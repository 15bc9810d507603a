// Objects that a user makes with the mouse in a view: what a create tool tells the object's class,
// and what the class answers.
#pragma once

// A button went down, or the mouse moved, while a point of the object was being placed; it was
// given up; anything else.
enum class CreationMessage { kClick, kMove, kAbort, kOther };

enum class CreationAnswer {
    kContinue,  // the object wants more
    kStop,      // it is made
    kAbort,     // there is none
};
