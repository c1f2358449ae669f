#include "literal_rows.h"

namespace ptmatch::bench {

void addRow(const unsigned char* marks, long length, std::int16_t* votes) {
    for (long i = 0; i < length; ++i) votes[i] = static_cast<std::int16_t>(votes[i] + marks[i]);
}

void addWeightedRow(const unsigned char* marks, long length, std::int16_t weight,
                    std::int16_t* votes) {
    for (long i = 0; i < length; ++i) {
        votes[i] = static_cast<std::int16_t>(votes[i] + weight * marks[i]);
    }
}

bool reaches(const std::int16_t* votes, long length, std::int16_t threshold) {
    int any = 0;
    for (long i = 0; i < length; ++i) any |= votes[i] >= threshold ? 1 : 0;
    return any != 0;
}

}  // namespace ptmatch::bench
