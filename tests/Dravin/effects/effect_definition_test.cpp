#include "Dravin/effects/effect_definition.h"

#include <gtest/gtest.h>

#include "tests/comma_locale.h"

namespace {

TEffectDefinition Read(const std::string& xml) {
    std::string error;
    auto definition = ReadEffectDefinition(xml, &error);
    EXPECT_TRUE(definition) << error;
    return definition.value_or(TEffectDefinition{});
}

std::string Error(const std::string& xml) {
    std::string error;
    EXPECT_FALSE(ReadEffectDefinition(xml, &error)) << xml;
    return error;
}

std::string Effect(const std::string& inner) {
    return "<effects><effect version=\"1\">" + inner + "</effect></effects>";
}

}  // namespace

TEST(EffectDefinition, ReadsTheProgramAndItsTitle) {
    TEffectDefinition d = Read(
        "<?xml version=\"1.0\"?>\n<effects>\n  <effect version=\"3\">\n"
        "    <title>Lean</title>\n    <expression>print 1;</expression>\n  "
        "</effect>\n</effects>\n");
    EXPECT_EQ(d.version, 3);
    EXPECT_EQ(d.title, "Lean");
    EXPECT_EQ(d.expression, "print 1;");
    EXPECT_TRUE(d.parameters.empty());
}

TEST(EffectDefinition, WhatIsMissingStaysEmpty) {
    EXPECT_EQ(Read(Effect("<expression>print 1;</expression>")).title, "");
    EXPECT_EQ(Read(Effect("<title>Lean</title>")).expression, "");
    EXPECT_EQ(Read("<effects/>").expression, "");
    EXPECT_EQ(Read("<effects><effect/></effects>").version, 1);
    EXPECT_EQ(Read(Effect("<expression/>")).expression, "");
}

TEST(EffectDefinition, WhatIsUnknownIsLeftOut) {
    TEffectDefinition d =
        Read(Effect("<author>x</author><expression a=\"1\">print 1;</expression><!-- c -->"));
    EXPECT_EQ(d.expression, "print 1;");
}

TEST(EffectDefinition, TextAndCdataOfTheProgramAreJoined) {
    TEffectDefinition d = Read(Effect(
        "<expression>print 1 &lt; 2;\n<![CDATA[print 3 < 4 && 1;]]>\nprint 5;</expression>"));
    EXPECT_EQ(d.expression, "print 1 < 2;\nprint 3 < 4 && 1;\nprint 5;");
    EXPECT_EQ(
        Read(Effect("<expression><![CDATA[a]]><!-- no --><![CDATA[b]]></expression>")).expression,
        "ab");
    EXPECT_EQ(Read(Effect("<expression>&#65;&amp;&quot;&apos;&gt;</expression>")).expression,
              "A&\"'>");
}

TEST(EffectDefinition, LineEndsComeAsXmlHandsThemOver) {
    EXPECT_EQ(Read(Effect("<expression>a\r\nb\rc\nd</expression>")).expression, "a\nb\nc\nd");
    EXPECT_EQ(Read(Effect("<expression>\n  a;\n</expression>")).expression, "\n  a;\n");
}

TEST(EffectDefinition, TheFirstEffectCounts) {
    EXPECT_EQ(Read("<effects><effect><title>A</title></effect><effect><title>B</title></effect>"
                   "</effects>")
                  .title,
              "A");
}

TEST(EffectDefinition, ReadsParameters) {
    TEffectDefinition d = Read(Effect(
        "<parameter name=\"amount\" kind=\"unit\" value=\"1.5\" min=\"0\" max=\"10\" limit=\"1\">\n"
        "  How\n   much  </parameter><parameter name=\"map\" kind=\"texmap\"/>"));
    ASSERT_EQ(d.parameters.size(), 2u);
    const TEffectParameterDefinition& p = d.parameters[0];
    EXPECT_EQ(p.name, "amount");
    EXPECT_EQ(p.kind, "unit");
    EXPECT_EQ(p.value + " " + p.min + " " + p.max, "1.5 0 10");
    EXPECT_TRUE(p.limit);
    EXPECT_EQ(p.description, "How much");
    EXPECT_EQ(d.parameters[1].kind, "texmap");
    EXPECT_FALSE(d.parameters[1].limit);
}

TEST(EffectDefinition, ANulDoesNotCutTheProgram) {
    TEffectDefinition definition;
    definition.expression = std::string("int x;\0 x = 1;", 14);
    auto again = ReadEffectDefinition(WriteEffectDefinition(definition), nullptr);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->expression, "int x;\xEF\xBF\xBD x = 1;");
}

TEST(EffectDefinition, ADecimalCommaLocaleChangesNothing) {
    CommaLocale comma;
    TEffectDefinition d = Read(Effect("<parameter name=\"a\" value=\"1.5\"/>"));
    EXPECT_EQ(d.parameters[0].value, "1.5");
    EXPECT_EQ(d.version, 1);
}

// --- refusals

TEST(EffectDefinition, WhatIsNotWellFormedIsRefusedWithItsLine) {
    EXPECT_EQ(Error("<effects>\n<effect>\n</effects>").substr(0, 29),
              "line 3: not well-formed XML: ");
    for (const char* xml :
         {"", "print 1;", "<", "<effects", "<effects>", "<effects></effect>", "<effects a=1/>",
          "<effects><!-- </effects>", "<effects><![CDATA[</effects>"})
        EXPECT_NE(Error(xml).find("not well-formed XML"), std::string::npos) << xml;
}

TEST(EffectDefinition, AnotherRootIsRefused) {
    EXPECT_EQ(Error("<effect><expression>print 1;</expression></effect>"),
              "expected the root element \"effects\", found \"effect\"");
    EXPECT_EQ(Error("<Effects/>"), "expected the root element \"effects\", found \"Effects\"");
}

TEST(EffectDefinition, ADocumentTypeIsRefused) {
    EXPECT_EQ(Error("<!DOCTYPE effects><effects/>"), "a document type declaration is not allowed");
    EXPECT_EQ(Error("<!DOCTYPE a [<!ENTITY b \"b\"><!ENTITY c \"&b;&b;\">]><effects/>"),
              "a document type declaration is not allowed");
}

TEST(EffectDefinition, NestingEndsAtItsLimit) {
    auto nested = [](int depth) {
        std::string open, close;
        for (int i = 0; i < depth; ++i) open += "<a>", close += "</a>";
        return "<effects>" + open + close + "</effects>";
    };
    EXPECT_EQ(Read(nested(255)).expression, "");
    EXPECT_EQ(Error(nested(300)), "elements are nested more than 256 deep");
    EXPECT_EQ(Error(nested(200000)), "elements are nested more than 256 deep");
}

TEST(EffectDefinition, TheReasonMayGoUnread) { EXPECT_FALSE(ReadEffectDefinition("<", nullptr)); }

// --- writing

TEST(EffectDefinition, WhatIsWrittenIsReadAgain) {
    TEffectDefinition d;
    d.version = 2;
    d.title = "Lean & <turn>";
    d.description = "Two words";
    d.expression = "# \"a\" < b && c > 'd'\n\tprint 1;\r\nprint 2; ]]>";
    d.parameters.push_back({"amount", "How much", "integer", "3", "-1", "9", true});
    d.parameters.push_back({"curve", "", "curve", "", "", "", false});
    TEffectDefinition read = Read(WriteEffectDefinition(d));
    EXPECT_EQ(read.version, 2);
    EXPECT_EQ(read.title, d.title);
    EXPECT_EQ(read.description, d.description);
    EXPECT_EQ(read.expression, d.expression);
    ASSERT_EQ(read.parameters.size(), 2u);
    EXPECT_EQ(read.parameters[0].max, "9");
    EXPECT_TRUE(read.parameters[0].limit);
    EXPECT_EQ(read.parameters[0].description, "How much");
    EXPECT_EQ(read.parameters[1].kind, "curve");
    EXPECT_FALSE(read.parameters[1].limit);
}

TEST(EffectDefinition, AnEmptyOneKeepsItsForm) {
    std::string xml = WriteEffectDefinition({});
    EXPECT_EQ(xml,
              "<effects><effect version=\"1\"><expression></expression>"
              "<title></title></effect></effects>");
}

// --- which form a text has

TEST(EffectDefinition, ATextThatBeginsWithATagIsADefinition) {
    EXPECT_TRUE(IsEffectDefinition("<effects/>"));
    EXPECT_TRUE(IsEffectDefinition(" \t\r\n<?xml version=\"1.0\"?>"));
    EXPECT_TRUE(IsEffectDefinition("\xEF\xBB\xBF<effects/>"));
    EXPECT_FALSE(IsEffectDefinition("print 1 < 2;"));
    EXPECT_FALSE(IsEffectDefinition("# <effects/>"));
    EXPECT_FALSE(IsEffectDefinition(""));
    EXPECT_FALSE(IsEffectDefinition(" \n"));
}
