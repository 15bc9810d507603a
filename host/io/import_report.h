// The import report: what a model file gave, as a line for the log, as text, and as JSON.
#pragma once

#include <string>

#include "host/io/mesh_import.h"

// One line: format, counts, size, up axis, unit, textures, extensions.
std::string ImportSummary(const std::string& path, const ImportedModel& model);

// For people: the summary, then a row for each object, material and extension, and the warnings.
std::string ImportReportText(const std::string& path, const ImportedModel& model);

// {"dravin_model": 1, ...} for programs. Objects that follow each other with one name and one mesh
// (instances) are one row with a count.
std::string ImportReportJson(const std::string& path, const ImportedModel& model);
