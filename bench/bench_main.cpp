// All benchmarks in one program. It prints the machine, compiler and commit, then one line per
// case, and fails when a result was wrong; see paired_ratio.h for the columns.
//
//     ptmatch_bench                                 # everything
//     ptmatch_bench --benchmark_filter='Run/50/'    # the cases of that name
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench_version.h"
#include "machine.h"
#include "paired_ratio.h"

int main(int argc, char** argv) {
    // The counters are the result, so they get columns; arguments of the caller win.
    std::string tabular = "--benchmark_counters_tabular=true";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, tabular.data());
    int count = static_cast<int>(arguments.size());

    benchmark::AddCustomContext("processor", ptmatch::bench::processorName());
    benchmark::AddCustomContext("compiler", ptmatch::bench::compilerName());
    benchmark::AddCustomContext("flags", PTMATCH_BENCH_FLAGS);
    benchmark::AddCustomContext("version", PTMATCH_BENCH_VERSION);
    benchmark::AddCustomContext("commit", PTMATCH_BENCH_COMMIT);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return ptmatch::bench::hasFailed() ? 1 : 0;
}
