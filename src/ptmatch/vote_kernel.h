#pragma once

#include <cstddef>
#include <cstdint>

// What a vote kernel does, and nothing else: the files compiled for one instruction set include
// this header and must not find inline code in it that the linker could hand to everybody.
namespace ptmatch::detail {

/// Kernels count 64 columns by kBlockRows rows of translations at a time, a word for each row.
inline constexpr int kBlockRows = 8;

/// A vote has at most this many binary digits.
inline constexpr unsigned kMaxPlanes = 31;

/// Binary digits of the largest weight of a point (32767).
inline constexpr unsigned kMaxDigits = 15;

/// How one model point looks at the marks: cell (column c, row r) of a block is bit shift + c of
/// the pair of words at w and w + stride, with w = word + offset of the block + r.
struct MarkView {
    std::ptrdiff_t word;
    std::uint64_t shift;  ///< 0 to 63
};

/// Points whose weights share a binary digit.
struct ViewGroup {
    const MarkView* begin;
    const MarkView* end;
    long lighter;  ///< what all the groups after this one can add to a vote
};

/// One block to be counted. The vote of a cell is the sum over the groups of the marks in it times
/// 2^(numGroups - 1 - index of the group); without weights there is one group.
struct VoteBlock {
    const ViewGroup* groups;
    unsigned numGroups;  ///< 1 to kMaxDigits
    unsigned numPlanes;  ///< 1 to kMaxPlanes; no vote of the block has more binary digits
    const std::uint64_t* words;
    std::ptrdiff_t offset;
    std::ptrdiff_t stride;  ///< 0 when no view has a shift: the words at w are the cells
    long threshold;
};

/// Counts the votes of a block.
/// @param planes     kMaxPlanes times kBlockRows words: row r of binary digit p of the votes goes
///                   to planes[p * kBlockRows + r], for p below the larger of 4 and numPlanes.
/// @param survivors  kBlockRows words: the cells whose vote is at least the threshold.
/// @return whether any cell survives; when none does, planes and survivors hold nothing of use.
///         All kernels agree to the last bit in all they return.
using CountBlock = bool (*)(const VoteBlock& block, std::uint64_t* planes,
                            std::uint64_t* survivors);

/// One way to count, for one instruction set.
struct VoteKernel {
    const char* name;
    CountBlock countBlock;
};

extern const VoteKernel kPortableKernel;
extern const VoteKernel kAvx2Kernel;
extern const VoteKernel kAvx512Kernel;

}  // namespace ptmatch::detail
