#include "batch_json.h"

#include "batch_table.h"

namespace ptmatch::tool {
namespace {

using Fate = BatchEnd::Fate;

}  // namespace

Json batchJson(const BatchEnd& end, long jobs, std::size_t found) {
    return {{"data_sets", end.fates.size()},
            {"done", end.count(Fate::kDone)},
            {"found", found},
            {"failed", end.count(Fate::kFailed)},
            {"unfinished", end.count(Fate::kUnfinished)},
            {"jobs", jobs},
            {"time_s", end.seconds},
            {"per_second", throughput(end)}};
}

Json dataSetJson(const DataSet& set, const BatchEnd& end, std::size_t index) {
    Json data = {{"file", set.file}};
    if (set.frame) data["frame"] = *set.frame;
    Json json = {{"data", data}};
    json["fate"] = end.fates[index] == Fate::kDone ? "done" : fateText(end, index);
    if (end.fates[index] == Fate::kFailed) json["error"] = end.errors[index];
    return json;
}

}  // namespace ptmatch::tool
