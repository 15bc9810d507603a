// The user's options as a settings window shows them: label, meaning, kind and range of each.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Dravin/config/options.h"

enum class TOptionKind { kSwitch, kChoice, kNumber };

struct TOptionEntry {
    const char* key;  // as in the file
    int TOptions::*value;
    const char* label;
    const char* meaning;  // a sentence
    TOptionKind kind = TOptionKind::kSwitch;
    std::vector<const char*> choices = {};  // of kChoice, from 0
    int min = 0, max = 1;                   // of kNumber
};

struct TOptionGroup {
    const char* title;
    std::vector<TOptionEntry> entries;
};

// All of them, each once. The last group holds those that nothing in this program asks for: they
// are kept for other programs that share the file.
const std::vector<TOptionGroup>& OptionGroups();

// What a value of the file is shown as: the nearest that the entry takes.
int ShownOption(const TOptionEntry& entry, int value);
