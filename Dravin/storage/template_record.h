// Entries of the template catalogue as scene files hold them: four texts of 100 characters in
// UTF-16, ended by a zero.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Dravin/geometry/template_list.h"

inline constexpr size_t kTemplateRecordBytes = 800;

std::string TemplateRecord(const TSpecGeom& entry);
// A shorter record gives the texts that it holds.
std::shared_ptr<TSpecGeom> ReadTemplateRecord(std::string_view record);
