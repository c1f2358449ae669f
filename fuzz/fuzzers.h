#pragma once

#include <cstdint>
#include <span>

/// Each fuzzer takes any bytes and ends the process when a promise does not hold, the one that the
/// first line of its source states. What throws out of it breaks a promise as well.
namespace ptmatch::fuzz {

using Bytes = std::span<const std::uint8_t>;

struct Fuzzer {
    const char* name;
    void (*run)(Bytes bytes);
};

/// Those of this program.
std::span<const Fuzzer> fuzzers();

// clang-format off
namespace additions { void run(Bytes bytes); }
namespace archives { void run(Bytes bytes); }
namespace corresponder { void run(Bytes bytes); }
namespace fits { void run(Bytes bytes); }
namespace foundations { void run(Bytes bytes); }
namespace grid_map { void run(Bytes bytes); }
namespace grid_runs { void run(Bytes bytes); }
namespace matrices { void run(Bytes bytes); }
namespace options { void run(Bytes bytes); }
namespace runs { void run(Bytes bytes); }
namespace tables { void run(Bytes bytes); }
// clang-format on

}  // namespace ptmatch::fuzz
