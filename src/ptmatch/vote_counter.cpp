#include "ptmatch/vote_counter.h"

#include <algorithm>
#include <cstddef>

#include "foundation/assertion.h"
#include "foundation/image_functions.h"

namespace ptmatch::detail {
namespace {

// One axis of the overlap between the mark image and the window that a model pixel looks at.
struct Overlap {
    long source;       // first mark
    long destination;  // the vote it belongs to
    long length;       // 0 or less when they do not meet
};

// The window's first vote looks at mark `start`; a negative start moves the first vote instead.
Overlap overlap(long start, long numVotes, long numMarks) {
    const long source = std::max(start, 0L);
    const long destination = source - start;
    return {source, destination, std::min(numVotes - destination, numMarks - source)};
}

template <class Vote>
void addRow(const unsigned char* marks, long length, Vote* votes) {
    for (long i = 0; i < length; ++i) votes[i] = static_cast<Vote>(votes[i] + marks[i]);
}

template <class Vote>
void addWeightedRow(const unsigned char* marks, long length, Vote weight, Vote* votes) {
    for (long i = 0; i < length; ++i) votes[i] = static_cast<Vote>(votes[i] + weight * marks[i]);
}

}  // namespace

template <class Vote>
void countVotes(const rxPelBuffer_const<unsigned char>& marks, const rxPelRect& window,
                std::span<const rxPair<long>> modelPixels, std::span<const std::int16_t> weights,
                rxPelBuffer<Vote>& votes) {
    rfPelClear(votes);
    const bool isWeighted = !weights.empty();
    if (isWeighted && weights.size() != modelPixels.size()) {
        rfReportAssertion(__LINE__);
        return;
    }
    for (std::size_t i = 0; i < modelPixels.size(); ++i) {
        const Vote weight = isWeighted ? weights[i] : Vote{1};
        if (weight == 0) continue;
        const Overlap x =
            overlap(window.ul().x() + modelPixels[i].x(), votes.width(), marks.width());
        const Overlap y =
            overlap(window.ul().y() + modelPixels[i].y(), votes.height(), marks.height());
        if (x.length <= 0) continue;
        for (long row = 0; row < y.length; ++row) {
            const unsigned char* from = marks.pointToRow(y.source + row) + x.source;
            Vote* to = votes.pointToRow(y.destination + row) + x.destination;
            if (weight == 1) {
                addRow(from, x.length, to);
            } else {
                addWeightedRow(from, x.length, weight, to);
            }
        }
    }
}

template void countVotes<short>(const rxPelBuffer_const<unsigned char>&, const rxPelRect&,
                                std::span<const rxPair<long>>, std::span<const std::int16_t>,
                                rxPelBuffer<short>&);
template void countVotes<std::int32_t>(const rxPelBuffer_const<unsigned char>&, const rxPelRect&,
                                       std::span<const rxPair<long>>, std::span<const std::int16_t>,
                                       rxPelBuffer<std::int32_t>&);

}  // namespace ptmatch::detail
