#pragma once

#include <string>

#include "match_report.h"
#include "text_table.h"

namespace ptmatch::tool {

/// The results as an aligned table, one line per pose, best first, under a line that counts the
/// points and tells the time. Ends with a line break.
std::string resultTable(const MatchReport& report);

/// The names of the columns of a pose, and its line.
TableRow poseHead();
TableRow poseRow(std::size_t rank, const FoundPose& pose);

/// The poses as an aligned table under a head, best first; there is at least one.
std::string poseTable(const std::vector<FoundPose>& poses);

/// "30 of 30", the share of the model that `pose` matched, `separator` in between.
std::string matchedText(const FoundPose& pose, const std::string& separator);

}  // namespace ptmatch::tool
