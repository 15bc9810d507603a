// The product's version.
#pragma once

#include <string>

// "6.3.1"; the project's version in the top CMakeLists.txt.
std::string ProductVersion();
