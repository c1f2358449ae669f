#include "vote_report.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "input_error.h"
#include "number_text.h"
#include "ptmatch/run_cost.h"

namespace ptmatch::tool {
namespace {

// 256 MiB of votes.
constexpr std::int64_t kMostTranslations = std::int64_t{1} << 26;

void requireFewTranslations(const rxPointMatcher& matcher, const MatchReport& match) {
    const rxRunCost cost = rfRunCost(matcher, match.data.points, match.params);
    if (cost.numTranslations <= kMostTranslations) return;
    throw InputError("--votes: " + std::to_string(cost.numTranslations) +
                     " translations are too many for a picture; choose a --grid-size above " +
                     significantText(cost.gridSize, 4));
}

bool isSame(const rxVotePlace& one, const rxVotePlace& other) {
    return one.scale == other.scale && one.rotationDegrees == other.rotationDegrees;
}

void findExtremes(VoteReport& report) {
    const std::vector<std::int32_t>& votes = report.image.votes;
    const auto highest = std::max_element(votes.begin(), votes.end());
    const auto index = static_cast<long>(std::distance(votes.begin(), highest));
    report.highestColumn = index % report.image.width;
    report.highestRow = index / report.image.width;
    report.lowest = *std::min_element(votes.begin(), votes.end());
}

VoteReport::Pose markOf(const rxVoteImage& image, std::size_t rank, const FoundPose& pose) {
    VoteReport::Pose mark{rank, image.columnAndRow(pose.dataFromModel), std::nullopt};
    const double column = std::floor(mark.place.x());
    const double row = std::floor(mark.place.y());
    const bool isInside = column >= 0.0 && row >= 0.0 &&
                          column < static_cast<double>(image.width) &&
                          row < static_cast<double>(image.height);
    if (isInside) mark.vote = image.vote(static_cast<long>(column), static_cast<long>(row));
    return mark;
}

}  // namespace

std::optional<VoteReport> reportOnVotes(const rxPointMatcher& matcher, const MatchReport& match,
                                        const std::string& file) {
    requireFewTranslations(matcher, match);
    const auto placeOf = [&](const FoundPose& pose) {
        return rfNearestVotePlace(matcher, match.data.points, match.params, pose.dataFromModel);
    };
    VoteReport report;
    report.file = file;
    report.isOfBestPose = !match.poses.empty();
    const auto place = report.isOfBestPose
                           ? placeOf(match.poses.front())
                           : rfBestVotePlace(matcher, match.data.points, match.params);
    if (!place) return std::nullopt;
    report.image = rfVoteImage(matcher, match.data.points, match.params, *place);
    findExtremes(report);
    for (std::size_t i = 0; i < match.poses.size(); ++i) {
        const auto own = placeOf(match.poses[i]);
        if (own && isSame(*own, *place)) {
            report.poses.push_back(markOf(report.image, i + 1, match.poses[i]));
        } else {
            ++report.posesElsewhere;
        }
    }
    return report;
}

}  // namespace ptmatch::tool
