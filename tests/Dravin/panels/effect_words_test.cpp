#include "Dravin/panels/effect_words.h"

#include <gtest/gtest.h>

#include "Dravin/effects/effect_language.h"
#include "Dravin/effects/item_attributes.h"

TEST(EffectWords, EveryWordOfTheLanguageHasHelp) {
    size_t functions = 0, attributes = 0;
    for (const TEffectWord& word : EffectWords()) {
        EXPECT_FALSE(word.help.empty()) << word.name;
        functions += word.kind == EffectWordKind::kFunction;
        attributes += word.kind == EffectWordKind::kAttribute;
    }
    EXPECT_EQ(functions, EffectFunctions().size());
    EXPECT_EQ(attributes, ItemAttributes().size());
}

TEST(EffectWords, SignaturesComeFromTheTables) {
    EXPECT_EQ(FindEffectWord("RANDOMREAL")->signature, "real randomReal(real, real)");
    EXPECT_EQ(FindEffectWord("position")->signature, "vector dpItem.position");
    EXPECT_EQ(FindEffectWord("surfslope")->signature, "real dpItem.surfSlope (read only)");
    EXPECT_EQ(FindEffectWord("evaluatecurve")->signature, "real evaluateCurve(curve, real)");
    EXPECT_EQ(FindEffectWord("lean"), nullptr);
}
