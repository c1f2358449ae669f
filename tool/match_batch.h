#pragma once

#include <memory>
#include <string>
#include <vector>

#include "batch_run.h"
#include "data_sets.h"
#include "match_report.h"
#include "model_source.h"
#include "picture_output.h"

namespace ptmatch::tool {

/// What was found in one data set.
struct BatchMatch {
    std::size_t numPoints = 0;
    double seconds = 0.0;
    /// Best first.
    std::vector<FoundPose> poses;
};

/// One model looked for in many data sets: what to do, and what came of it.
struct MatchBatch {
    std::string modelFile;
    ModelSource model;
    rxPointMatcherRunParams params;
    bool exhaustive = false;
    long jobs = 1;
    std::vector<DataSet> sets;
    /// One for each data set; none are drawn of those beyond.
    std::vector<PictureOptions> pictures;
    /// One for each data set; of those with the fate kDone only.
    std::vector<BatchMatch> matches;
    BatchEnd end;

    /// The data sets with a pose.
    std::size_t numFound() const;
};

/// Reads the tables that are still in their files, pipes aside, which cannot be asked twice, and
/// returns the largest table of all; none when nothing can be read. What cannot be read has its
/// fault now.
const PointTable* readLargest(std::vector<DataSet>& sets);

/// Searches every data set and fills in matches and end.
void runMatchBatch(const std::shared_ptr<MatchBatch>& batch);

/// One line per pose, or per data set without one, under a head, and the summary.
std::string matchBatchTable(const MatchBatch& batch);

/// The batch as one JSON object; docs/tool.md lists its fields.
std::string matchBatchJson(const MatchBatch& batch);

}  // namespace ptmatch::tool
