#include "Dravin/config/settings.h"

#include <algorithm>

#include "host/params/hold.h"

namespace {

constexpr size_t kMegabyte = size_t{1} << 20;

}  // namespace

SettingsStore DravinSettings() { return SettingsStore::OfUser("dravin"); }

size_t UndoMemoryLimit() {
    int usual = int(Hold::kDefaultMemory / kMegabyte);
    int megabytes = DravinSettings().ReadInt(kSettingsKey, kUndoMemorySetting, usual);
    return size_t(std::max(megabytes, 1)) * kMegabyte;
}
