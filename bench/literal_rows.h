#pragma once

#include <cstdint>

namespace ptmatch::bench {

/// The innermost loops of the literal search, in a file of their own that is compiled for the
/// processor at hand (-O3 -march=native), so that they vectorise as well as they can.

/// votes[i] += marks[i].
void addRow(const unsigned char* marks, long length, std::int16_t* votes);

/// votes[i] += weight * marks[i].
void addWeightedRow(const unsigned char* marks, long length, std::int16_t weight,
                    std::int16_t* votes);

/// Whether any vote is at least the threshold.
bool reaches(const std::int16_t* votes, long length, std::int16_t threshold);

}  // namespace ptmatch::bench
