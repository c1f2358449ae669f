#include "ptmatch/vote_kernel_choice.h"

#include <atomic>
#include <cstdlib>
#include <string>

#include "ptmatch/point_matcher_defs.h"

namespace ptmatch::detail {
namespace {

struct CompiledKernel {
    const VoteKernel* kernel;
    bool (*isSupported)();  // by this processor and its operating system
};

// Asked here, in a file compiled for every machine, not beside kernels that some cannot run.
constexpr CompiledKernel kCompiled[] = {
    {&kPortableKernel, [] { return true; }},
#ifdef PTMATCH_X86_KERNELS
    {&kAvx2Kernel, [] { return __builtin_cpu_supports("avx2") != 0; }},
    {&kAvx512Kernel,
     [] {
         return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
                __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0;
     }},
#endif
};

std::atomic<const VoteKernel*> forced{nullptr};

const VoteKernel& kernelNamed(std::string_view name) {
    std::string known;
    for (const VoteKernel* kernel : voteKernels()) {
        if (name == kernel->name) return *kernel;
        known += std::string(" ") + kernel->name;
    }
    throw rxPointMatcherDefs::BadParams("no vote kernel of this machine is called \"" +
                                        std::string(name) + "\"; there are:" + known + "\n");
}

const VoteKernel& defaultKernel() {
    const char* asked = std::getenv("PTMATCH_KERNEL");  // NOLINT(concurrency-mt-unsafe): read only
    return asked == nullptr || *asked == '\0' ? *voteKernels().back() : kernelNamed(asked);
}

}  // namespace

const std::vector<const VoteKernel*>& voteKernels() {
    static const std::vector<const VoteKernel*> supported = [] {
        std::vector<const VoteKernel*> kernels;
        for (const CompiledKernel& compiled : kCompiled) {
            if (compiled.isSupported()) kernels.push_back(compiled.kernel);
        }
        return kernels;
    }();
    return supported;
}

const VoteKernel& voteKernel() {
    if (const VoteKernel* kernel = forced.load(std::memory_order_relaxed)) return *kernel;
    // A name that is not known throws out of the initialisation, so the next search says so again.
    static const VoteKernel& chosen = defaultKernel();
    return chosen;
}

void forceVoteKernel(std::string_view name) {
    forced.store(name.empty() ? nullptr : &kernelNamed(name), std::memory_order_relaxed);
}

}  // namespace ptmatch::detail
