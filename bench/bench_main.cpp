// All benchmarks in one program. It prints the machine, compiler and commit, then one line per
// case, and fails when a result was wrong; see paired_ratio.h for the columns.
//
//     ptmatch_bench                                 # everything
//     ptmatch_bench --benchmark_filter='Run/50/'    # the cases of that name
#include <benchmark/benchmark.h>

#include <fstream>
#include <string>
#include <vector>

#include "bench_version.h"
#include "paired_ratio.h"

namespace {

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    const std::string key = "model name";
    for (std::string line; std::getline(info, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with(key) && colon != std::string::npos) return line.substr(colon + 2);
    }
    return "unknown";
}

std::string compilerName() {
#if defined(__clang__)
    return "Clang " __clang_version__;
#elif defined(__GNUC__)
    return "GCC " __VERSION__;
#else
    return "unknown";
#endif
}

}  // namespace

int main(int argc, char** argv) {
    // The counters are the result, so they get columns; arguments of the caller win.
    std::string tabular = "--benchmark_counters_tabular=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, tabular.data());
    int count = static_cast<int>(arguments.size());

    benchmark::AddCustomContext("processor", processorName());
    benchmark::AddCustomContext("compiler", compilerName());
    benchmark::AddCustomContext("flags", PTMATCH_BENCH_FLAGS);
    benchmark::AddCustomContext("version", PTMATCH_BENCH_VERSION);
    benchmark::AddCustomContext("commit", PTMATCH_BENCH_COMMIT);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return ptmatch::bench::hasFailed() ? 1 : 0;
}
