// Random programs that compile: what the plain machine and the fast form are compared on.
#pragma once

#include <random>
#include <string>

namespace tavuvm_expr {

class random_program {
public:
    explicit random_program(uint32_t seed) : m_engine(seed) {}

    // statements: about how many.
    std::string make(int statements) {
        std::string text =
            "int i0 = 3, i1; real r0 = 0.5, r1; vector v0 = [1,2,3], v1; int a[3];\n";
        for (int s = 0; s < statements; ++s) text += statement() + "\n";
        if (pick(4) == 0) text += "return " + expression(char("irv"[pick(3)]), 2) + ";";
        return text;
    }

private:
    int pick(int count) { return int(m_engine() % uint32_t(count)); }
    std::string one_of(std::initializer_list<const char*> list) {
        return *(list.begin() + pick(int(list.size())));
    }

    std::string statement() {
        switch (pick(10)) {
            case 0:
                return one_of({"i0", "i1", "it.count", "a[1]"}) + " = " + number(3) + ";";
            case 1:
                return one_of({"r0", "r1", "it.weight"}) + " = " + number(3) + ";";
            case 2:
            case 3:
                return one_of({"v0", "v1", "it.place", "it.size"}) + " = " + expression('v', 3) +
                       ";";
            case 4:
                return one_of({"v0.x", "it.place.z", "v1.y", "it.size.x"}) + " = " + number(2) +
                       ";";
            case 5:
                return one_of({"i0++", "r0--", "it.count++", "it.place.x++", "v0++"}) + ";";
            case 6:
                return "a = " + number(2) + ";";
            case 7:
                return "a = {" + number(1) + ", " + number(1) + ", " + number(1) + "};";
            case 8:
                return "randomReal(0, 1);";
            default:
                return one_of({"r0", "i1", "it.weight", "it.count"}) + " = " + number(4) + ";";
        }
    }

    std::string number(int depth) { return expression(pick(2) ? 'i' : 'r', depth); }

    std::string expression(char type, int depth) {
        if (depth <= 0) return leaf(type);
        switch (type) {
            case 'i':
                return integer(depth - 1);
            case 'r':
                return real(depth - 1);
            default:
                return vector(depth - 1);
        }
    }

    std::string leaf(char type) {
        if (type == 'i')
            return one_of(
                {"0", "1", "-7", "13", "i0", "i1", "number", "it.count", "a[2]", "2147483647"});
        if (type == 'r')
            return one_of({"0.0", "-1.5", "0.25", "r0", "r1", "amount", "pi", "it.weight",
                           "it.fixed", "it.place.y", "v0.x", "1000000.0"});
        return one_of({"v0", "v1", "it.place", "it.size", "[0,0,0]", "[1,-2,0.5]"});
    }

    std::string integer(int d) {
        auto i = [&] { return "(" + expression('i', d) + ")"; };
        auto n = [&] { return "(" + number(d) + ")"; };
        switch (pick(9)) {
            case 0:
                return i() + one_of({" + ", " - ", " * ", " / ", " % ", " ^ "}) + i();
            case 1:
                return n() + one_of({" < ", " <= ", " > ", " >= ", " == ", " != "}) + n();
            case 2:
                return i() + one_of({" && ", " || ", " << ", " >> "}) + i();
            case 3:
                return "-" + i();
            case 4:
                return "!" + i();
            case 5:
                return "(" + expression('v', d) + one_of({") == (", ") != ("}) +
                       expression('v', d) + ")";
            case 6:
                return "randomInt(" + n() + ", " + n() + ")";
            case 7:
                return one_of({"round(", "ceil(", "floor(", "trunc("}) + "(" + expression('r', d) +
                       ") * 0.125)";
            default:
                return "if(" + n() + ", " + i() + ", " + i() + ")";
        }
    }

    std::string real(int d) {
        auto r = [&] { return "(" + expression('r', d) + ")"; };
        auto n = [&] { return "(" + number(d) + ")"; };
        auto v = [&] { return "(" + expression('v', d) + ")"; };
        switch (pick(13)) {
            case 0:
                return r() + one_of({" + ", " - ", " * ", " / ", " ^ "}) + n();
            case 1:
                return n() + one_of({" + ", " - ", " * ", " / "}) + r();
            case 2:
                return r() + " % " + r();
            case 3:
                return "-" + r();
            case 4:
                return v() + " * " + v();
            case 5:
                return one_of({"sin(", "cos(", "tan(", "asin(", "acos(", "atan(", "sinh(", "cosh(",
                               "tanh(", "radToDeg(", "degToRad(", "ln(", "log(", "exp(", "sqrt(",
                               "abs("}) +
                       n() + ")";
            case 6:
                return one_of({"min(", "max(", "pow(", "mod(", "atan2(", "randomReal("}) + n() +
                       ", " + n() + ")";
            case 7:
                return "length" + v();
            case 8:
                return "dotprod(" + v() + ", " + v() + ")";
            case 9:
                return one_of({"easeIn(", "easeOut(", "easeInOut("}) + n() + ", " + n() + ", " +
                       n() + ", " + n() + ", " + n() + ", " + n() + ")";
            case 10:
                return "if(" + n() + ", " + n() + ", " + r() + ")";
            case 11:
                return "comp(" + v() + ", " + n() + ")";
            default:
                return "twice(" + n() + ")";
        }
    }

    std::string vector(int d) {
        auto n = [&] { return "(" + number(d) + ")"; };
        auto v = [&] { return "(" + expression('v', d) + ")"; };
        switch (pick(8)) {
            case 0:
                return v() + one_of({" + ", " - ", " ^ "}) + v();
            case 1:
                return v() + one_of({" + ", " - ", " * ", " / "}) + n();
            case 2:
                return n() + one_of({" + ", " - ", " * "}) + v();
            case 3:
                return "-" + v();
            case 4:
                return "[" + number(d) + ", " + number(d) + ", " + number(d) + "]";
            case 5:
                return "unit" + v();
            case 6:
                return "crossprod(" + v() + ", " + v() + ")";
            default:
                return "if(" + n() + ", " + v() + ", " + v() + ")";
        }
    }

    std::mt19937 m_engine;
};

}  // namespace tavuvm_expr
