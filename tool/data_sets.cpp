#include "data_sets.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "batch_run.h"
#include "input_error.h"
#include "input_file.h"
#include "option_text.h"

namespace ptmatch::tool {

bool DataOptions::isGiven() const {
    return !files.empty() && std::none_of(files.begin(), files.end(),
                                          [](const std::string& file) { return file.empty(); });
}

std::string DataSet::name() const {
    return frame ? file + " frame " + *frame : file;
}

PointTable DataSet::points() const {
    if (!fault.empty()) throw InputError(fault);
    return table ? *table : readPoints(file);
}

void addDataOptions(CLI::App& app, DataOptions& options) {
    constexpr const char* kGroup = "Several data sets";
    app.add_option("--data", options.files,
                   "Table of the points to search: x,y (required); several tables make a batch")
        ->type_name("FILE...");
    app.add_flag("--frames", options.hasFrames,
                 "Search the points of each value in the column frame on their own")
        ->group(kGroup);
    addText(app, "--jobs", "COUNT", "Data sets that are searched at the same time (default 1)",
            [&options](const std::string& text) {
                options.jobs = parseCount(text);
                if (options.jobs > kMostJobs) {
                    throw InputError("must be at most " + std::to_string(kMostJobs) + ", found " +
                                     std::to_string(options.jobs));
                }
            });
    app.get_option("--jobs")->group(kGroup);
}

std::vector<DataSet> dataSetsOf(const DataOptions& options) {
    std::vector<DataSet> sets;
    for (const std::string& file : options.files) {
        if (!options.hasFrames) {
            sets.push_back({file, {}, {}, {}});
            continue;
        }
        try {
            for (Frame& frame : parseFrames(readInputFile(file, "a table of points"), file)) {
                sets.push_back({file, std::move(frame.name), std::move(frame.table), {}});
            }
        } catch (const InputError& error) {
            sets.push_back({file, {}, {}, error.what()});
        }
    }
    return sets;
}

}  // namespace ptmatch::tool
