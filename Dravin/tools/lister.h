// The lister: one row of short texts a scatter object, for a window or the console.
//
// Cells follow from parameters and from the statistics of the last build; they are made anew for
// every Row. One thread, the scene's.
#pragma once

#include <array>
#include <span>
#include <string>

class TDravin;

inline constexpr size_t kNumListerColumns = 10;
using TListerRow = std::array<std::string, kNumListerColumns>;

// Headers of the columns, left to right.
std::span<const char* const, kNumListerColumns> ListerHeaders();

// The cells of an object at its node's current time.
TListerRow ListerRow(const TDravin& object);

// "" for none, "1 item", "999 items", "1.5K items", "2.5M items".
std::string ListerItems(int n);
