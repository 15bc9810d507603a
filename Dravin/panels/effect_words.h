// The words of effect programs with their help: what an editor colours, completes and explains.
//
// Types, arguments and what may be written come from the language's own tables; the help is here.
// A constant table; any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>

enum class EffectWordKind { kKeyword, kFunction, kAttribute, kConstant };

struct TEffectWord {
    std::string name;  // as it is written in examples
    EffectWordKind kind = EffectWordKind::kKeyword;
    std::string signature;  // "real sin(real)", "vector dpItem.position"
    std::string help;       // a sentence
};

// By kind, and then in the order of the language's tables. Attributes are those of dpItem.
std::span<const TEffectWord> EffectWords();
// Capitals or not; null when the word means nothing of its own.
const TEffectWord* FindEffectWord(std::string_view name);
