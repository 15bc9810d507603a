// New objects of registered classes, ready to read files where they need any.
#pragma once

#include <memory>

#include "host/params/class_registry.h"

// As the class makes it; texture maps of images know how images are read.
std::shared_ptr<ReferenceTarget> NewEntity(const ClassDesc& desc);
