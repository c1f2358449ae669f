#pragma once

#include <optional>
#include <string>
#include <vector>

#include "csv_points.h"

namespace CLI {
class App;
}

namespace ptmatch::tool {

/// What the user said about the points to search.
struct DataOptions {
    std::vector<std::string> files;
    /// The column `frame` of each file divides it into data sets.
    bool hasFrames = false;
    long jobs = 1;

    bool isGiven() const;
    /// Whether there is more than one data set, or may be.
    bool isBatch() const { return hasFrames || files.size() > 1; }
};

/// Adds --data, --frames and --jobs to `app`; parsing writes to `options`, which must outlive
/// `app`.
void addDataOptions(CLI::App& app, DataOptions& options);

/// Points to search on their own.
struct DataSet {
    std::string file;
    /// The name of the frame when the file is divided.
    std::optional<std::string> frame;
    /// Absent: still in the file.
    std::optional<PointTable> table;
    /// Why there are no points; otherwise empty.
    std::string fault;

    /// "board.csv", or "video.csv frame 17"
    std::string name() const;
    /// The points, from the file if they are still there. Any number of threads may ask.
    /// @throws InputError  they cannot be read.
    PointTable points() const;
};

/// The data sets that the options name, in the order of files and, in a file, of the first line of
/// each frame. A file that is to be divided and cannot be read is one data set with a fault.
std::vector<DataSet> dataSetsOf(const DataOptions& options);

}  // namespace ptmatch::tool
