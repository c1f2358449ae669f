#include "ptmatch/score_hashing.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

#include "foundation/assertion.h"

namespace {

// Codes of this class at the assertion hook.
constexpr int kBadDimensionInConstructor = 12;
constexpr int kBadDimensionInMax = 45;

std::size_t numBuckets(long maxScore) {
    return maxScore < 0 ? 0 : static_cast<std::size_t>(maxScore) + 1;
}

std::size_t numNodes(long maxResults) {
    return maxResults < 0 ? 0 : static_cast<std::size_t>(maxResults);
}

void requireDimensionIn32Bits(long dimension) {
    if (dimension > std::numeric_limits<std::int32_t>::max()) throw std::bad_array_new_length();
}

}  // namespace

struct rxScoreHashing::Node {
    rxPair<long> position;
    Node* next = nullptr;
};

rxScoreHashing::rxScoreHashing(long maxScore, long maxResults) {
    if (maxScore < 1 || maxResults < 1) rfReportAssertion(kBadDimensionInConstructor);
    max(maxScore, maxResults);
}

rxScoreHashing::~rxScoreHashing() = default;

void rxScoreHashing::max(long maxScore, long maxResults) {
    if (maxScore < 1 || maxResults < 1) rfReportAssertion(kBadDimensionInMax);
    requireDimensionIn32Bits(maxScore);
    requireDimensionIn32Bits(maxResults);

    // A new store has neither array yet, whatever its dimensions.
    std::unique_ptr<Node*[]> buckets;
    std::unique_ptr<Node[]> pool;
    const bool newBuckets = !buckets_ || maxScore != maxScore_;
    const bool newPool = !pool_ || maxResults != maxResults_;
    if (newBuckets) buckets = std::make_unique<Node*[]>(numBuckets(maxScore));
    if (newPool) pool = std::make_unique<Node[]>(numNodes(maxResults));

    if (newBuckets) buckets_ = std::move(buckets);
    if (newPool) pool_ = std::move(pool);
    maxScore_ = maxScore;
    maxResults_ = maxResults;
    clear();
}

void rxScoreHashing::clear() {
    numResults_ = 0;
    lowScore_ = highScore_ = -1;
    std::fill_n(buckets_.get(), numBuckets(maxScore_), nullptr);
    iterNode_ = nullptr;
    iterScore_ = -1;
}

bool rxScoreHashing::add(long score, rxPair<long> position) {
    if (score < 0 || score > maxScore_) return false;

    Node* node = nullptr;
    if (numResults_ < maxResults_) {
        node = &pool_[static_cast<std::size_t>(numResults_)];
        if (numResults_ == 0) lowScore_ = highScore_ = score;
    } else {
        // A store without room holds nothing that could be displaced.
        if (numResults_ < 1 || score <= lowScore_) return false;
        node = evictLowest(score);
    }
    if (score < lowScore_) {
        lowScore_ = score;
    } else if (score > highScore_) {
        highScore_ = score;
    }

    Node*& head = buckets_[static_cast<std::size_t>(score)];
    node->position = position;
    node->next = head;
    head = node;
    ++numResults_;
    return true;
}

// Unlinks the latest position of the lowest score, to make room for one of newScore, and moves the
// low mark up to the lowest score that is left.
rxScoreHashing::Node* rxScoreHashing::evictLowest(long newScore) {
    Node*& head = buckets_[static_cast<std::size_t>(lowScore_)];
    Node* const evicted = head;
    head = evicted->next;
    --numResults_;
    if (numResults_ == 0) {
        // No list is left for the walk to stop at.
        lowScore_ = newScore;
    } else {
        while (buckets_[static_cast<std::size_t>(lowScore_)] == nullptr) ++lowScore_;
    }
    return evicted;
}

long rxScoreHashing::first(rxPair<long>& position) {
    if (numResults_ < 1) return -1;
    iterScore_ = highScore_;
    iterNode_ = buckets_[static_cast<std::size_t>(iterScore_)];
    position = iterNode_->position;
    return iterScore_;
}

long rxScoreHashing::next(rxPair<long>& position) {
    if (iterNode_ == nullptr) return -1;
    if (iterNode_->next != nullptr) {
        iterNode_ = iterNode_->next;
    } else {
        if (iterScore_ <= lowScore_) return -1;
        do {
            --iterScore_;
        } while (buckets_[static_cast<std::size_t>(iterScore_)] == nullptr);
        iterNode_ = buckets_[static_cast<std::size_t>(iterScore_)];
    }
    position = iterNode_->position;
    return iterScore_;
}
