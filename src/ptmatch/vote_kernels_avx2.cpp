#include <immintrin.h>

#include "ptmatch/vote_kernel_body.h"

// Compiled for AVX2: nothing here may run before isSupported() said so, but for itself.
namespace ptmatch::detail {
namespace {

struct Avx2Lanes {
    using Word = __m256i;
    static constexpr int kRows = 4;

    static Word zero() { return _mm256_setzero_si256(); }
    static Word ones() { return _mm256_set1_epi64x(-1); }
    static Word load(const std::uint64_t* words) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
    }
    static void store(std::uint64_t* words, Word word) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(words), word);
    }
    static Word bitAnd(Word a, Word b) { return _mm256_and_si256(a, b); }
    static Word bitOr(Word a, Word b) { return _mm256_or_si256(a, b); }
    static Word bitXor(Word a, Word b) { return _mm256_xor_si256(a, b); }
    static Word parity(Word a, Word b, Word c) { return bitXor(bitXor(a, b), c); }
    static Word majority(Word a, Word b, Word c) {
        return bitOr(bitAnd(a, b), bitAnd(bitXor(a, b), c));
    }
    static bool isZero(Word word) { return _mm256_testz_si256(word, word) != 0; }

    // A shift by 64 gives zeros here.
    static Word join(Word low, Word high, std::uint64_t shift) {
        const __m256i right = _mm256_set1_epi64x(static_cast<long long>(shift));
        const __m256i left = _mm256_sub_epi64(_mm256_set1_epi64x(64), right);
        return bitOr(_mm256_srlv_epi64(low, right), _mm256_sllv_epi64(high, left));
    }
};

bool isSupported() {
    return __builtin_cpu_supports("avx2") != 0;
}

}  // namespace

const VoteKernel kAvx2Kernel{"avx2", isSupported, countBlock<Avx2Lanes>};

}  // namespace ptmatch::detail
