#include "host/base/program_part.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/temp_folder.h"

TEST(ProgramPart, TheVariableWinsWhateverItNames) {
    setenv("DRAVIN_TEST_PART", "/nowhere/part", 1);
    EXPECT_EQ(FindProgramPart("DRAVIN_TEST_PART", {"."}, "/proc/self/exe"), "/nowhere/part");
    unsetenv("DRAVIN_TEST_PART");
}

TEST(ProgramPart, PlacesAreLookedAtInOrderFromTheProgramsFolder) {
    std::filesystem::path own = std::filesystem::canonical("/proc/self/exe");
    std::string name = own.filename().string();
    std::string found = FindProgramPart("DRAVIN_TEST_PART", {"missing", name.c_str()}, "");
    EXPECT_EQ(found, own.string());
}

TEST(ProgramPart, WhatTheBuildMadeIsTheLastResort) {
    TempFolder folder;
    folder.Write("part", "x");
    EXPECT_EQ(FindProgramPart("DRAVIN_TEST_PART", {"missing"}, folder.File("part")),
              folder.File("part"));
    EXPECT_EQ(FindProgramPart("DRAVIN_TEST_PART", {"missing"}, folder.File("none")), "");
}
