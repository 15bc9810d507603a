#include "Dravin/effects/effect_kinds.h"

#include <algorithm>
#include <iterator>

using namespace effectParams;

const std::vector<std::string>& EffectKindWords() {
    static const std::vector<std::string> words = [] {
        std::vector<std::string> all;
        for (const TEffectKind& kind : kEffectKinds) all.emplace_back(kind.word);
        return all;
    }();
    return words;
}

int EffectKindOfWord(const std::string& word) {
    const std::vector<std::string>& words = EffectKindWords();
    auto found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? -1 : int(found - words.begin());
}

int EffectKindOfRow(const IParamBlock2& block, int row) {
    int type = block.GetInt(kEfpatype, 0, row), numType = block.GetInt(kEfpanumtype, 0, row);
    for (int k = 0; k < int(std::size(kEffectKinds)); ++k) {
        const TEffectKind& kind = kEffectKinds[k];
        if (kind.type == type && (!kind.IsNumber() || kind.numType == numType)) return k;
    }
    return -1;
}
