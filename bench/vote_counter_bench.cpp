// One vote on all translations at one rotation: the innermost work of a run.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <span>
#include <vector>

#include "paired_ratio.h"
#include "planted_problem.h"
#include "ptmatch/vote_counter.h"
#include "reference/reference_model.h"
#include "reference/reference_search.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

constexpr double kRotationsDeg[] = {-13.0, -4.5, 0.0, 7.3, 11.1};

// The run's own mark image, rebuilt from the reference's.
rxPelBuffer<unsigned char> marksOf(const reference::SearchWorld& world) {
    rxPelBuffer<unsigned char> marks(world.marks.width, world.marks.height, 16);
    for (long y = 0; y < world.marks.height; ++y) {
        for (long x = 0; x < world.marks.width; ++x) {
            marks.pointToRow(y)[x] = static_cast<unsigned char>(world.marks.at(x, y));
        }
    }
    return marks;
}

template <class Vote>
bool areSameVotes(const rxPelBuffer<Vote>& votes, const reference::Image<long>& expected) {
    for (long y = 0; y < expected.height; ++y) {
        for (long x = 0; x < expected.width; ++x) {
            if (votes.pointToRow(y)[x] != expected.at(x, y)) return false;
        }
    }
    return votes.width() == expected.width && votes.height() == expected.height;
}

template <class Vote>
void countVotes(benchmark::State& state) {
    const PlantedProblem problem =
        makeProblem(state.range(0), state.range(1), Spread::Spaced, false, 1);
    const reference::Model model = reference::trainModel(problem.model);
    const reference::SearchWorld world = reference::prepareSearch(
        model, problem.data.front().points, problem.params, problem.params.minCoverage(), 8);
    std::vector<std::vector<rxPair<long>>> pixels;
    for (const double degrees : kRotationsDeg) {
        pixels.push_back(reference::modelPixels(model, world, 1.0, degrees));
    }

    const rxPelBuffer<unsigned char> marks = marksOf(world);
    const rxPelRect window(world.window.lowX, world.window.lowY,
                           world.window.highX - world.window.lowX,
                           world.window.highY - world.window.lowY);
    rxPelBuffer<Vote> votes(window.width() + 1, window.height() + 1, 16);
    const auto library = [&](std::size_t input) {
        ptmatch::detail::countVotes(rxPelBuffer_const<unsigned char>(marks), window,
                                    std::span(std::as_const(pixels[input])), {}, votes);
    };
    const auto plain = [&](std::size_t input) {
        return reference::countVotes(world, pixels[input]);
    };
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        library(i);
        if (!verify(state, areSameVotes(votes, plain(i)), "the votes are not the reference's")) {
            return;
        }
    }
    state.counters["translations"] = static_cast<double>(votes.width() * votes.height());
    measurePaired(state, pixels.size(), library,
                  [&](std::size_t input) { benchmark::DoNotOptimize(plain(input)); });
}

void configure(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"model", "data"})->Args({12, 40})->Args({50, 150})->Args({100, 400});
    benchmark->Iterations(41)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK_TEMPLATE(countVotes, short)->Name("Vote/16bit")->Apply(configure);
BENCHMARK_TEMPLATE(countVotes, std::int32_t)->Name("Vote/32bit")->Apply(configure);
