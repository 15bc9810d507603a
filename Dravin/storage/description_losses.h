// What a scene file holds and a scene description cannot.
#pragma once

#include <string>
#include <vector>

class Scene;

// A line for each kind of thing that would be lost: what, how many, and what of them.
std::vector<std::string> DescriptionLosses(const Scene& scene);
