#include "fuzzers.h"

namespace ptmatch::fuzz {

std::span<const Fuzzer> fuzzers() {
    static constexpr Fuzzer kAll[] = {{"options", options::run}, {"tables", tables::run}};
    return kAll;
}

}  // namespace ptmatch::fuzz
