#include "match_batch.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "batch_json.h"
#include "batch_table.h"
#include "input_error.h"
#include "match_picture.h"
#include "number_text.h"
#include "ptmatch/run_watch.h"
#include "result_json.h"
#include "result_table.h"
#include "text_table.h"

namespace ptmatch::tool {
namespace {

using Fate = BatchEnd::Fate;

void draw(const MatchBatch& batch, std::size_t index, const PointTable& data) {
    if (!batch.pictures[index].isAsked()) return;
    PictureOutput picture(batch.pictures[index]);
    const BatchMatch& match = batch.matches[index];
    const MatchReport report{
        batch.modelFile, batch.sets[index].name(), batch.model.table, data,
        batch.params,    batch.exhaustive,         match.seconds,     match.poses};
    picture.drawInBatch([&](const PictureStyle& style) { return matchPicture(report, style); });
    picture.commit();
}

void search(MatchBatch& batch, std::size_t index, const TellShare& tell) {
    const PointTable data = batch.sets[index].points();
    rxPointMatcherResultSet results;
    rxRunLimits limits;
    limits.onProgress = tell;
    try {
        rfRunWatched(*batch.model.matcher, data.points, batch.params, results, limits);
    } catch (const rxPointMatcherDefs::Errors& error) {
        throw InputError(std::string(trimmed(error.what())));
    }
    batch.matches[index] = {data.points.size(), results.time(), foundPoses(results)};
    draw(batch, index, data);
}

}  // namespace

std::size_t MatchBatch::numFound() const {
    std::size_t found = 0;
    for (std::size_t i = 0; i < sets.size(); ++i) {
        if (end.fates[i] == Fate::kDone && !matches[i].poses.empty()) ++found;
    }
    return found;
}

const PointTable* readLargest(std::vector<DataSet>& sets) {
    const PointTable* largest = nullptr;
    for (DataSet& set : sets) {
        std::error_code ignored;
        if (!set.table && !std::filesystem::is_regular_file(set.file, ignored)) continue;
        try {
            set.table = set.points();
        } catch (const InputError& error) {
            set.fault = error.what();
            continue;
        }
        if (!largest || set.table->points.size() > largest->points.size()) largest = &*set.table;
    }
    return largest;
}

void runMatchBatch(const std::shared_ptr<MatchBatch>& batch) {
    batch->pictures.resize(batch->sets.size());  // none where nothing was said
    batch->matches.resize(batch->sets.size());
    BatchEnd end =
        runBatch(batch->sets.size(), batch->jobs,
                 [batch](std::size_t i, const TellShare& tell) { search(*batch, i, tell); });
    nameFailures(end, batch->sets);
    batch->end = std::move(end);
}

std::string matchBatchTable(const MatchBatch& batch) {
    const auto rowsOf = [&](std::size_t i) {
        BatchRows rows{batch.matches[i].numPoints, {}};
        for (const FoundPose& pose : batch.matches[i].poses) {
            rows.results.push_back(poseRow(rows.results.size() + 1, pose));
        }
        return rows;
    };
    return countedText(batch.model.table.points.size(), "model point") + "\n\n" +
           batchTable(poseHead(), batch.sets, batch.end, rowsOf) + "\n" +
           batchSummary(batch.end, batch.jobs, batch.numFound(), "a pose");
}

std::string matchBatchJson(const MatchBatch& batch) {
    Json runs = Json::array();
    for (std::size_t i = 0; i < batch.sets.size(); ++i) {
        Json run = dataSetJson(batch.sets[i], batch.end, i);
        if (batch.end.fates[i] == Fate::kDone) {
            const BatchMatch& match = batch.matches[i];
            run["data"]["points"] = match.numPoints;
            run["time_s"] = match.seconds;
            run["results"] = posesJson(match.poses);
        }
        runs.push_back(run);
    }
    Json params = {{"exhaustive", batch.exhaustive}};
    params.update(runParamsJson(batch.params));
    return jsonText({{"model", modelJson(batch.modelFile, batch.model.table)},
                     {"parameters", params},
                     {"batch", batchJson(batch.end, batch.jobs, batch.numFound())},
                     {"runs", runs}});
}

}  // namespace ptmatch::tool
