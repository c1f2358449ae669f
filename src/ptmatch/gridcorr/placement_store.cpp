#include "ptmatch/gridcorr/placement_store.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace ptmatch::detail {

void PlacementStore::offer(const Placement& placement) {
    if (maxResults_ == 1) {
        if (early_.empty()) early_.push_back(placement);
        // A tie belongs to the earlier one.
        if (placement.score > early_.front().score) early_.front() = placement;
        return;
    }
    if (!hashing_ && std::cmp_less(early_.size(), maxResults_)) {
        early_.push_back(placement);
        return;
    }
    // As many as fit are there already, so the store takes no more room than they do.
    if (!hashing_) pourIntoHashing(maxResults_);
    hashing_->add(placement.score, placement.translation);
}

void PlacementStore::thinOut(std::vector<Placement>& run) const {
    constexpr std::size_t kShort = 4096;
    const auto most = static_cast<std::size_t>(maxResults_);
    if (run.size() < kShort || run.size() / 2 < most) return;
    const auto isEarlier = [](const Placement& a, const Placement& b) {
        return std::pair(a.translation.y(), a.translation.x()) <
               std::pair(b.translation.y(), b.translation.x());
    };
    const auto isKeptBefore = [&](const Placement& a, const Placement& b) {
        return a.score != b.score ? a.score > b.score : isEarlier(a, b);
    };
    const auto end = run.begin() + static_cast<std::ptrdiff_t>(most);
    std::nth_element(run.begin(), end, run.end(), isKeptBefore);
    run.erase(end, run.end());
    std::sort(run.begin(), run.end(), isEarlier);
}

std::vector<Placement> PlacementStore::ranked() {
    if (maxResults_ == 1 || (early_.empty() && !hashing_)) return std::move(early_);
    if (!hashing_) pourIntoHashing(static_cast<long>(early_.size()));
    std::vector<Placement> ranked;
    ranked.reserve(static_cast<std::size_t>(hashing_->numResults()));
    rxPair<long> translation;
    for (long score = hashing_->first(translation); score >= 1;
         score = hashing_->next(translation)) {
        ranked.push_back({score, translation});
    }
    return ranked;
}

void PlacementStore::pourIntoHashing(long capacity) {
    hashing_ = std::make_unique<rxScoreHashing>(maxScore_, capacity);
    for (const Placement& placement : early_) {
        hashing_->add(placement.score, placement.translation);
    }
    early_ = {};
}

}  // namespace ptmatch::detail
