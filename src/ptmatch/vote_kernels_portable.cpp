#include "ptmatch/vote_kernel_body.h"

namespace ptmatch::detail {
namespace {

// One row at a time, in the words that every machine has.
struct PortableLanes {
    using Word = std::uint64_t;
    static constexpr int kRows = 1;

    static Word zero() { return 0; }
    static Word ones() { return ~Word{0}; }
    static Word load(const std::uint64_t* words) { return *words; }
    static void store(std::uint64_t* words, Word word) { *words = word; }
    static Word bitAnd(Word a, Word b) { return a & b; }
    static Word bitOr(Word a, Word b) { return a | b; }
    static Word bitXor(Word a, Word b) { return a ^ b; }
    static Word parity(Word a, Word b, Word c) { return a ^ b ^ c; }
    static Word majority(Word a, Word b, Word c) { return (a & b) | ((a ^ b) & c); }
    static bool isZero(Word word) { return word == 0; }

    // In two shifts to the left, because one by 64 is undefined.
    static Word join(Word low, Word high, std::uint64_t shift) {
        return (low >> shift) | ((high << 1) << (63 - shift));
    }
};

}  // namespace

const VoteKernel kPortableKernel{"portable", countBlock<PortableLanes>};

}  // namespace ptmatch::detail
