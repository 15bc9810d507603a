#include "Dravin/panels/option_list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

TEST(OptionList, HasEveryOptionOfTheFileOnceUnderItsKey) {
    std::map<std::string, int TOptions::*> shown;
    for (const TOptionGroup& group : OptionGroups())
        for (const TOptionEntry& entry : group.entries)
            EXPECT_TRUE(shown.emplace(entry.key, entry.value).second) << entry.key;
    ASSERT_EQ(shown.size(), OptionNames().size());
    for (const TOptionName& option : OptionNames())
        EXPECT_TRUE(shown.at(option.key) == option.value) << option.key;
}

TEST(OptionList, EveryEntryTakesItsDefaultAndSaysWhatItIs) {
    TOptions defaults;
    for (const TOptionGroup& group : OptionGroups())
        for (const TOptionEntry& entry : group.entries) {
            int value = defaults.*entry.value;
            EXPECT_EQ(ShownOption(entry, value), value) << entry.key;
            EXPECT_TRUE(*entry.label && *entry.meaning) << entry.key;
            EXPECT_EQ(entry.choices.empty(), entry.kind != TOptionKind::kChoice) << entry.key;
        }
}

TEST(OptionList, OtherValuesAreShownAsTheNearest) {
    TOptionEntry dots{"a", &TOptions::pointCloudStyle, "", "", TOptionKind::kChoice, {"x", "y"}};
    EXPECT_EQ(ShownOption(dots, -3), 0);
    EXPECT_EQ(ShownOption(dots, 2), 1);
    TOptionEntry percent{"b", &TOptions::vshadowPlaneOffset, "", "", TOptionKind::kNumber, {}, 0,
                         100};
    EXPECT_EQ(ShownOption(percent, 101), 100);
    TOptionEntry tick{"c", &TOptions::noPopups, "", ""};
    EXPECT_EQ(ShownOption(tick, 7), 1);
}
