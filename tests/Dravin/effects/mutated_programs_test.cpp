// Every byte of good programs, changed: compiling ends with a program or says where it does not.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "Dravin/effects/effect_definition.h"
#include "Dravin/effects/effect_language.h"

namespace {

// What single bytes become: the ends of the range, quotes, brackets, digits, separators, a comment,
// what is not ASCII.
constexpr char kReplacements[] = {'\0', '\n', ' ', '"', '#', '\'', '(', ')', '.', '0',    '9',
                                  ';',  '<',  '=', '[', '^', 'e',  '{', '}', '-', '\x7F', '\xC3'};

const char* const kPrograms[] = {
    "int a[3] = {1, 2, 0x1F}, i; real r = .5; vector v = [1, r, -2];\n"
    "a[i + 1]++; v.x = a[2] % 3; # comment\nprint v ^ v; return v;\n",
    "{ dpItem.scale = dpItem.scale * randomReal(0.5, 1.5);\r\n"
    "dpItem.visible = (dpItem.distXPixel % 2 == 0) && !(dpItem.surfSlope > 0.5) }",
    "dpItem.rotation.z = easeInOut(dpItem.position.x, 0, 10, 0, pi, 2) + if(Max.time > 4800, 1, "
    "0.5);"
    "dpItem.tintMult = max(0, min(1, length(unit(dpItem.position)) / 2));",
};

// A compilation is a program, or an error of three lines that names a line of the source.
void CheckCompilation(const std::string& source) {
    static const TEffectNames names;
    tavuvm_expr::compilation c = names.names.compile(source);
    if (c.code) {
        ASSERT_EQ(c.error, "");
        return;
    }
    bool positional =
        (c.error.starts_with("Parse error. ") || c.error.starts_with("Compile error. ")) &&
        c.error.find(" at line ") != c.error.npos && c.error.ends_with("^\n");
    ASSERT_TRUE(positional) << source << "\n" << c.error;
}

std::string Contents(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

TEST(MutatedPrograms, TheProgramsThemselvesCompile) {
    const TEffectNames names;
    for (const char* source : kPrograms) EXPECT_EQ(names.names.compile(source).error, "");
}

TEST(MutatedPrograms, EveryByteBecomesAnother) {
    for (std::string source : kPrograms)
        for (size_t i = 0; i < source.size(); ++i) {
            std::string changed = source;
            for (char c : kReplacements) {
                changed[i] = c;
                ASSERT_NO_FATAL_FAILURE(CheckCompilation(changed));
            }
        }
}

TEST(MutatedPrograms, EveryByteIsLeftOutAndEveryEndCutOff) {
    for (std::string source : kPrograms)
        for (size_t i = 0; i < source.size(); ++i) {
            ASSERT_NO_FATAL_FAILURE(CheckCompilation(std::string(source).erase(i, 1)));
            ASSERT_NO_FATAL_FAILURE(CheckCompilation(source.substr(0, i)));
            ASSERT_NO_FATAL_FAILURE(CheckCompilation(source.substr(i)));
        }
}

// The effects that come with the product, each byte of each file changed once.
TEST(MutatedPrograms, EveryByteOfTheShippedEffects) {
    const std::filesystem::path folder =
        std::filesystem::path(DRAVIN_SOURCE_DIR) / "data" / "effects";
    size_t numFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".xml") continue;
        ++numFiles;
        const std::string file = Contents(entry.path());
        for (size_t i = 0; i < file.size(); ++i) {
            std::string changed = file, error;
            changed[i] = char(changed[i] ^ (1 << i % 8));
            auto definition = ReadEffectDefinition(changed, &error);
            ASSERT_TRUE(definition || !error.empty()) << entry.path() << " byte " << i;
            if (!definition) continue;
            ASSERT_NO_FATAL_FAILURE(CheckCompilation(definition->expression));
        }
    }
    EXPECT_GE(numFiles, 20u);
}
