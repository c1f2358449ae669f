// A number of 64 bits for what each part of the library answers to problems that are made from
// fixed seeds: equal for every compiler, optimisation and instruction set.
//
//     ptmatch_digest                 prints the digest of each area, and that of all of them
//     ptmatch_digest EXPECTED_FILE   compares them with those of the file
//
// The areas that use angles depend on the sines, cosines and logarithms of the system, which differ
// in a last bit here and there between its versions. The first area, math_library, has a digest of
// those functions alone. Where it differs from the one that is expected, only the other areas can
// be compared.
//
// Exit code: 0 all that is expected; 1 an area differs; 2 the file cannot be used; 3 the functions
// of the system differ, and what could be compared is equal; 77 the vote kernel that PTMATCH_KERNEL
// names does not run on this machine, nothing was compared.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "digest.h"
#include "large_runs.h"
#include "numbers.h"
#include "ptmatch/vote_kernel_choice.h"
#include "small_runs.h"

namespace {

using ptmatch::determinism::Digest;
using ptmatch::determinism::Numbers;
using ptmatch::determinism::SmallRun;

constexpr int kDiffers = 1;
constexpr int kUnusable = 2;
constexpr int kOtherSystem = 3;
constexpr int kSkipped = 77;  // for ctest
constexpr std::uint64_t kSmallSeeds = 250;
constexpr std::uint64_t kLargeSeeds = 40;
constexpr std::string_view kMathLibrary = "math_library";
// No function of the system goes into these but the square root, which is rounded correctly, and
// the cosine of 0.
constexpr std::string_view kExact[] = {
    "corresponder", "fit_plane",       "fit_perspective", "fit_space", "equations", "accumulators",
    "images",       "large_equations", "large_fit",       "scores",    "refusals",
};

struct AreaDigest {
    std::string name;
    std::uint64_t digest;
};

/// What the library asks of the system, at arguments as it asks for them. Not inlined, so that no
/// compiler takes the values from a table of its own.
[[gnu::noinline]] std::uint64_t digestOfMathLibrary() {
    Numbers numbers(0);
    Digest digest;
    for (int i = 0; i < 20'000; ++i) {
        const double angle = numbers.real(-7.0, 7.0);
        const double x = numbers.real(-100.0, 100.0);
        const double y = numbers.real(-100.0, 100.0);
        const double share = numbers.real(0.0, 1.0);
        for (const double value :
             {std::sin(angle), std::cos(angle), std::atan2(y, x), std::hypot(x, y), std::exp(-x),
              std::log(share), std::log10(share), std::log1p(-share), std::expm1(-share),
              std::pow(10.0, angle)}) {
            digest.add(value);
        }
    }
    return digest.value();
}

std::uint64_t digestOf(const SmallRun& kind, std::uint64_t numSeeds) {
    Digest digest;
    for (std::uint64_t seed = 0; seed < numSeeds; ++seed) kind.run(seed, digest);
    return digest.value();
}

std::vector<AreaDigest> allDigests() {
    std::vector<AreaDigest> all = {{std::string(kMathLibrary), digestOfMathLibrary()}};
    for (const SmallRun& kind : ptmatch::determinism::smallRuns()) {
        all.push_back({kind.name, digestOf(kind, kSmallSeeds)});
    }
    for (const SmallRun& kind : ptmatch::determinism::largeRuns()) {
        all.push_back({kind.name, digestOf(kind, kLargeSeeds)});
    }
    Digest together;
    for (const AreaDigest& area : all) together.add(static_cast<std::int64_t>(area.digest));
    all.push_back({"all", together.value()});
    return all;
}

/// The digests of a file, one area a line; none if it cannot be read as such.
std::map<std::string, std::uint64_t> readDigests(const char* path) {
    std::ifstream file(path);
    std::map<std::string, std::uint64_t> all;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        std::string name;
        std::uint64_t digest = 0;
        if (!(words >> name >> std::hex >> digest)) return {};
        all[name] = digest;
    }
    return all;
}

bool isExact(std::string_view name) {
    return std::find(std::begin(kExact), std::end(kExact), name) != std::end(kExact);
}

int compare(const std::vector<AreaDigest>& actual, const char* path) {
    const std::map<std::string, std::uint64_t> expected = readDigests(path);
    if (expected.size() != actual.size()) {
        std::fprintf(stderr, "%s holds %zu digests, not %zu\n", path, expected.size(),
                     actual.size());
        return kUnusable;
    }
    bool isOtherSystem = false;
    int numDifferent = 0;
    for (const auto& [name, digest] : actual) {
        const auto found = expected.find(name);
        if (found == expected.end()) {
            std::fprintf(stderr, "%s has no area %s\n", path, name.c_str());
            return kUnusable;
        }
        if (found->second == digest) continue;
        if (name == kMathLibrary) isOtherSystem = true;
        const bool canDiffer = isOtherSystem && !isExact(name);
        if (!canDiffer) ++numDifferent;
        std::printf("%s: %016" PRIx64 " instead of %016" PRIx64 "%s\n", name.c_str(), digest,
                    found->second, canDiffer ? ", as the functions of this system differ" : "");
    }
    if (numDifferent > 0) {
        std::printf("%d areas differ\n", numDifferent);
        return kDiffers;
    }
    if (!isOtherSystem) {
        std::printf("%zu areas compared\n", actual.size());
        return 0;
    }
    std::printf("only areas without functions of the system were compared\n");
    return kOtherSystem;
}

bool hasKernel(std::string_view name) {
    const auto& kernels = ptmatch::detail::voteKernels();
    return std::any_of(kernels.begin(), kernels.end(),
                       [&](const auto* kernel) { return kernel->name == name; });
}

}  // namespace

int main(int argc, char** argv) {
    if (const char* asked = std::getenv("PTMATCH_KERNEL"); asked != nullptr && !hasKernel(asked)) {
        std::printf("this machine does not run the vote kernel %s\n", asked);
        return kSkipped;
    }
    const std::vector<AreaDigest> digests = allDigests();
    if (argc > 1) return compare(digests, argv[1]);
    for (const auto& [name, digest] : digests) {
        std::printf("%-16s %016" PRIx64 "\n", name.c_str(), digest);
    }
    return 0;
}
