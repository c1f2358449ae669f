#pragma once

#include <vector>

#include "ptmatch/pinv.h"
#include "support/archive_bytes.h"

namespace ptmatch::testing {

/// Records in place of an accumulator of n unknowns that no accumulator has written: sizes that
/// contradict each other or the counts, sizes that are negative, counts far beyond the record.
inline std::vector<ByteVector> hostileEquations(int n) {
    const auto matrix = [](int cols, int rows, unsigned long count, int numElements) {
        const unsigned char sequenceVersion = 0;
        ByteVector bytes = stored(1100UL, 1100UL, cols, rows, sequenceVersion, count);
        for (int i = 0; i < numElements; ++i) bytes = joined({bytes, stored(1.0)});
        return bytes;
    };
    const auto sequence = [](unsigned long count, int numElements) {
        const unsigned char sequenceVersion = 0;
        ByteVector bytes = stored(sequenceVersion, count);
        for (int i = 0; i < numElements; ++i) bytes = joined({bytes, stored(1.0)});
        return bytes;
    };
    const int square = n * n;
    const auto unknowns = static_cast<unsigned long>(n);
    const auto elements = static_cast<unsigned long>(square);
    const ByteVector rightHandSide = sequence(unknowns, n);
    return {joined({matrix(n, n, elements, square), sequence(unknowns - 1, n - 1)}),
            joined({matrix(n, n, elements, square), sequence(unknowns + 1, n + 1)}),
            joined({matrix(n, n, elements, square), sequence(0, 0)}),
            joined({matrix(n, n, elements, square), sequence(2147483648UL, n)}),
            joined({matrix(n, n, elements, square), sequence(4294967295UL, n)}),
            joined({matrix(n, n, elements - 1, square - 1), rightHandSide}),
            joined({matrix(n, n, 0, 0), rightHandSide}),
            joined({matrix(n, n - 1, elements - unknowns, square - n), rightHandSide}),
            joined({matrix(n - 1, n, elements - unknowns, square - n), rightHandSide}),
            joined({matrix(square, 1, elements, square), rightHandSide}),
            joined({matrix(-n, -n, elements, square), rightHandSide}),
            joined({matrix(-n, n, elements, square), rightHandSide}),
            joined({matrix(1 << 15, 1 << 16, 2147483648UL, square), rightHandSide}),
            joined({matrix(1 << 16, 1 << 16, 0, 0), rightHandSide}),
            joined({matrix(0, 0, 0, 0), rightHandSide})};
}

}  // namespace ptmatch::testing
