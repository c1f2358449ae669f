#include "grid_match_batch.h"

#include <utility>

#include "batch_json.h"
#include "batch_table.h"
#include "grid_match_json.h"
#include "grid_match_picture.h"
#include "grid_match_table.h"

namespace ptmatch::tool {
namespace {

using Fate = BatchEnd::Fate;

void search(GridMatchBatch& batch, std::size_t index) {
    GridMatchReport report = batch.common;
    report.dataFile = batch.sets[index].name();
    report.data = batch.sets[index].points();
    batch.search(report);
    if (batch.pictures[index].isAsked()) {
        PictureOutput picture(batch.pictures[index]);
        picture.drawInBatch(
            [&](const PictureStyle& style) { return gridMatchPicture(report, style); });
        picture.commit();
    }
    const std::size_t numPoints = report.data.points.size();
    report.data = {};
    report.pattern = {};
    batch.matches[index] = {numPoints, std::move(report)};
}

}  // namespace

std::size_t GridMatchBatch::numFound() const {
    std::size_t found = 0;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        if (end.fates[i] == Fate::kDone && !matches[i].report.placements.empty()) ++found;
    }
    return found;
}

void runGridMatchBatch(const std::shared_ptr<GridMatchBatch>& batch) {
    batch->pictures.resize(batch->sets.size());  // none where nothing was said
    batch->matches.resize(batch->sets.size());
    BatchEnd end = runBatch(batch->sets.size(), batch->jobs,
                            [batch](std::size_t i, const TellShare&) { search(*batch, i); });
    nameFailures(end, batch->sets);
    batch->end = std::move(end);
}

std::string gridMatchBatchTable(const GridMatchBatch& batch) {
    const auto rowsOf = [&](std::size_t i) {
        BatchRows rows{batch.matches[i].numPoints, {}};
        for (const GridPlacement& placement : batch.matches[i].report.placements) {
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
            const GridMatchReport& report = batch.matches[i].report;
            run["data"]["points"] = batch.matches[i].numPoints;
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
