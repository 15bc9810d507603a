#include "Dravin/panels/number_entry.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

namespace {

constexpr int kMaxDepth = 64;
constexpr size_t kMaxText = 1000;
constexpr double kLargest = 1e30;

struct Unit {
    std::string_view name;
    double metres;
};
// Longer names before those that they begin with.
constexpr Unit kUnits[] = {{"mm", 0.001},  {"cm", 0.01},   {"km", 1000},
                           {"m", 1},       {"in", 0.0254}, {"ft", 0.3048},
                           {"yd", 0.9144}, {"\"", 0.0254}, {"'", 0.3048}};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

// Recursive descent over the text; what it has read stands in the entry.
class EntryReader {
public:
    EntryReader(std::string_view text, const TNumberForm& form, TNumberEntry& entry)
        : m_text(text), m_form(form), m_entry(entry) {}

    // The reason that it is no entry; empty when it is one.
    std::string Read() {
        Skip();
        if (AtEnd()) return "a number is missing";
        Step::Kind change = Change();
        if (change != Step::kNumber) {
            Present();
            Sum();
            Put(change);
        } else {
            Sum();
        }
        if (m_error.empty() && !AtEnd())
            Fail(fmt::format("\"{}\" is not expected", m_text.substr(m_at)));
        return m_error;
    }

private:
    using Step = TNumberEntry::Step;

    // The change of the present value that the text begins with; kNumber: none.
    Step::Kind Change() {
        if (m_text[m_at] == 'r' || m_text[m_at] == 'R') return ++m_at, Step::kAdd;
        if (m_at + 1 >= m_text.size() || m_text[m_at + 1] != '=') return Step::kNumber;
        constexpr std::string_view kSigns = "+-*/";
        constexpr Step::Kind kKinds[] = {Step::kAdd, Step::kSubtract, Step::kMultiply,
                                         Step::kDivide};
        size_t sign = kSigns.find(m_text[m_at]);
        if (sign == std::string_view::npos) return Step::kNumber;
        m_at += 2;
        return kKinds[sign];
    }
    void Sum() {
        Product();
        while (m_error.empty())
            if (Take('+'))
                Product(), Put(Step::kAdd);
            else if (Take('-'))
                Product(), Put(Step::kSubtract);
            else
                return;
    }
    void Product() {
        Signed();
        while (m_error.empty())
            if (Take('*'))
                Signed(), Put(Step::kMultiply);
            else if (Take('/'))
                Signed(), Put(Step::kDivide);
            else
                return;
    }
    void Signed() {
        if (++m_depth > kMaxDepth) return Fail("it is nested too deeply");
        if (Take('-'))
            Signed(), Put(Step::kNegate);
        else if (Take('+'))
            Signed();
        else
            Shared();
        --m_depth;
    }
    // A value, perhaps with a percent sign.
    void Shared() {
        Value();
        if (!m_error.empty() || !Take('%')) return;
        m_entry.m_steps.push_back({Step::kNumber, 0.01});
        Put(Step::kMultiply);
        Present();
        Put(Step::kMultiply);
    }
    void Value() {
        if (Take('(')) {
            Sum();
            if (m_error.empty() && !Take(')')) Fail("\")\" is missing");
            return;
        }
        Skip();
        if (AtEnd()) return Fail("a number is missing at the end");
        char c = m_text[m_at];
        if (!IsDigit(c) && c != '.' && c != ',')
            return Fail(fmt::format("a number is expected instead of \"{}\"", m_text.substr(m_at)));
        Number();
        WithUnit();
    }
    void Number() {
        std::string digits;
        size_t start = m_at;
        for (; !AtEnd(); ++m_at) {
            char c = m_text[m_at];
            bool isExponent = (c == 'e' || c == 'E') && m_at + 1 < m_text.size() &&
                              (IsDigit(m_text[m_at + 1]) || m_text[m_at + 1] == '-');
            bool isSign = c == '-' && m_at > start && (digits.back() == 'e');
            if (!IsDigit(c) && c != '.' && c != ',' && !isExponent && !isSign) break;
            digits += c == ',' ? '.' : isExponent ? 'e' : c;
        }
        double number = 0;
        auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
        bool isWhole = code == std::errc() && end == digits.data() + digits.size();
        if (!isWhole)
            return Fail(fmt::format("\"{}\" is no number", m_text.substr(start, m_at - start)));
        m_entry.m_steps.push_back({Step::kNumber, number});
    }
    void WithUnit() {
        if (!m_error.empty()) return;
        Skip();
        for (const Unit& unit : kUnits) {
            if (m_text.substr(m_at, unit.name.size()) != unit.name) continue;
            if (!m_form.isLength) return Fail("it is no length and takes no unit");
            m_at += unit.name.size();
            m_entry.m_steps.back().number *= unit.metres / m_form.unitMetres;
            return;
        }
    }

    void Present() {
        m_entry.m_steps.push_back({Step::kPresent});
        m_entry.m_isRelative = true;
    }
    void Put(Step::Kind kind) { m_entry.m_steps.push_back({kind}); }
    void Skip() {
        while (!AtEnd() && (m_text[m_at] == ' ' || m_text[m_at] == '\t')) ++m_at;
    }
    bool Take(char c) {
        Skip();
        if (AtEnd() || m_text[m_at] != c) return false;
        ++m_at;
        return true;
    }
    bool AtEnd() const { return m_at >= m_text.size(); }
    void Fail(std::string why) {
        if (m_error.empty()) m_error = std::move(why);
    }

    std::string_view m_text;
    const TNumberForm& m_form;
    TNumberEntry& m_entry;
    std::string m_error;
    size_t m_at = 0;
    int m_depth = 0;
};

bool TNumberEntry::Parse(std::string_view text, const TNumberForm& form, std::string* error) {
    m_steps.clear();
    m_isRelative = false;
    *error = text.size() > kMaxText ? "it is too long" : EntryReader(text, form, *this).Read();
    if (error->empty()) return true;
    m_steps.clear();
    return false;
}

bool TNumberEntry::Apply(double present, double* result, std::string* error) const {
    std::vector<double> stack;
    auto pop = [&] {
        double top = stack.back();
        stack.pop_back();
        return top;
    };
    for (const Step& step : m_steps) {
        if (step.kind == Step::kNumber || step.kind == Step::kPresent) {
            stack.push_back(step.kind == Step::kNumber ? step.number : present);
            continue;
        }
        double b = pop();
        if (step.kind == Step::kNegate) {
            stack.push_back(-b);
            continue;
        }
        double a = pop();
        stack.push_back(step.kind == Step::kAdd        ? a + b
                        : step.kind == Step::kSubtract ? a - b
                        : step.kind == Step::kMultiply ? a * b
                                                       : a / b);
    }
    if (stack.size() != 1 || !(std::fabs(stack[0]) <= kLargest)) {
        *error = "the result is no number that can be kept";
        return false;
    }
    *result = stack[0];
    return true;
}

std::string ShownNumber(double value) {
    std::string text = fmt::format("{:.4f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    return text == "-0" ? "0" : text;
}

std::string FullNumber(double value) { return fmt::format("{}", float(value)); }

double StepFor(double value, bool isInteger) {
    constexpr double kSmallest = 0.001;
    double size = std::fabs(value);
    double step = size > 0 ? std::pow(10, std::floor(std::log10(size)) - (isInteger ? 1 : 2)) : 0.1;
    return std::max(step, isInteger ? 1.0 : kSmallest);
}

double StepAtCursor(std::string_view text, size_t place, double fallback) {
    if (place == 0 || place > text.size() || !IsDigit(text[place - 1])) return fallback;
    if (!std::all_of(text.begin(), text.end(),
                     [](char c) { return IsDigit(c) || c == '.' || c == ',' || c == '-'; }))
        return fallback;
    size_t point = std::min(text.find_first_of(".,"), text.size());
    int power = place <= point ? int(point - place) : -int(place - point - 1);
    return std::pow(10, power);
}
