#pragma once

#include <string_view>
#include <vector>

#include "ptmatch/vote_kernel.h"

namespace ptmatch::detail {

/// The kernels that run on this machine, the narrowest (portable) first.
const std::vector<const VoteKernel*>& voteKernels();

/// The kernel that searches use: the forced one; else the one that the environment variable
/// PTMATCH_KERNEL named when it was first looked at; else the widest of voteKernels().
/// @throws rxPointMatcherDefs::BadParams  PTMATCH_KERNEL names no kernel of this machine.
/// Any number of threads.
const VoteKernel& voteKernel();

/// Makes all later searches use the kernel of that name; an empty name gives the choice back.
/// @throws rxPointMatcherDefs::BadParams  no kernel of this machine has that name; nothing changes.
void forceVoteKernel(std::string_view name);

}  // namespace ptmatch::detail
