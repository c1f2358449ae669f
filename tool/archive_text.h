#pragma once

#include <string>

#include "archive_content.h"

namespace ptmatch::tool {

/// What the file holds, record by record, as aligned tables. Ends with a line break.
std::string archiveText(const ArchiveContent& content);

/// The same as one JSON object, with everything that the file holds; docs/tool.md lists its fields.
std::string archiveJson(const ArchiveContent& content);

/// Numbers about the points of a model, for both.
struct ModelFigures {
    std::size_t positive = 0;  // points of positive weight, of negative weight
    std::size_t negative = 0;
    long totalWeight = 0;  // the sum of the positive ones
    rxVector<2> low;
    rxVector<2> high;
};
ModelFigures figuresOf(const PointTable& table);

}  // namespace ptmatch::tool
