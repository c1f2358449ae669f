// A matcher is trained once and stored; a line loads it and gives it many frames, by several
// threads.
#include <foundation/stream_archive.h>
#include <ptmatch/ppmatch.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "points_file.h"

namespace {

using Points = std::vector<rxVector<2>>;

/// In the office: trains on the holes of a board, in millimetres, and writes the matcher to a file.
void trainAndStore(const std::filesystem::path& path) {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/versa64/model.csv"), rxPointMatcherDefs::eAutoDetect);
    std::ofstream file(path, std::ios::binary);  // binary: an archive is bytes, not lines
    rxStreamStoreArchive archive(file);
    archive || matcher;
    if (!file.flush()) throw std::runtime_error(path.string() + ": cannot be written");
}

/// At the line. The bytes are the same on every machine, and they are checked as they are read.
rxPointMatcher load(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path.string() + ": cannot be opened");
    rxStreamLoadArchive archive(file);
    rxPointMatcher matcher;
    archive || matcher;  // throws rxArchive::Errors for what is no matcher
    return matcher;
}

/// A frame: the spots of a scan as if the board had been put on it turned, some spots missing.
struct Frame {
    double degrees = 0.0;  // how it was turned: what the run is to find
    Points spots;
};

std::vector<Frame> makeFrames(long count) {
    const Points scan = readPoints("data/versa64/data.csv");
    std::vector<Frame> frames;
    for (long k = 0; k < count; ++k) {
        Frame frame;
        frame.degrees = -170.0 + 30.0 * static_cast<double>(k);
        const rxDegree angle(frame.degrees);
        const rxXform<2> turned(rxVector<2>(400, 300), angle, angle, 1.0, 1.0);
        for (long i = 0; i < static_cast<long>(scan.size()); ++i) {
            if ((i + k) % 10 != 0)
                frame.spots.push_back(turned * scan[static_cast<std::size_t>(i)]);
        }
        frames.push_back(std::move(frame));
    }
    return frames;
}

rxPointMatcherRunParams lineParams() {
    rxPointMatcherRunParams params(0.7);
    const double pixelsPerMillimetre = 300.0 / 25.4;
    params.startPose(rxXform<2>(rxVector<2>(0, 0), rxDegree(0), rxDegree(0), pixelsPerMillimetre,
                                pixelsPerMillimetre));
    params.scaleUncertainty(rxRange(-0.02, 0.02));
    params.rotationUncertainty(rxAngleRange::FullRange());
    params.autoCaptureRange(false);
    params.captureRange(2.0);
    return params;
}

/// Runs all frames by so many threads. The matcher and the parameters are shared: `run` changes
/// neither, and keeps nothing between calls. Each frame has a result set of its own.
std::vector<rxPointMatcherResultSet> runAll(const rxPointMatcher& matcher,
                                            const std::vector<Frame>& frames, int numThreads) {
    const rxPointMatcherRunParams params = lineParams();
    std::vector<rxPointMatcherResultSet> found(frames.size());
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(numThreads));
    for (int t = 0; t < numThreads; ++t) {
        threads.emplace_back([&] {
            for (std::size_t k = next++; k < frames.size(); k = next++) {
                matcher.run(frames[k].spots, params, found[k]);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    return found;
}

/// Equal to the last bit: the library promises that, whatever else the machine does.
bool areSame(const rxPointMatcherResultSet& a, const rxPointMatcherResultSet& b) {
    return std::equal(a.results().begin(), a.results().end(), b.results().begin(),
                      b.results().end(),
                      [](const rxPointMatcherResult& x, const rxPointMatcherResult& y) {
                          return x.modelToDataXform() == y.modelToDataXform() &&
                                 x.modelToDataMap() == y.modelToDataMap();
                      });
}

}  // namespace

int main() {
    // A name of its own, since others may run this at the same time.
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("board_" + std::to_string(now) + ".ptm");
    trainAndStore(path);
    const rxPointMatcher matcher = load(path);
    std::cout << "a matcher of " << matcher.modelPoints().size() << " points, "
              << std::filesystem::file_size(path) << " bytes\n";
    std::filesystem::remove(path);

    const std::vector<Frame> frames = makeFrames(12);
    const std::vector<rxPointMatcherResultSet> found = runAll(matcher, frames, 4);
    std::cout << std::fixed << std::setprecision(2);
    for (std::size_t k = 0; k < frames.size(); ++k) {
        std::cout << "frame " << std::setw(2) << k << ", turned by " << std::setw(7)
                  << frames[k].degrees << ": ";
        if (found[k].results().empty()) {
            std::cout << "not found\n";
            continue;
        }
        const rxPointMatcherResult& best = found[k].results().front();
        std::cout << "found at " << std::setw(7)
                  << rxDegree(best.modelToDataXform().rotation()).toDouble() << ", "
                  << std::lround(66 * best.coverage()) << " of 66 holes\n";
    }

    const std::vector<rxPointMatcherResultSet> alone = runAll(matcher, frames, 1);
    const bool same = std::equal(found.begin(), found.end(), alone.begin(), alone.end(), areSame);
    std::cout << "one thread finds " << (same ? "the same" : "something else") << '\n';
    return same ? 0 : 1;
}

// Prints:
//
//     a matcher of 66 points, 1212 bytes
//     frame  0, turned by -170.00: found at -170.18, 59 of 66 holes
//     frame  1, turned by -140.00: found at -140.17, 58 of 66 holes
//     frame  2, turned by -110.00: found at -110.17, 58 of 66 holes
//     frame  3, turned by  -80.00: found at  -80.18, 60 of 66 holes
//     frame  4, turned by  -50.00: found at  -50.18, 59 of 66 holes
//     frame  5, turned by  -20.00: found at  -20.18, 58 of 66 holes
//     frame  6, turned by   10.00: found at    9.82, 59 of 66 holes
//     frame  7, turned by   40.00: found at   39.82, 58 of 66 holes
//     frame  8, turned by   70.00: found at   69.83, 58 of 66 holes
//     frame  9, turned by  100.00: found at   99.82, 58 of 66 holes
//     frame 10, turned by  130.00: found at  129.82, 59 of 66 holes
//     frame 11, turned by  160.00: found at  159.83, 58 of 66 holes
//     one thread finds the same
