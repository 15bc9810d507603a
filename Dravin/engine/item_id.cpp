#include "Dravin/engine/item_id.h"

#include <charconv>
#include <vector>

#include <fmt/format.h>

namespace {

// The whole of a piece as a number; none otherwise.
template <class T>
std::optional<T> NumberIn(std::string_view text, int base = 10) {
    T number{};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<std::vector<int32_t>> NumbersIn(std::string_view text) {
    std::vector<int32_t> numbers;
    for (size_t first = 0; first <= text.size();) {
        size_t end = std::min(text.find('.', first), text.size());
        auto number = NumberIn<int32_t>(text.substr(first, end - first));
        if (!number) return std::nullopt;
        numbers.push_back(*number);
        first = end + 1;
    }
    return numbers;
}

// Letter of an origin, and how many numbers stand behind it.
struct OriginForm {
    char letter;
    size_t numParts, numCells;
    bool partFirst;
};
constexpr OriginForm kForms[] = {
    {'g', 0, 4, false}, {'u', 1, 4, true}, {'p', 1, 1, false}, {'e', 0, 1, false}};

}  // namespace

std::string ItemIdText(const TItemId& id) {
    const OriginForm& form = kForms[id.origin];
    std::string text(1, form.letter);
    if (form.partFirst) text += fmt::format("{}.", id.part);
    for (size_t i = 0; i < form.numCells; ++i)
        text += fmt::format("{}{}", i > 0 ? "." : "", int32_t(id.cell[i]));
    if (form.numParts > 0 && !form.partFirst) text += fmt::format(".{}", id.part);
    return text + fmt::format("/{:08x}", id.seed);
}

std::optional<TItemId> ParseItemId(std::string_view text) {
    size_t slash = text.find('/');
    if (text.empty() || slash == std::string_view::npos) return std::nullopt;
    for (size_t origin = 0; origin < std::size(kForms); ++origin) {
        const OriginForm& form = kForms[origin];
        if (text[0] != form.letter) continue;
        auto numbers = NumbersIn(text.substr(1, slash - 1));
        auto seed = NumberIn<uint32_t>(text.substr(slash + 1), 16);
        if (!numbers || numbers->size() != form.numParts + form.numCells || !seed)
            return std::nullopt;
        TItemId id;
        id.origin = TItemId::Origin(origin);
        id.seed = *seed;
        size_t part = form.partFirst ? 0 : form.numCells;
        if (form.numParts > 0) id.part = uint16_t((*numbers)[part]);
        for (size_t i = 0; i < form.numCells; ++i)
            id.cell[i] = uint32_t((*numbers)[i + (form.partFirst ? 1 : 0)]);
        return ItemIdText(id) == text ? std::optional(id) : std::nullopt;
    }
    return std::nullopt;
}
