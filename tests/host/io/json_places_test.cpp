#include "host/io/json_places.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

constexpr const char* kText = R"({
  // a comment with "quotes" and { braces
  "a": [1, {"b/c": "x, ]y"}],
  "d": /* and another */ {"e": null}
})";

std::string Found(const JsonPath& path, bool key = false) {
    size_t at = LocateJson(kText, path, key);
    return std::string(kText).substr(at, 5);
}

}  // namespace

TEST(JsonPlaces, FindsValuesAndKeys) {
    EXPECT_EQ(Found({"a", "0"}), "1, {\"");
    EXPECT_EQ(Found({"a", "1", "b/c"}), "\"x, ]");
    EXPECT_EQ(Found({"a", "1", "b/c"}, true), "\"b/c\"");
    EXPECT_EQ(Found({"d", "e"}), "null}");
    EXPECT_EQ(Found({}), "{\n  /");
    EXPECT_EQ(Found({"d", "missing"}), "{\"e\":");
}

TEST(JsonPlaces, LinesAndColumnsCountFromOne) {
    TextPosition at = PositionOf("ab\ncd\n", 4);
    EXPECT_EQ(at.line, 2u);
    EXPECT_EQ(at.column, 2u);
    EXPECT_EQ(PositionOf("ab", 0).column, 1u);
    EXPECT_EQ(PositionOf("ab\n", 3).line, 2u);
}

TEST(JsonPlaces, PointersEscapeTheirSteps) {
    EXPECT_EQ(PointerText({"nodes", "3", "a/b~c"}), "/nodes/3/a~1b~0c");
    EXPECT_EQ(PointerText({}), "");
}

TEST(JsonPlaces, DepthDoesNotCountStringsOrComments) {
    EXPECT_FALSE(FindDepthDefect(R"([[ "[[[[" // [[[
        ]])",
                                 2));
    auto deep = FindDepthDefect("[ [ [] ] ]", 2);
    ASSERT_TRUE(deep);
    EXPECT_EQ(deep->offset, 4u);
    EXPECT_TRUE(FindDepthDefect(std::string(100000, '['), 64));
}

TEST(JsonPlaces, RepeatedKeysAndHugeNumbers) {
    auto repeated = FindJsonDefect(R"({"a": {"x": 1, "y": 2, "\u0078": 3}})");
    ASSERT_TRUE(repeated);
    EXPECT_EQ(PointerText(repeated->path), "/a/x");
    EXPECT_EQ(repeated->offset, 23u);
    auto huge = FindJsonDefect(R"({"a": [1e-400, -1e999]})");
    ASSERT_TRUE(huge);
    EXPECT_EQ(PointerText(huge->path), "/a/1");
    EXPECT_FALSE(FindJsonDefect(R"({"a": [1, {"a": 1}], "b": "1e999"})"));
}

TEST(JsonPlaces, PrefixesNeverRunOutOfTheText) {
    std::string text = kText;
    for (size_t n = 0; n <= text.size(); ++n) {
        FindDepthDefect(text.substr(0, n), 64);
        FindJsonDefect(text.substr(0, n));
        LocateJson(text.substr(0, n), {"d", "e"});
    }
}

TEST(JsonPlaces, PrettyTextReadsBackAndKeepsShortThingsTogether) {
    nlohmann::ordered_json value = {{"name", "x"}, {"matrix", {{1, 0, 0}, {0, 1, 0}}}};
    for (int i = 0; i < 60; ++i) value["numbers"].push_back(i * 0.1);
    std::string text = PrettyJson(value);
    EXPECT_EQ(nlohmann::ordered_json::parse(text), value);
    EXPECT_NE(text.find("\"matrix\": [[1, 0, 0], [0, 1, 0]]"), std::string::npos);
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1)
        EXPECT_LE(end - start, 101u);
}
