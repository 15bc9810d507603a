// What people type into number fields, and how fields show numbers.
//
//   12.5  2,5          a number, with a point or a comma
//   2*3  (1+2)/4  -4   expressions of + - * / and parentheses
//   50%                a share of the present value
//   += 5  -= 5  *= 2  /= 2      changes of the present value
//   r10  r-10          the same as += 10 and -= 10
//   2m  30cm  1ft      lengths in other units than the scene's (mm cm m km in ft yd)
//
// An entry is read once and applied to each of several objects' values. Values that no number field
// could hold (a division by zero, more than 1e30) are errors. No state; any thread.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// What numbers of a field mean. Entries are in the unit that the field shows.
struct TNumberForm {
    bool isLength = false;  // takes units
    double unitMetres = 1;  // of one scene unit
    bool isInteger = false;
};

class TNumberEntry {
public:
    // False with the reason in `error`, a sentence for the user.
    bool Parse(std::string_view text, const TNumberForm& form, std::string* error);

    // The entry's value where the field holds `present`. False, with the reason, where it is none.
    bool Apply(double present, double* result, std::string* error) const;
    // Whether it depends on the present value: it then changes each of several objects.
    bool IsRelative() const { return m_isRelative; }

private:
    // Postfix: a number, or what is done with those before.
    struct Step {
        enum Kind { kNumber, kPresent, kAdd, kSubtract, kMultiply, kDivide, kNegate } kind;
        double number = 0;
    };
    friend class EntryReader;
    std::vector<Step> m_steps;
    bool m_isRelative = false;
};

// With at most 4 decimals, no zeros at the end and no exponent.
std::string ShownNumber(double value);
// As many digits as a float needs.
std::string FullNumber(double value);
// What one step of the arrows changes where the parameter does not say: a hundredth of the value's
// power of ten for fractions, 1 at least for integers.
double StepFor(double value, bool isInteger);
// What one step changes with the cursor at `place` of the shown text: one unit of the digit left of
// it; `fallback` where no digit stands there.
double StepAtCursor(std::string_view text, size_t place, double fallback);
