#include "ptmatch/vote_rows.h"

namespace ptmatch::detail {

VoteRows::VoteRows(long width, long capacity)
    : stride_(width + 2),
      numWords_((width + 63) / 64),
      votes_(static_cast<std::size_t>((kKept + capacity + 1) * stride_)),
      words_(static_cast<std::size_t>((kKept + capacity) * numWords_)) {}

void VoteRows::erase_(long line) {
    forEachVote_(line, [&](long column) { votes_[indexOf_(line, column)] = 0; });
    for (long w = 0; w < numWords_; ++w) words_[static_cast<std::size_t>(line * numWords_ + w)] = 0;
}

void VoteRows::move_(long from, long to) {
    forEachVote_(from,
                 [&](long column) { enter(to - kKept, column, votes_[indexOf_(from, column)]); });
    erase_(from);
}

void VoteRows::advance(long numRows) {
    for (long line = 0; line < numRows; ++line) erase_(line);
    hasVotes_ = false;
    for (long kept = 0; kept < kKept; ++kept) move_(numRows + kept, kept);
}

void VoteRows::clear(long numRows) {
    for (long line = 0; line < kKept + numRows; ++line) erase_(line);
    hasVotes_ = false;
}

}  // namespace ptmatch::detail
