#include "fuzzers.h"

namespace ptmatch::fuzz {

std::span<const Fuzzer> fuzzers() {
    static constexpr Fuzzer kAll[] = {
        {"additions", additions::run},
        {"archives", archives::run},
        {"corresponder", corresponder::run},
        {"fits", fits::run},
        {"foundations", foundations::run},
        {"grid_map", grid_map::run},
        {"grid_runs", grid_runs::run},
        {"matrices", matrices::run},
        {"runs", runs::run},
    };
    return kAll;
}

}  // namespace ptmatch::fuzz
