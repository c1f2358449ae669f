#pragma once

#include <string>

#include "explain_report.h"

namespace ptmatch::tool {

/// The answer as one JSON object, indented, ended by a line break; docs/tool.md lists its fields.
std::string explainJson(const ExplainReport& report);

}  // namespace ptmatch::tool
