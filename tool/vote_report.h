#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "match_report.h"
#include "ptmatch/vote_image.h"

namespace ptmatch::tool {

/// The votes of a search at one scale and rotation, and what is to be marked among them.
struct VoteReport {
    /// Where the votes are drawn.
    std::string file;
    /// The scale and rotation are those of the lattice nearest to the best pose; otherwise nothing
    /// was found, and they are those where the highest of all votes stands.
    bool isOfBestPose = false;
    rxVoteImage image;

    /// The first of the highest votes, in rows from the first.
    long highestColumn = 0;
    long highestRow = 0;
    long lowest = 0;

    /// A pose that was found, to which the same scale and rotation of the lattice are nearest.
    struct Pose {
        std::size_t rank = 1;
        /// Column and row; the whole part is the element that it lies in.
        rxVector<2> place;
        /// Nothing when it lies outside.
        std::optional<long> vote;
    };
    std::vector<Pose> poses;
    /// Found poses that belong to other scales and rotations.
    std::size_t posesElsewhere = 0;

    long highest() const { return image.vote(highestColumn, highestRow); }
};

/// The votes that are worth a look. Nothing when the run returned without a search.
/// @throws InputError  there are too many translations for a picture.
std::optional<VoteReport> reportOnVotes(const rxPointMatcher& matcher, const MatchReport& match,
                                        const std::string& file);

}  // namespace ptmatch::tool
