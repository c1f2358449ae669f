// One trained matcher, shared by threads.
#include <atomic>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ptmatch/ppmatch.h"
#include "read_points.h"

namespace {

void require(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("does not hold: " + what);
}

using Points = std::vector<rxVector<2>>;

// [share]
std::vector<rxPointMatcherResultSet> matchAll(const rxPointMatcher& matcher,
                                              const std::vector<Points>& frames,
                                              const rxPointMatcherRunParams& params,
                                              unsigned numThreads) {
    std::vector<rxPointMatcherResultSet> found(frames.size());  // one for each frame
    std::atomic<std::size_t> next = 0;
    const auto work = [&] {
        for (std::size_t k = next++; k < frames.size(); k = next++) {
            matcher.run(frames[k], params, found[k]);
        }
    };
    std::vector<std::jthread> threads;
    for (unsigned k = 0; k < numThreads; ++k) threads.emplace_back(work);
    threads.clear();  // waits for them
    return found;
}
// [share]

// The same scene, each time shifted by a little more.
std::vector<Points> framesOf(const Points& scene, int count) {
    std::vector<Points> frames;
    for (int k = 0; k < count; ++k) {
        Points frame;
        for (const rxVector<2>& p : scene) frame.push_back(p + rxVector<2>(1.7 * k, -0.3 * k));
        frames.push_back(frame);
    }
    return frames;
}

}  // namespace

int main() try {
    rxPointMatcher matcher;
    matcher.train(readPoints("data/demo_pick/model.csv"), rxPointMatcherDefs::eAutoDetect);
    const std::vector<Points> frames = framesOf(readPoints("data/demo_pick/data.csv"), 40);
    const rxPointMatcherRunParams params;
    const auto alone = matchAll(matcher, frames, params, 1);
    const auto shared = matchAll(matcher, frames, params, 4);
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const rxPointMatcherResult& one = alone[k].results().at(0);
        const rxPointMatcherResult& other = shared[k].results().at(0);
        require(one.modelToDataXform() == other.modelToDataXform() &&
                    one.modelToDataMap() == other.modelToDataMap(),
                "results do not depend on the number of threads");
    }
    std::cout << frames.size() << " frames, the same results from 1 and from 4 threads\n";
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
