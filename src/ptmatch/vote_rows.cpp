#include "ptmatch/vote_rows.h"

#include <algorithm>

namespace ptmatch::detail {
namespace {

// Few enough votes to stay in the cache, enough for the points to be collected for many blocks.
constexpr long kVotesPerPart = 1L << 17;

}  // namespace

long rowsPerPart(long width, long height) {
    const long bands = std::max(1L, kVotesPerPart / (width * kBlockRows));
    return std::min(bands * kBlockRows, height);
}

VoteRows::VoteRows(long width, long capacity)
    : stride_(width + 2),
      wordsPerLine_(wordsPerRow_(width)),
      votes_(numVotes_(width, capacity)),
      words_(numWords_(width, capacity)) {}

double VoteRows::bytes(long width, long capacity) {
    return static_cast<double>(numVotes_(width, capacity)) * sizeof(std::int32_t) +
           static_cast<double>(numWords_(width, capacity)) * sizeof(std::uint64_t);
}

void VoteRows::erase_(long line) {
    forEachVote_(line, [&](long column) { votes_[indexOf_(line, column)] = 0; });
    for (long w = 0; w < wordsPerLine_; ++w)
        words_[static_cast<std::size_t>(line * wordsPerLine_ + w)] = 0;
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
