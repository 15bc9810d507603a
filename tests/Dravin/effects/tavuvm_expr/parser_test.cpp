#include "Dravin/effects/tavuvm_expr/parser.h"

#include <gtest/gtest.h>

#include "tests/Dravin/effects/tavuvm_expr/tree_dump.h"
#include "tests/comma_locale.h"

namespace tavuvm_expr::parser {

namespace {

struct TreeCase {
    const char *source, *tree;
};

void ExpectTrees(std::span<const TreeCase> cases) {
    for (const TreeCase& c : cases)
        EXPECT_EQ(Tree(c.source), std::string(c.tree) + "\n") << c.source;
}

// An expression's tree.
std::string Grouped(const std::string& expression) {
    std::string tree = Tree("print " + expression + ";");
    return tree.starts_with("print ") ? tree.substr(6, tree.size() - 7) : tree;
}

std::string Repeated(int count, std::string_view part) {
    std::string text;
    for (int i = 0; i < count; ++i) text += part;
    return text;
}

}  // namespace

// --- statements

TEST(Parser, EachFormOfStatementHasItsTree) {
    const TreeCase cases[] = {
        {"return x;", "return x"},
        {"print 1.5;", "print 1.5r"},
        {"x = 1;", "x = 1"},
        {"x = true;", "x = true"},
        {"a[2] = b[i];", "a[2] = b[i]"},
        {"p.q = p.r[1].x;", "p.q = p.r[1].x"},
        {"v = [1, x, 2.5];", "v = [1, x, 2.5r]"},
        {"x = \"some text\";", "x = \"some text\""},
        {"f();", "call f()"},
        {"f(1, g(x), [1, 2, 3]);", "call f(1, g(x), [1, 2, 3])"},
    };
    ExpectTrees(cases);
}

TEST(Parser, StepsAreAssignmentsOfASum) {
    const TreeCase cases[] = {
        {"x++;", "x = (+ x 1)"},
        {"x--;", "x = (- x 1)"},
        {"a[i]++;", "a[i] = (+ a[i] 1)"},
        {"p.x--;", "p.x = (- p.x 1)"},
    };
    ExpectTrees(cases);
}

TEST(Parser, DeclarationsNameTypeSizeAndInitialiser) {
    const TreeCase cases[] = {
        {"int a;", "declare int a"},
        {"real a, b = 2;", "declare real a, real b = 2"},
        {"vector v = [1, 2, 3];", "declare vector v = [1, 2, 3]"},
        {"int a[3], b;", "declare int a[3], int b"},
        {"int a[] = {1, 2, 3};", "declare int a[3] = {1, 2, 3}"},
        {"real a[2] = {1, x};", "declare real a[2] = {1, x}"},
        {"int s = \"text\";", "declare int s = \"text\""},
        {"Int X; x = 1;", "declare int x\nx = 1"},
    };
    ExpectTrees(cases);
}

TEST(Parser, ListsMayBeEmpty) {
    EXPECT_EQ(Tree("a = {};"), "a = {}\n");
    EXPECT_EQ(Tree("int a[] = {};"), "declare int a[0] = {}\n");
}

TEST(Parser, AStatementThatEndsWithABraceNeedsNoSemicolon) {
    EXPECT_EQ(Tree("a = {1, 2} b = 3;"), "a = {1, 2}\nb = 3\n");
    EXPECT_EQ(Tree("int a[] = {1} print 2;"), "declare int a[1] = {1}\nprint 2\n");
    // The flag is of the last declarator only.
    EXPECT_EQ(Tree("int a[] = {1}, b print 2;"),
              "Parse error. expected ';' at line 1:\nint a[] = {1}, b print 2;\n"
              "                 ^\n");
}

TEST(Parser, ProgramsMayStandInBraces) {
    const TreeCase cases[] = {
        {"{ x = 1; y = 2; }", "x = 1\ny = 2"},
        {"{ x = 1; y = 2 }", "x = 1\ny = 2"},  // the closing brace ends the statement
        {"{ a = {1} }", "a = {1}"},
        {"# before\n{ x = 1; }\n# behind\n", "x = 1"},
    };
    ExpectTrees(cases);
    EXPECT_EQ(Tree("{}"), "");
    EXPECT_EQ(Tree("{;;}"), "");
}

TEST(Parser, NothingAtAllIsAProgram) {
    EXPECT_EQ(Tree(""), "");
    EXPECT_EQ(Tree(" \n\t"), "");
    EXPECT_EQ(Tree(";;;"), "");
    EXPECT_EQ(Tree("# only this"), "");
}

TEST(Parser, CommentsStandWhereverAStatementMayBegin) {
    EXPECT_EQ(Tree("# a\nx = 1; # b ; y = 2;\n# c\n\n# d\ny = 3;"), "x = 1\ny = 3\n");
    EXPECT_EQ(Tree("#a\r\nx = 1;#b\r\n"), "x = 1\n");
    EXPECT_EQ(Tree("x = # one\n1;"),
              "Parse error. Expected expression at line 1:\nx = # one\n    ^\n");
}

TEST(Parser, CharactersAreTheirCodes) {
    EXPECT_EQ(Tree("c = 'A';"), "c = 65\n");
    EXPECT_EQ(Tree("c = ' ';"), "c = 32\n");
    EXPECT_EQ(Tree("c = ''' + '\"';"), "c = (+ 39 34)\n");
    EXPECT_EQ(Tree("c = '#';"), "c = 35\n");
}

TEST(Parser, StringsBeginBehindBlanksAndBreaks) {
    EXPECT_EQ(Tree("x = \" \n# text\"; y = 1;"), "x = \"# text\"\ny = 1\n");
    // An empty literal takes the text up to the next quote.
    EXPECT_EQ(Tree("x = \"\"; y = \"; z = 1;"), "x = \"; y = \"\nz = 1\n");
}

// --- expressions

TEST(Parser, MixedChainsGroupByLevel) {
    const TreeCase cases[] = {
        {"a * b / c", "(* a (/ b c))"},     {"a + b - c", "(+ a (- b c))"},
        {"a / b * c", "(* (/ a b) c)"},     {"a - b + c", "(+ (- a b) c)"},
        {"a % b * c", "(* (% a b) c)"},     {"a || b && c", "(&& (|| a b) c)"},
        {"a && b || c", "(&& a (|| b c))"}, {"a - b - c", "(- (- a b) c)"},
        {"a < b == c", "(< a (== b c))"},   {"a == b < c", "(< (== a b) c)"},
        {"a << b + c", "(<< a (+ b c))"},   {"a + b * c - d", "(+ a (- (* b c) d))"},
        {"a > b >= c", "(> a (>= b c))"},   {"a * b + c / d", "(+ (* a b) (/ c d))"},
    };
    for (const TreeCase& c : cases) EXPECT_EQ(Grouped(c.source), c.tree) << c.source;
}

TEST(Parser, EveryPairOfOperatorsGroupsByLevel) {
    // Ascending levels; every operator has its own.
    const std::string ops[] = {
        "&&", "||", ">", ">=", "<", "<=", "==", "!=", "<<", ">>", "+", "-", "*", "/", "%", "^"};
    for (size_t p = 0; p < std::size(ops); ++p)
        for (size_t q = 0; q < std::size(ops); ++q) {
            bool rightFirst = p < q || ops[q] == "^";
            std::string wanted = rightFirst ? "(" + ops[p] + " a (" + ops[q] + " b c))"
                                            : "(" + ops[q] + " (" + ops[p] + " a b) c)";
            EXPECT_EQ(Grouped("a " + ops[p] + " b " + ops[q] + " c"), wanted);
        }
}

TEST(Parser, APowerTakesItsNeighboursFromOneLevelBelow) {
    const TreeCase cases[] = {
        {"a ^ b ^ c", "(^ a (^ b c))"},
        {"a * b ^ c", "(* a (^ b c))"},
        {"a * b ^ c * d", "(* a (* (^ b c) d))"},
        {"a * b ^ c - d", "(* a (- (^ b c) d))"},  // sub lies one level below mult
        {"a * b ^ c + d", "(+ (* a (^ b c)) d)"},  // add two
        {"a && b ^ c", "(&& a (^ b c))"},
        {"a ^ b * c", "(* (^ a b) c)"},
    };
    for (const TreeCase& c : cases) EXPECT_EQ(Grouped(c.source), c.tree) << c.source;
}

TEST(Parser, ATokenWithoutALevelEndsTheExpressionWhateverTheLevelAskedFor) {
    // && has level 0, so the power asks for -1, the level of the semicolon.
    EXPECT_EQ(Tree("x = a && b ^ c; y = 1;"), "x = (&& a (^ b c))\ny = 1\n");
}

TEST(Parser, UnaryOperatorsTakeAPrimary) {
    const TreeCase cases[] = {
        {"-a", "(neg a)"},           {"!a", "(not a)"},           {"+a", "a"},
        {"-a ^ 2", "(^ (neg a) 2)"}, {"a - -b", "(- a (neg b))"}, {"-(-a)", "(neg (neg a))"},
        {"-f(x)", "(neg f(x))"},     {"!a.b", "(not a.b)"},       {"-[1, 2, 3]", "(neg [1, 2, 3])"},
        {"a * +b", "(* a b)"},       {"a ! b", "(not a b)"},      {"a && !b", "(&& a (not b))"},
    };
    for (const TreeCase& c : cases) EXPECT_EQ(Grouped(c.source), c.tree) << c.source;
}

TEST(Parser, ParenthesesGroup) {
    EXPECT_EQ(Grouped("(a * b) / c"), "(/ (* a b) c)");
    EXPECT_EQ(Grouped("((a))"), "a");
    EXPECT_EQ(Grouped("(a ^ b) ^ c"), "(^ (^ a b) c)");
}

TEST(Parser, NodesKnowWhereTheyComeFrom) {
    ast::statements tree = expr_parser("x = a * (b + 1) ;").parse();
    const ast::expression& product = tree.node(tree.list[0].value);
    EXPECT_EQ(tree.list[0].range.first, 0u);
    EXPECT_EQ(tree.list[0].range.last, 15u);
    EXPECT_EQ(product.range.first, 4u);
    EXPECT_EQ(product.range.last, 15u);
    const ast::expression& sum = tree.node(tree.children(product)[1]);
    EXPECT_EQ(sum.range.first, 9u);
    EXPECT_EQ(sum.range.last, 14u);
}

TEST(Parser, ADecimalCommaLocaleChangesNothing) {
    CommaLocale comma;
    EXPECT_EQ(Tree("x = 1.5 + 2;"), "x = (+ 1.5r 2)\n");
    EXPECT_EQ(Tree("f(1,5);"), "call f(1, 5)\n");
}

// --- sizes

TEST(Parser, NestingEndsAtItsLimit) {
    auto nested = [](int n) {
        return Tree("x = " + Repeated(n, "(") + "1" + Repeated(n, ")") + ";");
    };
    EXPECT_EQ(nested(max_nesting - 1), "x = 1\n");
    EXPECT_TRUE(nested(max_nesting).starts_with("Parse error. Expression is nested too deeply"));
    EXPECT_TRUE(nested(10000).starts_with("Parse error. Expression is nested too deeply"));
}

TEST(Parser, NestingOfEveryKindIsLimited) {
    const std::string parts[] = {"[", "f(", "a[", "2 ^ ", "a.b[", "-(", "1 && (", "1 || 2 ^ "};
    for (const std::string& part : parts) {
        std::string source = "x = " + Repeated(10000, part);
        EXPECT_TRUE(Tree(source).starts_with("Parse error. Expression is nested too deeply"))
            << part;
    }
}

TEST(Parser, LongChainsAreNotNested) {
    for (std::string op : {"+", "-", "&&", "*", "%"}) {
        std::string source = "x = 1";
        while (source.size() < 1000000) source += op + "1";
        ast::statements tree = expr_parser(source + ";").parse();
        EXPECT_EQ(tree.list.size(), 1u) << op;
        EXPECT_GT(tree.nodes.size(), 600000u) << op;
    }
}

TEST(Parser, AMegabyteOfStatements) {
    std::string source;
    while (source.size() < 1000000) source += "x = x + 1;\n";
    EXPECT_EQ(expr_parser(source).parse().list.size(), source.size() / 11);
}

TEST(Parser, AMegabyteOfAnyOneCharacterEnds) {
    for (char c : std::string("{}()[];,.=+-!#'\"aA1_ \n\t^&|<>@\0\xFF", 31)) {
        std::string tree = Tree(std::string(1000000, c));
        EXPECT_TRUE(tree.empty() || tree.starts_with("Parse error. ")) << int(c);
    }
}

}  // namespace tavuvm_expr::parser
