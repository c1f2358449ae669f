#include "grid_match_batch.h"

#include "batch_json.h"
#include "batch_table.h"
#include "grid_match_json.h"
#include "grid_match_table.h"

namespace ptmatch::tool {
namespace {

using Fate = BatchEnd::Fate;

void search(GridMatchBatch& batch, std::size_t index) {
    GridMatchReport report = batch.common;
    report.dataFile = batch.sets[index].name();
    report.data = batch.sets[index].points();
    batch.search(report);
    batch.reports[index] = std::move(report);
}

}  // namespace

std::size_t GridMatchBatch::numFound() const {
    std::size_t found = 0;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        if (end.fates[i] == Fate::kDone && !reports[i].placements.empty()) ++found;
    }
    return found;
}

void runGridMatchBatch(const std::shared_ptr<GridMatchBatch>& batch) {
    batch->reports.resize(batch->sets.size());
    const BatchEnd end =
        runBatch(batch->sets.size(), batch->jobs, [batch](std::size_t i) { search(*batch, i); });
    batch->end = end;
}

std::string gridMatchBatchTable(const GridMatchBatch& batch) {
    const auto rowsOf = [&](std::size_t i) {
        BatchRows rows{batch.reports[i].data.points.size(), {}};
        for (const GridPlacement& placement : batch.reports[i].placements) {
            rows.results.push_back(placementRow(rows.results.size() + 1, placement));
        }
        return rows;
    };
    return patternText(batch.common.pattern) + "\n\n" +
           batchTable(placementHead(), batch.sets, batch.end, rowsOf) + "\n" +
           batchSummary(batch.end, batch.jobs, batch.numFound(), "a placement");
}

std::string gridMatchBatchJson(const GridMatchBatch& batch) {
    Json runs = Json::array();
    for (std::size_t i = 0; i < batch.sets.size(); ++i) {
        Json run = dataSetJson(batch.sets[i], batch.end, i);
        if (batch.end.fates[i] == Fate::kDone) {
            const GridMatchReport& report = batch.reports[i];
            run["data"]["points"] = report.data.points.size();
            run["parameters"] = gridParametersJson(report);
            run["time_s"] = report.seconds;
            run["results"] = placementsJson(report);
        }
        runs.push_back(run);
    }
    return jsonText({{"pattern", patternJson(batch.common)},
                     {"batch", batchJson(batch.end, batch.jobs, batch.numFound())},
                     {"runs", runs}});
}

}  // namespace ptmatch::tool
