#pragma once

#include <string>

#include "grid_match_report.h"
#include "json_parts.h"

namespace ptmatch::tool {

/// The report as one JSON object, indented, ended by a line break; docs/tool.md lists its fields.
/// Numbers read back to the same double. Bytes of a file name that are no UTF-8 are replaced.
std::string gridMatchJson(const GridMatchReport& report);

/// Its parts: the pattern, the parameters of the search, and the list of placements.
Json patternJson(const GridMatchReport& report);
Json gridParametersJson(const GridMatchReport& report);
Json placementsJson(const GridMatchReport& report);

}  // namespace ptmatch::tool
