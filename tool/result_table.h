#pragma once

#include <string>

#include "match_report.h"

namespace ptmatch::tool {

/// The results as an aligned table, one line per pose, best first, under a line that counts the
/// points and tells the time. Ends with a line break.
std::string resultTable(const MatchReport& report);

/// "30 of 30", the share of the model that `pose` matched, `separator` in between.
std::string matchedText(const FoundPose& pose, const std::string& separator);

}  // namespace ptmatch::tool
