// What libFuzzer calls, for the fuzzer that PTMATCH_FUZZER names.
#include <cstddef>
#include <cstdint>

#include "fuzzers.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ptmatch::fuzz::PTMATCH_FUZZER::run({data, size});
    return 0;
}
