#pragma once

#include <string>

#include "fit_report.h"

namespace ptmatch::tool {

/// The report as one JSON object, indented, ended by a line break; docs/tool.md lists its fields.
/// Numbers read back to the same double. Bytes of a file name that are no UTF-8 are replaced.
std::string fitJson(const FitReport& report);

}  // namespace ptmatch::tool
