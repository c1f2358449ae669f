#pragma once

#include <string>

#include "json_parts.h"
#include "vote_report.h"

namespace ptmatch::tool {

/// What the picture of the votes shows, as a table for people: scale and rotation, the translations
/// of its corners, the highest vote, the poses.
std::string voteTable(const VoteReport& report);

/// The same as a JSON object; docs/tool.md lists its fields.
Json voteJson(const VoteReport& report);

}  // namespace ptmatch::tool
