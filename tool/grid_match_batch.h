#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "batch_run.h"
#include "data_sets.h"
#include "grid_match_report.h"
#include "picture_output.h"

namespace ptmatch::tool {

/// What was found in one data set.
struct GridBatchMatch {
    std::size_t numPoints = 0;
    /// Without pattern and data: the pattern is that of the batch, and nobody asks for the points
    /// any more.
    GridMatchReport report;
};

/// One grid pattern looked for in many data sets: what to do, and what came of it.
struct GridMatchBatch {
    /// Everything but the data and what is found in them.
    GridMatchReport common;
    /// Fills in steps, time and placements of a report with data.
    std::function<void(GridMatchReport&)> search;
    long jobs = 1;
    std::vector<DataSet> sets;
    /// One for each data set; none are drawn of those beyond.
    std::vector<PictureOptions> pictures;
    /// One for each data set; of those with the fate kDone only.
    std::vector<GridBatchMatch> matches;
    BatchEnd end;

    /// The data sets with a placement.
    std::size_t numFound() const;
};

/// Searches every data set and fills in matches and end.
void runGridMatchBatch(const std::shared_ptr<GridMatchBatch>& batch);

/// One line per placement, or per data set without one, under a head, and the summary.
std::string gridMatchBatchTable(const GridMatchBatch& batch);

/// The batch as one JSON object; docs/tool.md lists its fields.
std::string gridMatchBatchJson(const GridMatchBatch& batch);

}  // namespace ptmatch::tool
