#include "grid_json.h"

namespace ptmatch::tool {

Json stepsJson(const StepChoice& choice) {
    Json json = {{"xv", vectorJson(choice.steps.xv)},
                 {"yv", vectorJson(choice.steps.yv)},
                 {"proposed", choice.proposal.has_value()}};
    if (choice.proposal) {
        json["agreeing_points"] = choice.proposal->supporters;
        json["asked_points"] = choice.proposal->lookedAt;
    }
    return json;
}

Json intervalJson(const Interval& interval) {
    if (interval.isFull) return "full";
    return {interval.low, interval.high};
}

Json orAutoJson(const std::optional<double>& value) {
    if (!value) return "auto";
    return *value;
}

Json positionJson(const rxPair<long>& position) {
    return {position.x(), position.y()};
}

}  // namespace ptmatch::tool
