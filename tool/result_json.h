#pragma once

#include <string>

#include "json_parts.h"
#include "match_report.h"

namespace ptmatch::tool {

/// The report as one JSON object, indented, ended by a line break; docs/tool.md lists its fields.
/// Numbers read back to the same double. Bytes of a file name that are no UTF-8 are replaced.
std::string resultJson(const MatchReport& report);

/// The object itself, to be added to.
Json matchJson(const MatchReport& report);

/// Its parts: the model, the parameters of a run, and the list of its results.
Json modelJson(const std::string& file, const PointTable& table);
Json runParamsJson(const rxPointMatcherRunParams& params);
Json posesJson(const std::vector<FoundPose>& poses);

}  // namespace ptmatch::tool
