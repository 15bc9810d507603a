#include "Dravin/config/effect_library.h"

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "Dravin/config/main_folder.h"
#include "host/base/text.h"

namespace fs = std::filesystem;

std::vector<std::string> ShippedEffects() {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(EffectFolder(), error))
        if (entry.path().extension() == ".xml") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool FindShippedEffect(const std::string& name, std::string* path, std::string* error) {
    std::vector<std::string> names = ShippedEffects();
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        *error = fmt::format("unknown effect \"{}\" in {}{}", name, EffectFolder(),
                             DidYouMean(name, names));
        return false;
    }
    *path = (fs::path(EffectFolder()) / (name + ".xml")).string();
    return true;
}
