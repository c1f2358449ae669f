#include <immintrin.h>

#include "ptmatch/vote_kernel_body.h"

// Compiled for AVX-512 (F, BW, VL, DQ): nothing here may run before vote_kernel_choice.cpp found
// that it can.
namespace ptmatch::detail {
namespace {

struct Avx512Lanes {
    using Word = __m512i;
    static constexpr int kRows = 8;
    static constexpr __mmask8 kAllLanes = 0xFF;

    static Word zero() { return _mm512_setzero_si512(); }
    static Word ones() { return _mm512_set1_epi64(-1); }
    static Word load(const std::uint64_t* words) { return _mm512_loadu_si512(words); }
    static void store(std::uint64_t* words, Word word) { _mm512_storeu_si512(words, word); }
    static Word bitAnd(Word a, Word b) { return _mm512_and_si512(a, b); }
    static Word bitOr(Word a, Word b) { return _mm512_or_si512(a, b); }
    static Word bitXor(Word a, Word b) { return _mm512_xor_si512(a, b); }
    // The truth tables of a ^ b ^ c and of "two of three".
    static Word parity(Word a, Word b, Word c) { return _mm512_ternarylogic_epi64(a, b, c, 0x96); }
    static Word majority(Word a, Word b, Word c) {
        return _mm512_ternarylogic_epi64(a, b, c, 0xE8);
    }
    static bool isZero(Word word) { return _mm512_test_epi64_mask(word, word) == 0; }

    // A shift by 64 gives zeros here.
    static Word join(Word low, Word high, std::uint64_t shift) {
        const __m512i right = _mm512_set1_epi64(static_cast<long long>(shift));
        const __m512i left = _mm512_sub_epi64(_mm512_set1_epi64(64), right);
        // With a mask of all lanes, because GCC 12 warns of its own header without one.
        return bitOr(_mm512_maskz_srlv_epi64(kAllLanes, low, right),
                     _mm512_maskz_sllv_epi64(kAllLanes, high, left));
    }
};

}  // namespace

const VoteKernel kAvx512Kernel{"avx512", countBlock<Avx512Lanes>};

}  // namespace ptmatch::detail
