// The bounded stores of the best scores, beside a sorted list. A call offers a whole stream of
// candidates, as one run does, and reads the store back.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "paired_ratio.h"
#include "ptmatch/score_buckets.h"
#include "ptmatch/score_hashing.h"
#include "reference/random_problems.h"
#include "reference/reference_store.h"

namespace {

using namespace ptmatch::bench;
namespace reference = ptmatch::reference;

constexpr long kMaxScore = 100;
constexpr long kNumOffers = 10'000;
constexpr std::size_t kNumStreams = 4;

struct Offer {
    long score;
    rxPair<long> position;

    friend bool operator==(const Offer&, const Offer&) = default;
};
using Offers = std::vector<Offer>;
using PlainStore = reference::CandidateList<rxPair<long>>;
using Buckets = ptmatch::detail::ScoreBuckets<rxPair<long>>;

// Low scores are common and high ones rare, as among the peaks of a vote.
Offers makeStream(std::uint64_t seed) {
    reference::Random random(seed);
    Offers offers;
    for (long i = 0; i < kNumOffers; ++i) {
        const double unit = random.uniform(0.0, 1.0);
        const auto score = static_cast<long>(static_cast<double>(kMaxScore) * unit * unit * unit);
        offers.push_back({score, {i, -i}});
    }
    return offers;
}

std::vector<Offers> makeStreams() {
    std::vector<Offers> streams;
    for (std::size_t i = 0; i < kNumStreams; ++i) streams.push_back(makeStream(1000 + i));
    return streams;
}

// What a store holds after the stream, best first.
template <class Store>
Offers offerAll(Store& store, const Offers& stream) {
    for (const Offer& offer : stream) store.add(offer.score, offer.position);
    Offers held;
    rxPair<long> position;
    for (long score = store.first(position); score >= 0; score = store.next(position)) {
        held.push_back({score, position});
    }
    return held;
}

Offers offerAll(PlainStore& store, const Offers& stream) {
    for (const Offer& offer : stream) store.add(offer.score, offer.position);
    Offers held;
    for (const PlainStore::Item& item : store.bestFirst()) held.push_back({item.score, item.entry});
    return held;
}

template <class Store>
void offer(benchmark::State& state) {
    const long capacity = state.range(0);
    const std::vector<Offers> streams = makeStreams();
    const auto library = [&](std::size_t input) {
        Store store(kMaxScore, capacity);
        return offerAll(store, streams[input]);
    };
    const auto plain = [&](std::size_t input) {
        PlainStore store(kMaxScore, capacity);
        return offerAll(store, streams[input]);
    };
    for (std::size_t i = 0; i < streams.size(); ++i) {
        const bool isSame = library(i) == plain(i);
        if (!verify(state, isSame, "the store does not hold what the plain one holds")) return;
    }
    measurePaired(
        state, streams.size(), [&](std::size_t input) { benchmark::DoNotOptimize(library(input)); },
        [&](std::size_t input) { benchmark::DoNotOptimize(plain(input)); });
}

void configure(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("capacity")->Arg(8)->Arg(160)->Arg(1000);
    benchmark->Iterations(41)->UseManualTime()->Unit(benchmark::kMicrosecond);
}

}  // namespace

BENCHMARK_TEMPLATE(offer, Buckets)->Name("Store/ScoreBuckets")->Apply(configure);
BENCHMARK_TEMPLATE(offer, rxScoreHashing)->Name("Store/rxScoreHashing")->Apply(configure);
