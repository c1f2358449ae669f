// Small runs of every kind in one process, as many as asked for: what they answer and what the
// process holds of the heap must be the same after the last one as in the beginning.
//
//     ptmatch_long_run [number of runs]
#include <malloc.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>

#include "digest.h"
#include "small_runs.h"

namespace {

using ptmatch::determinism::Digest;
using ptmatch::determinism::SmallRun;
using ptmatch::determinism::smallRuns;

constexpr std::uint64_t kNumSeeds = 64;
// Turns through all kinds after which the allocator has got all pages that it goes on using.
constexpr std::uint64_t kWarmTurns = 10 * kNumSeeds;
// What the resident pages may grow by after that, through whatever else goes on in a process.
// Sanitizers keep blocks that were given back: of their pages nothing is asked.
#if defined(PTMATCH_SANITIZED)
constexpr long kMostGrowth = std::numeric_limits<long>::max();
#else
constexpr long kMostGrowth = 512L * 1024;
#endif

// One thread alone takes part.
long liveBytes = 0;
long liveBlocks = 0;

long residentBytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

/// What must not change from one round to the next.
struct Held {
    long bytes = liveBytes;
    long blocks = liveBlocks;
    friend bool operator==(const Held&, const Held&) = default;
};

void report(std::uint64_t runs, const Held& held, long resident, double seconds) {
    std::printf("%12" PRIu64
                " runs %8.1f s: %ld bytes of the heap in %ld blocks, %ld KiB resident\n",
                runs, seconds, held.bytes, held.blocks, resident / 1024);
    (void)std::fflush(stdout);
}

/// One run of each kind.   @return what they answered.
std::uint64_t turn(std::uint64_t seed) {
    Digest digest;
    for (const SmallRun& kind : smallRuns()) kind.run(seed, digest);
    return digest.value();
}

bool run(std::uint64_t wanted) {
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t turnsInAll =
        (wanted + smallRuns().size() - 1) / static_cast<std::uint64_t>(smallRuns().size());
    std::array<std::uint64_t, kNumSeeds> answers{};
    Held before;
    long residentBefore = 0;
    for (std::uint64_t i = 0; i < turnsInAll; ++i) {
        const std::uint64_t seed = i % kNumSeeds;
        const std::uint64_t answer = turn(seed);
        if (i < kNumSeeds) answers[seed] = answer;
        if (answer != answers[seed]) {
            std::fprintf(stderr, "turn %" PRIu64 " answers otherwise than turn %" PRIu64 "\n", i,
                         seed);
            return false;
        }
        // What is allocated once and for all is allocated in the first turns.
        if (i + 1 == kNumSeeds) before = Held();
        if (i >= kNumSeeds && Held() != before) {
            std::fprintf(stderr, "turn %" PRIu64 " leaves %ld bytes in %ld blocks behind\n", i,
                         liveBytes - before.bytes, liveBlocks - before.blocks);
            return false;
        }
        if (i + 1 == kWarmTurns) residentBefore = residentBytes();
        const std::uint64_t interval = turnsInAll < 20 ? 1 : turnsInAll / 20;
        if (i + 1 == kNumSeeds || i + 1 == kWarmTurns || (i + 1) % interval == 0 ||
            i + 1 == turnsInAll) {
            const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
            report((i + 1) * smallRuns().size(), Held(), residentBytes(), seconds.count());
        }
    }
    if (turnsInAll < 2 * kWarmTurns) {
        std::fprintf(stderr, "at least %" PRIu64 " runs are needed to tell anything\n",
                     2 * kWarmTurns * smallRuns().size());
        return false;
    }
    const long growth = residentBytes() - residentBefore;
    std::printf("resident memory grew by %ld KiB after the first %" PRIu64 " runs\n", growth / 1024,
                kWarmTurns * smallRuns().size());
    if (growth > kMostGrowth) {
        std::fprintf(stderr, "that is more than %ld KiB\n", kMostGrowth / 1024);
        return false;
    }
    return true;
}

void* counted(void* block) {
    if (block == nullptr) return nullptr;
    liveBytes += static_cast<long>(malloc_usable_size(block));
    ++liveBlocks;
    return block;
}

}  // namespace

// Replaced to count what is alive; the sizes are those that the allocator gave. The one that
// returns null, too: a sanitizer has another one of its own, whose blocks are not to be freed here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return counted(std::malloc(size == 0 ? 1 : size));
}

void* operator new(std::size_t size) {
    void* block = ::operator new(size, std::nothrow);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    void* block = counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void operator delete(void* block) noexcept {
    if (block == nullptr) return;
    liveBytes -= static_cast<long>(malloc_usable_size(block));
    --liveBlocks;
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    ::operator delete(block);
}

void operator delete(void* block, std::align_val_t) noexcept {
    ::operator delete(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    ::operator delete(block);
}

int main(int argc, char** argv) {
    const std::uint64_t wanted = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 10'000'000;
    if (!run(wanted)) return 1;
    std::puts("equal answers, nothing left on the heap");
    return 0;
}
