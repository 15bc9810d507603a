// The effects that ship with the product: one definition a file in the effects folder.
#pragma once

#include <string>
#include <vector>

// Names of the shipped effects, sorted: their files without the ending.
std::vector<std::string> ShippedEffects();

// File of a shipped effect. False with a reason, and the nearest name, when there is none.
bool FindShippedEffect(const std::string& name, std::string* path, std::string* error);
